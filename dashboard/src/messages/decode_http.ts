// Receives and checks what comes over HTTP.

import type { Device, History, Poll, Status } from './generated/http';
import type { Message as Periods } from './generated/wireless_client_report_periods';
import type { Message as ClientReport, Row as ClientRow } from './generated/wireless_client_report';
import type { Message as NetworkReport } from './generated/wireless_network_report';
import type { Load } from './decode';
import { isNumber, isRecord, isText, type Json, membersOf } from './check';

/** A time in which the probe was off, in seconds since the epoch by its clock. */
export type Outage = History['outages'][number];

/** A probe may tell less than this one. */
export type ToldStatus = Omit<Status, 'time_zone'> & Partial<Pick<Status, 'time_zone'>>;

export function decodeStatus(value: unknown): ToldStatus | null {
  if (!isRecord(value) || !isNumber(value['now']) || !isNumber(value['speed']) || !isRecord(value['passes'])) return null;
  const { period, last } = value['passes'];
  if (!isNumber(period) || (last !== null && !isNumber(last))) return null;
  const { history: sent, time_zone: zone, ...status } = value;
  const history = decodeHistory(sent);
  const hasZone = isRecord(zone) && isText(zone['name']) && isNumber(zone['offset']);
  return { ...status, ...(hasZone && { time_zone: zone }), ...(history && { history }) } as unknown as ToldStatus;
}

const oneOfThese = <Value extends string>(value: unknown, allowed: readonly Value[]): Value | undefined => allowed.find((one) => one === value);

const isOutage = (one: unknown): one is Outage => isRecord(one) && isNumber(one['from']) && isNumber(one['to']) && one['from'] < one['to'];

/** A probe that keeps no journal may leave it out. */
export function decodeHistory(value: unknown): History | null {
  if (!isRecord(value) || !Array.isArray(value['outages'])) return null;
  const state = oneOfThese(value['state'], ['warming', 'ready'] as const);
  const journal = oneOfThese(value['journal'], ['on', 'off', 'failing'] as const);
  const { known_since: knownSince, share, seconds_left: left, outages } = value;
  if (!state || !journal || (knownSince !== null && !isNumber(knownSince))) return null;
  return {
    state,
    ...(isNumber(share) && { share: Math.min(1, Math.max(0, share)) }),
    ...(state === 'warming' && { seconds_left: isNumber(left) && left >= 0 ? left : null }),
    known_since: knownSince,
    outages: outages.filter(isOutage).map(({ from, to }) => ({ from, to })),
    journal,
  };
}

export function decodeDevices(value: unknown): Device[] | null {
  if (!isRecord(value) || !Array.isArray(value['devices'])) return null;
  return value['devices'].filter(isDevice).map((device) => ({
    ...device,
    // Of a device that is there it is news with each pass, and of no use.
    measured: !device.online && isNumber(device.measured) && device.measured > 0 ? device.measured : null,
    absences: Array.isArray(device.absences) ? device.absences.filter(isOutage).map(({ from, to }) => ({ from, to })) : [],
  }));
}

function isDevice(device: unknown): device is Device {
  return (
    isRecord(device) &&
    ['mac', 'hostname', 'ip', 'type', 'model', 'version'].every((member) => isText(device[member])) &&
    typeof device['online'] === 'boolean' &&
    typeof device['wireless'] === 'boolean'
  );
}

export interface DeviceList {
  devices: Device[];
  /** Of the devices that answer SNMP, also of those that never did. */
  polls: Poll[];
}

export function decodeDeviceList(value: unknown): DeviceList | null {
  const devices = decodeDevices(value);
  if (devices === null) return null;
  const polls = isRecord(value) && Array.isArray(value['polls']) ? value['polls'] : [];
  return { devices, polls: polls.filter(isPoll) };
}

function isPoll(poll: unknown): poll is Poll {
  return (
    isRecord(poll) &&
    ['address', 'name', 'mac', 'profile', 'error'].every((member) => isText(poll[member])) &&
    typeof poll['online'] === 'boolean' &&
    ['clients', 'listed_clients'].every((member) => poll[member] === null || isNumber(poll[member])) &&
    Array.isArray(poll['stale']) &&
    poll['stale'].every((one) => isRecord(one) && isText(one['table']) && isNumber(one['age']))
  );
}

export function decodePeriods(value: unknown): Periods | null {
  if (!isRecord(value)) return null;
  const { daily, weekly } = value;
  if (!Array.isArray(daily) || !Array.isArray(weekly)) return null;
  // One report lists the newest first, the other the oldest: keys are dates, so their order is theirs.
  const newestFirst = (keys: unknown[]): string[] => keys.filter(isText).sort().reverse();
  return { daily: newestFirst(daily), weekly: newestFirst(weekly) };
}

const texts = ['mac', 'hostname', 'username', 'network', 'type_frequency', 'first_seen', 'last_seen'];
const numbers = ['data_rate', 'upload', 'download', 'total', 'time_online'];

function isClientRow(value: unknown): value is ClientRow {
  return (
    isRecord(value) &&
    texts.every((member) => isText(value[member])) &&
    numbers.every((member) => isNumber(value[member])) &&
    (value['online_time'] === null || isNumber(value['online_time']))
  );
}

export function decodeClientReport(value: unknown): ClientReport | null {
  if (!isRecord(value)) return null;
  const { wireless_clients: clients, wireless_guests: guests } = value;
  if (!Array.isArray(clients) || !Array.isArray(guests)) return null;
  return { wireless_clients: clients.filter(isClientRow), wireless_guests: guests.filter(isClientRow), expire: false };
}

function isLoad(value: unknown): value is Load {
  const isFigure = (figure: unknown): boolean => figure === null || isNumber(figure);
  return isRecord(value) && isFigure(value['peak']) && isFigure(value['average']);
}

function hasLoads(value: unknown): value is Json {
  return isRecord(value) && isLoad(value['client_count']) && isLoad(value['traffic']);
}

function isRogue(value: unknown): value is Json {
  return (
    isRecord(value) &&
    ['mac', 'networks', 'first_seen', 'last_seen', 'channel'].every((member) => isText(value[member])) &&
    isNumber(value['total_time']) &&
    (value['average_strength'] === null || isNumber(value['average_strength'])) &&
    (value['seen_by'] === undefined || membersOf(value['seen_by']).every(([, name]) => isText(name)))
  );
}

export function decodeNetworkReport(value: unknown): NetworkReport | null {
  if (!isRecord(value)) return null;
  const { rogue_ap: rogues, wireless_network: networks } = value;
  if (!Array.isArray(rogues) || !Array.isArray(networks)) return null;
  const points = membersOf(value['wireless_access_points']).filter(
    ([, point]) => hasLoads(point) && ['apname', 'model', 'version'].every((member) => isText(point[member])),
  );
  const isNetwork = (network: unknown): boolean =>
    hasLoads(network) && isText(network['name']) && isText(network['security']) && typeof network['guest'] === 'boolean';
  return {
    rogue_ap: rogues.filter(isRogue).map((rogue) => ({ seen_by: {}, ...rogue })) as NetworkReport['rogue_ap'],
    expire: false,
    wireless_access_points: Object.fromEntries(points) as NetworkReport['wireless_access_points'],
    wireless_network: networks.filter(isNetwork) as NetworkReport['wireless_network'],
    spectrum_usage: Object.fromEntries(
      membersOf(value['spectrum_usage']).filter(([, band]) => hasLoads(band)),
    ) as NetworkReport['spectrum_usage'],
  };
}
