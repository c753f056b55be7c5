// Numbers, units and times as texts, as the language of the pages has them.

import { type Wall, wallOf } from './zone';
import { texts as t } from '../texts';

export const nothing = '–';

const isGiven = (value: number | null | undefined): value is number => value !== null && value !== undefined && Number.isFinite(value);

/** Known to browsers, and not yet to the types of this version of the language. */
type NumberOptions = Intl.NumberFormatOptions & { roundingPriority?: 'morePrecision' };

const numbers = (options: NumberOptions): Intl.NumberFormat => new Intl.NumberFormat(t.locale, options);

// Three digits that count, and no more than they need: 0.12, 1.23, 12.3, 123, 1,234.
const threeDigits = numbers({ maximumSignificantDigits: 3, maximumFractionDigits: 0, roundingPriority: 'morePrecision' });

const digits = (value: number): string => threeDigits.format(value);

/** With so many decimals, made once: a formatter is slow to make. */
function withDecimals(options: NumberOptions): (decimals: number) => Intl.NumberFormat {
  const made: Intl.NumberFormat[] = [];
  return (decimals) => (made[decimals] ??= numbers({ ...options, minimumFractionDigits: decimals, maximumFractionDigits: decimals }));
}

const decimalNumber = withDecimals({});
const percentNumber = withDecimals({ style: 'percent' });

export interface Unit {
  name: string;
  /** How many of what is measured make one. */
  size: number;
}

/** Whether speeds are told in bits, as on the label of every device, or in bytes, as a file that is copied. */
export type RateKind = 'bit' | 'byte';

// Steps are decimal everywhere, so that what has been moved can be reckoned from the speed. The names are the signs of
// ISO 80000-13, which are the same in every language; Intl has "Mb/s", a capital away from eight times as much.
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
  return isGiven(value) ? decimalNumber(decimals).format(value) : nothing;
}

export function formatPercent(value: number | null | undefined, decimals = 0): string {
  return isGiven(value) ? percentNumber(decimals).format(value / 100) : nothing;
}

/** A name where it cannot be isolated from its surroundings: without the marks that would turn those around. */
export function withoutDirection(name: string): string {
  return name.replace(/[\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, '');
}

/** Several texts in a row: "a, b, c". */
const enumeration = new Intl.ListFormat(t.locale, { type: 'unit', style: 'short' });

export const formatList = (parts: string[]): string => enumeration.format(parts);

const durationParts = new Intl.ListFormat(t.locale, { type: 'unit', style: 'narrow' });
const durationUnits = (['day', 'hour', 'minute', 'second'] as const).map((unit) => numbers({ style: 'unit', unit, unitDisplay: 'narrow' }));

/** The two largest parts of a time: "3d 4h", "5m 3s". Negative: not known. */
export function formatDuration(seconds: number | null | undefined): string {
  if (!isGiven(seconds) || seconds < 0) return nothing;
  const whole = Math.round(seconds);
  const counts = [Math.floor(whole / 86_400), Math.floor(whole / 3600) % 24, Math.floor(whole / 60) % 60, whole % 60];
  const first = counts.findIndex((count) => count > 0);
  const told = counts.map((count, i) => (count > 0 ? (durationUnits[i]?.format(count) ?? '') : ''));
  return first < 0 ? (durationUnits.at(-1)?.format(0) ?? '') : durationParts.format(told.slice(first, first + 2).filter(Boolean));
}

/** How fast passes come, when the probe's clock runs faster than the true one. */
export function formatPace(periodMs: number): string {
  return periodMs < 1000 ? t.unit.passes(digits(1000 / periodMs)) : t.unit.passEvery(formatDuration(periodMs / 1000));
}

// Zones may have an offset and no name that Intl knows: it is told what the clocks show, as if that were UTC.
const times = (options: Intl.DateTimeFormatOptions): Intl.DateTimeFormat => new Intl.DateTimeFormat(t.locale, { timeZone: 'UTC', ...options });
const shown = ({ year, month, day, hour, minute, second }: Wall): number => Date.UTC(year, month - 1, day, hour, minute, second);

const date = times({ dateStyle: 'medium' });
const time = times({ timeStyle: 'short' });
const timeToTheSecond = times({ timeStyle: 'medium' });
const dateAndTime = times({ dateStyle: 'medium', timeStyle: 'short' });
const dayOfMonth = times({ day: 'numeric', month: 'short' });

/** A day of the zone's calendar as reports name it, "2026-11-15": to be compared, not shown. */
export function dayKey(ms: number): string {
  return new Date(shown(wallOf(ms))).toISOString().slice(0, 'yyyy-mm-dd'.length);
}

/** A minute of the zone's day: "14:05", and with the date when the samples are a day apart. */
export function formatMinute(minutes: number, withDate = false): string {
  return (withDate ? dateAndTime : time).format(shown(wallOf(minutes * 60_000)));
}

/** A moment in seconds since the epoch, "11:04"; with the date unless it is of the same day as `now`. */
export function formatSince(seconds: number, now: number): string {
  return formatMinute(seconds / 60, dayKey(seconds * 1000) !== dayKey(now * 1000));
}

const twoDigits = numbers({ minimumIntegerDigits: 2 });

/** A time that goes by: "0:42", "12:07". Intl has no form for one: of its dates the hours would be those of a clock. */
export function formatStopwatch(seconds: number): string {
  const whole = Math.max(0, Math.floor(seconds));
  return `${Math.floor(whole / 60)}:${twoDigits.format(whole % 60)}`;
}

/** From one minute to another, "11:04–11:27"; with the dates unless both are of the same day as `now`. */
export function formatSpan(from: number, to: number, now: number): string {
  const days = new Set([from, to, now].map((minutes) => dayKey(minutes * 60_000)));
  const [begin = 0, end = 0] = [from, to].map((minutes) => shown(wallOf(minutes * 60_000)));
  return (days.size > 1 ? dateAndTime : time).formatRange(begin, end);
}

/** A mark on an axis of time: midnight is told by the day that begins, so that no time looks like another day's. */
export function formatMark(minutes: number): string {
  const wall = wallOf(minutes * 60_000);
  return wall.hour === 0 && wall.minute === 0 ? dayOfMonth.format(shown(wall)) : time.format(shown(wall));
}

/** A key of a report: a day, or the first and the last day of a week. What is none stays as it is. */
export function formatPeriod(key: string): string {
  const [first = NaN, last = first] = key.split('/').map((day) => Date.parse(`${day}T00:00Z`));
  if (Number.isNaN(first) || Number.isNaN(last)) return key;
  return first === last ? date.format(first) : date.formatRange(first, last);
}

/** Date and time of a moment as reports write it, "2026-11-15 07:14:35", by the probe's clocks; what is none stays as it is. */
export function momentParts(text: string): string[] {
  const at = Date.parse(`${text.replace(' ', 'T')}Z`);
  return Number.isNaN(at) ? [text] : [date.format(at), timeToTheSecond.format(at)];
}
