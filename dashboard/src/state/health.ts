// How well a device is, from all that is told of it.

import type { Device, HealthDevice } from '../messages/decode';
import type { Notification } from '../messages/decode_now';
import type { Poll } from '../messages/generated/http';
import { formatSince } from '../format/format';
import type { DeviceLevels, FigureName, Held } from './levels';
import { offlineText, type Presence, presenceOf } from './presence';
import { compareNames } from './sorting';
import { texts as t } from '../texts';

export type Level = 'bad' | 'offline' | 'fair' | 'unknown' | 'good';

/** The worst first. */
export const levels: Level[] = ['bad', 'offline', 'fair', 'unknown', 'good'];

export const levelTitles: Record<Level, string> = {
  bad: t.level.bad,
  offline: t.level.offline,
  fair: t.level.fair,
  unknown: t.level.unknown,
  good: t.level.good,
};

export function levelOf(number: number | undefined): Level {
  if (number === 2) return 'good';
  if (number === 3) return 'fair';
  return number !== undefined && number >= 4 ? 'bad' : 'unknown';
}

export interface DeviceRow {
  mac: string;
  name: string;
  type: string;
  model: string;
  ip: string;
  level: Level;
  /** Null: the engine has told nothing of it yet. */
  health: HealthDevice | null;
  /** Wireless clients. Null: it has no wireless side, or does not tell. */
  clients: { value: number; level: number; isListed: boolean } | null;
  presence: Presence;
  /** As they have lasted for two passes; empty before the first pass. */
  levels: DeviceLevels;
  /** What is wrong with its polls, in plain words; empty for nothing. */
  trouble: string;
}

function worst(all: Level[]): Level {
  return levels.find((level) => all.includes(level)) ?? 'unknown';
}

/**
 * The probe's own judgement of the device. Only where it has none, because no driver serves the device, that of its
 * CPU, uptime and number of clients, the worst of them. Rogue access points nearby say something about the place and
 * nothing about the device.
 */
export function overallLevel(health: HealthDevice | null, isOnline: boolean, held: DeviceLevels = {}): Level {
  if (!isOnline) return 'offline';
  if (!health) return 'unknown';
  const lasting = (name: FigureName, now: number | undefined): number | undefined => held[name]?.level ?? now;
  const own = lasting('own', health.level);
  if (own !== undefined) return levelOf(own);
  const { actual_cpu: cpu, uptime, clients } = health;
  const numbers = [lasting('cpu', cpu.level), lasting('uptime', uptime.level), lasting('clients', clients?.level)];
  return worst(numbers.filter((one) => one !== undefined).map(levelOf));
}

/** For how many seconds a device has not answered one of these tables, of which its last rows are shown; 0: it has. */
export function staleFor(poll: Poll | undefined, tables: Poll['stale'][number]['table'][]): number {
  return Math.max(0, ...(poll?.stale ?? []).filter(({ table }) => tables.includes(table)).map(({ age }) => age));
}

/** How many of a device's figures are bad. */
function badFigures({ health }: DeviceRow): number {
  if (!health) return 0;
  const figures = [health.actual_cpu, health.uptime, health.clients, health.rogue_aps];
  return figures.filter((figure) => figure && levelOf(figure.level) === 'bad').length;
}

/** A device that is polled tells its number of clients itself: the engine counts only those that it lists. */
function clientsOf(health: HealthDevice | null, poll: Poll | undefined): DeviceRow['clients'] {
  if (!health?.clients) return null;
  if (!poll) return { ...health.clients, isListed: true };
  if (poll.clients === null) return null;
  const isListed = poll.clients === 0 || (poll.listed_clients ?? 0) > 0;
  return { value: poll.clients, level: health.clients.level, isListed };
}

const unknownPresence: Presence = { isOnline: true, measured: null, away: [] };

/**
 * All devices that the centre or the health monitor know, the worst first, and those that should be polled but are not
 * in the centre: they never answered, or have the id of another one.
 */
export function deviceRows(devices: Device[], health: HealthDevice[], polls: Poll[] = [], held = new Map<string, DeviceLevels>()): DeviceRow[] {
  const healthOf = new Map(health.map((one) => [one.device, one]));
  const pollOf = new Map(polls.map((poll) => [poll.mac, poll]));
  const rows = devices.map((device): DeviceRow => {
    const one = healthOf.get(device.mac) ?? null;
    healthOf.delete(device.mac);
    const poll = pollOf.get(device.mac);
    const { mac, hostname, type, model, ip } = device;
    const own = held.get(mac) ?? {};
    const level = overallLevel(one, device.online, own);
    return {
      mac, name: hostname, type, model, ip, level, health: one, clients: clientsOf(one, poll), trouble: poll?.error ?? '', presence: presenceOf(device), levels: own,
    };
  });
  for (const one of healthOf.values()) {
    const { device: mac, hostname: name, deviceclass: type } = one;
    const own = held.get(mac) ?? {};
    const level = overallLevel(one, true, own);
    rows.push({ mac, name, type, model: '', ip: '', level, health: one, clients: clientsOf(one, undefined), trouble: '', presence: unknownPresence, levels: own });
  }
  const shown = new Set(rows.map((row) => row.mac));
  for (const { mac, name, address, error } of polls.filter((poll) => !shown.has(poll.mac))) {
    rows.push({
      mac, name, type: '', model: '', ip: address, level: 'offline', health: null, clients: null, trouble: error, presence: { ...unknownPresence, isOnline: false }, levels: {},
    });
  }
  return rows.sort(compareRows);
}

/** "since 11:04"; "already at 11:04" where it was so when the page was opened. */
export function sinceText(held: Held | undefined, now: number): string {
  return held ? (held.isFirst ? t.health.already : t.health.since)(formatSince(held.since, now)) : '';
}

/** The same beside times that the probe tells, which may lie before the page was opened: so it says whose this one is. */
export function seenText(held: Held | undefined, now: number): string {
  return held?.isFirst ? t.health.alreadySeen(formatSince(held.since, now)) : sinceText(held, now);
}

/** Since when a device has open alerts: the oldest of those that are told, or as long as the page has seen some. */
function alertsSince(row: DeviceRow, told: Notification[], now: number): string {
  if (told.length === 0) return seenText(row.levels.alerts, now);
  return t.health.since(formatSince(Math.min(...told.map((one) => one.since)), now));
}

export interface Concern {
  row: DeviceRow;
  /** "offline since 11:04", "2 open alerts since 11:02" */
  reasons: string[];
}

/** The devices that need a person, and why, in the order of the rows. `told`: the open alerts of each, as far as they are known. */
export function concernsOf(rows: DeviceRow[], now: number, told = new Map<string, Notification[]>()): Concern[] {
  return rows
    .map((row) => {
      const reasons: string[] = [];
      const alerts = row.health?.notification.alert ?? 0;
      if (row.level === 'offline') reasons.push(offlineText(row.presence, now));
      if (row.level === 'bad') reasons.push([t.health.judgedBad, seenText(row.levels.own, now)].filter(Boolean).join(' '));
      // What it had open when it went offline may be over.
      if (alerts > 0 && row.level !== 'offline') reasons.push([t.health.openAlerts(alerts), alertsSince(row, told.get(row.mac) ?? [], now)].filter(Boolean).join(' '));
      return { row, reasons };
    })
    .filter(({ reasons }) => reasons.length > 0);
}

/** From where on a figure has its level, and since when; empty for a good one. */
export function limitText(name: 'cpu' | 'uptime' | 'clients', level: number, held: Held | undefined, now: number): string {
  const kind = levelOf(level);
  const limit: string = {
    cpu: { bad: t.health.cpuBad, fair: t.health.cpuFair },
    uptime: { bad: t.health.uptimeBad, fair: t.health.uptimeFair },
    clients: { bad: t.health.clientsBad, fair: '' },
  }[name][kind === 'bad' ? 'bad' : 'fair'];
  if ((kind !== 'bad' && kind !== 'fair') || !limit) return '';
  return [limit, name === 'uptime' ? '' : sinceText(held, now)].filter(Boolean).join(' ');
}

function compareRows(left: DeviceRow, right: DeviceRow): number {
  const notes = (row: DeviceRow, kind: 'alert' | 'warning'): number => row.health?.notification[kind] ?? 0;
  return (
    levels.indexOf(left.level) - levels.indexOf(right.level) ||
    notes(right, 'alert') - notes(left, 'alert') ||
    notes(right, 'warning') - notes(left, 'warning') ||
    badFigures(right) - badFigures(left) ||
    compareNames(left.name, right.name)
  );
}
