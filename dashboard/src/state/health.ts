// How well a device is, from all that is told of it.

import type { Device, HealthDevice } from '../messages/decode';
import type { Poll } from '../messages/generated/http';

export type Level = 'bad' | 'offline' | 'fair' | 'unknown' | 'good';

/** The worst first. */
export const levels: Level[] = ['bad', 'offline', 'fair', 'unknown', 'good'];

export const levelTitles: Record<Level, string> = {
  bad: 'Bad',
  offline: 'Offline',
  fair: 'Fair',
  unknown: 'Unknown',
  good: 'Good',
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
  /** What is wrong with its polls, in plain words; empty for nothing. */
  trouble: string;
}

function worst(all: Level[]): Level {
  return levels.find((level) => all.includes(level)) ?? 'unknown';
}

/**
 * The probe's judgement of the device, or that of its CPU, uptime or number of clients, if that is worse. Rogue access
 * points nearby say something about the place and nothing about the device.
 */
export function overallLevel(health: HealthDevice | null, isOnline: boolean): Level {
  if (!isOnline) return 'offline';
  if (!health) return 'unknown';
  const { level, actual_cpu: cpu, uptime, clients } = health;
  const numbers = [level, cpu.level, uptime.level, clients?.level];
  return worst(numbers.filter((one) => one !== undefined).map(levelOf));
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

/**
 * All devices that the centre or the health monitor know, the worst first, and those that should be polled but are not
 * in the centre: they never answered, or have the id of another one.
 */
export function deviceRows(devices: Device[], health: HealthDevice[], polls: Poll[] = []): DeviceRow[] {
  const healthOf = new Map(health.map((one) => [one.device, one]));
  const pollOf = new Map(polls.map((poll) => [poll.mac, poll]));
  const rows = devices.map((device): DeviceRow => {
    const one = healthOf.get(device.mac) ?? null;
    healthOf.delete(device.mac);
    const poll = pollOf.get(device.mac);
    const { mac, hostname, type, model, ip } = device;
    const level = overallLevel(one, device.online);
    return { mac, name: hostname, type, model, ip, level, health: one, clients: clientsOf(one, poll), trouble: poll?.error ?? '' };
  });
  for (const one of healthOf.values()) {
    const { device: mac, hostname: name, deviceclass: type } = one;
    rows.push({ mac, name, type, model: '', ip: '', level: overallLevel(one, true), health: one, clients: clientsOf(one, undefined), trouble: '' });
  }
  const shown = new Set(rows.map((row) => row.mac));
  for (const { mac, name, address, error } of polls.filter((poll) => !shown.has(poll.mac))) {
    rows.push({ mac, name, type: '', model: '', ip: address, level: 'offline', health: null, clients: null, trouble: error });
  }
  return rows.sort(compareRows);
}

function compareRows(left: DeviceRow, right: DeviceRow): number {
  const notes = (row: DeviceRow, kind: 'alert' | 'warning'): number => row.health?.notification[kind] ?? 0;
  return (
    levels.indexOf(left.level) - levels.indexOf(right.level) ||
    notes(right, 'alert') - notes(left, 'alert') ||
    notes(right, 'warning') - notes(left, 'warning') ||
    badFigures(right) - badFigures(left) ||
    left.name.localeCompare(right.name, 'en', { numeric: true })
  );
}
