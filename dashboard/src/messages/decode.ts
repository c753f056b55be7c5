// Receives and checks: what the probe sends is foreign until it has passed here. A message that is not what its schema
// says gives `null`; of lists, what is malformed is left out, so that one odd device doesn't hide the others.

import type { Device as HealthDevice } from './generated/health_monitor';
import type { Interface, Sample } from './generated/traffic_monitor';
import type { Device, History, Status } from './generated/http';
import type { Message as Periods } from './generated/wireless_client_report_periods';
import type { Message as NetworkReport, Traffic as Load } from './generated/wireless_network_report';
import type { Message as ClientReport, Row as ClientRow } from './generated/wireless_client_report';
import type { IdentifiedClients as RankedClients, IdentifiedTraffic as RankedTraffic } from './generated/wireless_top_monitor';
import { isNumber, isRecord, isText, type Json, membersOf, parseJson } from './check';

export type { ClientReport, ClientRow, Device, HealthDevice, History, Interface, Load, NetworkReport, Periods, RankedClients, RankedTraffic, Sample, Status };

export interface Envelope {
  name: string;
  data: Json;
}

export interface DeviceTraffic {
  interfaces: Map<string, Interface>;
  /** What the probe tells about its access to the device, when a filter names the device. */
  credentials: [string, string][];
}

export type TrafficView = Map<string, DeviceTraffic>;

/** Samples by time: [minutes since the epoch, number of clients], oldest first. */
export type CountSeries = [number, number][];

export interface SsidCounts {
  series: Map<string, CountSeries>;
  all: CountSeries;
  current: Map<string, number>;
}

export interface DeviceCounts {
  series: Map<string, CountSeries>;
  all: CountSeries;
  /** Device -> SSID -> clients now. */
  current: Map<string, Map<string, number>>;
}

/** A network, which has no id of its own, is ranked under its name. */
export interface Rankings {
  accessPoints: { traffic: RankedTraffic[]; clients: RankedClients[] };
  networks: { traffic: RankedTraffic[]; clients: RankedClients[] };
  clients: { traffic: RankedTraffic[] };
}

export function envelopeOf(message: unknown): Envelope | null {
  return isRecord(message) && isText(message['name']) && isRecord(message['data'])
    ? { name: message['name'], data: message['data'] }
    : null;
}

export const decodeEnvelope = (text: string): Envelope | null => envelopeOf(parseJson(text));

/** The subscriptions that a message is for; `null` for a topic whose messages name none. */
export function sidsOf(data: Json): string[] | null {
  const holder = 'sid' in data ? data : Object.values(data).find((body) => isRecord(body) && 'sid' in body);
  const sids = isRecord(holder) ? holder['sid'] : null;
  return Array.isArray(sids) ? sids.filter(isText) : null;
}

/** The body of a message that has its view as its one member. */
function bodyOf(data: Json): Json | null {
  const body = Object.values(data)[0];
  return isRecord(body) ? body : null;
}

// --- health ---------------------------------------------------------------------------------------------------------

function isFigure(value: unknown): boolean {
  return isRecord(value) && isNumber(value['value']) && isNumber(value['level']);
}

function isHealthDevice(value: unknown): value is HealthDevice {
  return (
    isRecord(value) &&
    isText(value['device']) &&
    isText(value['hostname']) &&
    isText(value['deviceclass']) &&
    isFigure(value['actual_cpu']) &&
    isFigure(value['uptime']) &&
    isRecord(value['notification']) &&
    ['alert', 'warning', 'info'].every((kind) => isNumber((value['notification'] as Json)[kind])) &&
    ['clients', 'rogue_aps'].every((member) => value[member] === undefined || isFigure(value[member])) &&
    (value['level'] === undefined || isNumber(value['level']))
  );
}

export function decodeHealth(data: Json): HealthDevice[] | null {
  return Array.isArray(data['status']) ? data['status'].filter(isHealthDevice) : null;
}

// --- traffic --------------------------------------------------------------------------------------------------------

function isSample(value: unknown): value is Sample {
  return isRecord(value) && isNumber(value['time']) && isNumber(value['input']) && isNumber(value['output']);
}

function decodeDeviceTraffic(value: unknown): DeviceTraffic {
  const device: DeviceTraffic = { interfaces: new Map(), credentials: [] };
  for (const [name, member] of membersOf(value)) {
    if (isRecord(member) && Array.isArray(member['traffic']) && isNumber(member['ifIndex'])) {
      device.interfaces.set(name, { ifIndex: member['ifIndex'], traffic: member['traffic'].filter(isSample) });
    } else if (!isRecord(member) && !Array.isArray(member)) {
      device.credentials.push([name, String(member)]);
    }
  }
  return device;
}

export function decodeTraffic(data: Json): TrafficView | null {
  const body = bodyOf(data);
  if (!body) return null;
  return new Map(membersOf(body['traffic_data']).map(([mac, device]) => [mac, decodeDeviceTraffic(device)]));
}

// --- client counts --------------------------------------------------------------------------------------------------

function decodeSeries(value: unknown): CountSeries {
  return membersOf(value)
    .map(([minute, count]): [number, unknown] => [Number(minute), count])
    .filter((sample): sample is [number, number] => isNumber(sample[0]) && isNumber(sample[1]))
    .sort((left, right) => left[0] - right[0]);
}

function decodeAllSeries(value: unknown, sumName: string): { series: Map<string, CountSeries>; all: CountSeries } {
  const series = new Map(membersOf(value).map(([name, counts]) => [name, decodeSeries(counts)]));
  const all = series.get(sumName) ?? [];
  series.delete(sumName);
  return { series, all };
}

export function decodeSsidCounts(data: Json): SsidCounts | null {
  const body = bodyOf(data);
  if (!body || !isRecord(body['ssids_clients_counts'])) return null;
  const current = new Map<string, number>();
  for (const [ssid, entry] of membersOf(body['current_ssid_clients_counts'])) {
    if (isRecord(entry) && isNumber(entry['count'])) current.set(ssid, entry['count']);
  }
  return { ...decodeAllSeries(body['ssids_clients_counts'], 'ssid_client_count_all'), current };
}

export function decodeDeviceCounts(data: Json): DeviceCounts | null {
  const body = bodyOf(data);
  if (!body || !isRecord(body['devices_client_counts'])) return null;
  const current = new Map<string, Map<string, number>>();
  for (const [mac, ssids] of membersOf(body['current_devices_counts'])) {
    const counts = new Map<string, number>();
    for (const [ssid, entry] of membersOf(ssids)) {
      if (isRecord(entry) && isNumber(entry['count'])) counts.set(ssid, entry['count']);
    }
    current.set(mac, counts);
  }
  return { ...decodeAllSeries(body['devices_client_counts'], 'device_client_count_all'), current };
}

// --- rankings -------------------------------------------------------------------------------------------------------

function decodeRanked<Entry>(value: unknown, decode: (entry: Json) => Entry | null): Entry[] {
  if (!Array.isArray(value)) return [];
  return value.map((entry) => (isRecord(entry) ? decode(entry) : null)).filter((entry) => entry !== null) as Entry[];
}

/** A network has no id but its name. */
function identityOf(entry: Json): { id: string; name: string } | null {
  if (!isText(entry['name'])) return null;
  return { id: isText(entry['id']) ? entry['id'] : entry['name'], name: entry['name'] };
}

function rankedTraffic(value: unknown): RankedTraffic[] {
  return decodeRanked(value, (entry) => {
    const identity = identityOf(entry);
    if (!identity || !isNumber(entry['in']) || !isNumber(entry['out']) || !isNumber(entry['total'])) return null;
    return { ...identity, in: entry['in'], out: entry['out'], total: entry['total'] };
  });
}

function rankedClients(value: unknown): RankedClients[] {
  return decodeRanked(value, (entry) => {
    const identity = identityOf(entry);
    return identity && isNumber(entry['clients']) ? { ...identity, clients: entry['clients'] } : null;
  });
}

export function decodeRankings(data: Json): Rankings | null {
  const { access_points: points, wireless_networks: networks, wireless_clients: clients } = data;
  if (!isRecord(points) || !isRecord(networks) || !isRecord(clients)) return null;
  return {
    accessPoints: { traffic: rankedTraffic(points['traffic']), clients: rankedClients(points['client']) },
    networks: { traffic: rankedTraffic(networks['traffic']), clients: rankedClients(networks['client']) },
    clients: { traffic: rankedTraffic(clients['traffic']) },
  };
}
