// Numbers, units and times as texts.

import { wallOf } from './zone';
import { texts as t } from '../texts';

export const nothing = '–';

const isGiven = (value: number | null | undefined): value is number => value !== null && value !== undefined && Number.isFinite(value);

/** Three digits that count, and no more than they need: 0.12, 1.23, 12.3, 123, 1234. */
function digits(value: number): string {
  const size = Math.abs(value);
  if (size >= 100 || Number.isInteger(value)) return String(Math.round(value));
  return value.toFixed(size >= 10 ? 1 : 2).replace(/\.?0+$/, '');
}

export interface Unit {
  name: string;
  /** How many of what is measured make one. */
  size: number;
}

/** Whether speeds are told in bits, as on the label of every device, or in bytes, as a file that is copied. */
export type RateKind = 'bit' | 'byte';

// Steps are decimal everywhere, so that what has been moved can be reckoned from the speed.
const bitRates: Unit[] = ['bit/s', 'kbit/s', 'Mbit/s', 'Gbit/s', 'Tbit/s'].map((name, i) => ({ name, size: 1000 ** i / 8 }));
const byteRates: Unit[] = ['B/s', 'kB/s', 'MB/s', 'GB/s', 'TB/s'].map((name, i) => ({ name, size: 1000 ** i }));
const byteUnits: Unit[] = ['B', 'kB', 'MB', 'GB', 'TB', 'PB'].map((name, i) => ({ name, size: 1000 ** i }));

let rateUnits = bitRates;

export function setRateKind(kind: RateKind): void {
  rateUnits = kind === 'bit' ? bitRates : byteRates;
}

/** The smallest speed that an axis is drawn for. */
export const leastRate = (): number => (rateUnits[1]?.size ?? 1);

/** How many bytes a second make one of the unit that is not stepped: steps of an axis are round in it. */
export const rateBase = (): number => (rateUnits[0]?.size ?? 1);

function unitFor(units: Unit[], value: number): Unit {
  // What would be rounded up to the next unit is told in that: 1 kbit/s, not 1000 bit/s.
  const fitting = units.filter((unit) => Math.abs(value) >= unit.size * 0.9995);
  return fitting[fitting.length - 1] ?? { name: units[0]?.name ?? '', size: units[0]?.size ?? 1 };
}

/** The unit in which an axis up to `bytesPerSecond` is easy to read. */
export const rateUnit = (bytesPerSecond: number): Unit => unitFor(rateUnits, bytesPerSecond);

export const inUnit = (value: number, unit: Unit): string => digits(value / unit.size);

export function formatRate(bytesPerSecond: number | null | undefined): string {
  if (!isGiven(bytesPerSecond)) return nothing;
  const unit = rateUnit(bytesPerSecond);
  return `${inUnit(bytesPerSecond, unit)} ${unit.name}`;
}

/** The network report counts in megabits of 1,048,576 bits. */
export function formatMegabits(megabitsPerSecond: number | null | undefined): string {
  return isGiven(megabitsPerSecond) ? formatRate((megabitsPerSecond * 1_048_576) / 8) : nothing;
}

export function formatBytes(bytes: number | null | undefined): string {
  if (!isGiven(bytes)) return nothing;
  const unit = unitFor(byteUnits, bytes);
  return `${inUnit(bytes, unit)} ${unit.name}`;
}

export function formatNumber(value: number | null | undefined, decimals = 0): string {
  return isGiven(value) ? value.toFixed(decimals).replace(/\B(?=(\d{3})+(?!\d)(?<!\.\d*))/g, '\u202f') : nothing;
}

export function formatPercent(value: number | null | undefined, decimals = 0): string {
  return isGiven(value) ? `${value.toFixed(decimals)} %` : nothing;
}

/** A name where it cannot be isolated from its surroundings: without the marks that would turn those around. */
export function withoutDirection(name: string): string {
  return name.replace(/[\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, '');
}

/** The two largest parts of a time: "3 d 4 h", "5 min 3 s". Negative: not known. */
export function formatDuration(seconds: number | null | undefined): string {
  if (!isGiven(seconds) || seconds < 0) return nothing;
  const whole = Math.round(seconds);
  const parts: [number, string][] = [
    [Math.floor(whole / 86_400), t.unit.day],
    [Math.floor(whole / 3600) % 24, t.unit.hour],
    [Math.floor(whole / 60) % 60, t.unit.minute],
    [whole % 60, t.unit.second],
  ];
  const first = parts.findIndex(([count]) => count > 0);
  if (first < 0) return `0 ${t.unit.second}`;
  return parts
    .slice(first, first + 2)
    .filter(([count]) => count > 0)
    .map(([count, name]) => `${count} ${name}`)
    .join(' ');
}

/** How fast passes come, when the probe's clock runs faster than the true one. */
export function formatPace(periodMs: number): string {
  return periodMs < 1000 ? t.unit.passes(digits(1000 / periodMs)) : t.unit.passEvery(formatDuration(periodMs / 1000));
}

const two = (value: number): string => String(value).padStart(2, '0');

/** A day of the zone's calendar, "2026-11-15". */
export function formatDay(ms: number): string {
  const { year, month, day } = wallOf(ms);
  return `${year}-${two(month)}-${two(day)}`;
}

/** A minute of the zone's day: "14:05", and with the date when the samples are a day apart. */
export function formatMinute(minutes: number, withDate = false): string {
  const { hour, minute } = wallOf(minutes * 60_000);
  const time = `${two(hour)}:${two(minute)}`;
  return withDate ? `${formatDay(minutes * 60_000)} ${time}` : time;
}

/** A moment in seconds since the epoch, "11:04"; with the date unless it is of the same day as `now`. */
export function formatSince(seconds: number, now: number): string {
  return formatMinute(seconds / 60, formatDay(seconds * 1000) !== formatDay(now * 1000));
}

/** A time that goes by: "0:42", "12:07". */
export function formatStopwatch(seconds: number): string {
  const whole = Math.max(0, Math.floor(seconds));
  return `${Math.floor(whole / 60)}:${two(whole % 60)}`;
}

/** From one minute to another, "11:04 to 11:27"; with the dates unless both are of the same day as `now`. */
export function formatSpan(from: number, to: number, now: number): string {
  const days = new Set([from, to, now].map((minutes) => formatDay(minutes * 60_000)));
  return [from, to].map((minutes) => formatMinute(minutes, days.size > 1)).reduce(t.unit.span);
}

const dayOfMonth = new Intl.DateTimeFormat(t.locale, { day: 'numeric', month: 'short', timeZone: 'UTC' });

/** A mark on an axis of time: midnight is told by the day that begins, so that no time looks like another day's. */
export function formatMark(minutes: number): string {
  const { year, month, day, hour, minute } = wallOf(minutes * 60_000);
  return hour === 0 && minute === 0 ? dayOfMonth.format(Date.UTC(year, month - 1, day)) : formatMinute(minutes);
}

/** A key of a report: a day, or the first and the last day of a week. */
export function formatPeriod(key: string): string {
  return key.split('/').reduce(t.unit.span);
}
