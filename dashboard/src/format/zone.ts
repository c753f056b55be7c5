// The time zone in which times are told and charts are drawn: the probe's, or the browser's where its user prefers that.

export interface Zone {
  /** In the tz database; empty: it has none there. */
  name: string;
  /** Seconds ahead of UTC at present. */
  offset: number;
}

/** A moment as the clocks of the zone show it. */
export interface Wall {
  year: number;
  month: number;
  day: number;
  hour: number;
  minute: number;
  second: number;
}

interface Clock {
  title: string;
  offsetAt: (ms: number) => number;
}

/** The offset of a named zone changes on a full quarter of an hour only, wherever there are people. */
const quarterMs = 900_000;

// An offset and a field's value have one form in every language: they are written here.
const two = (value: number): string => String(value).padStart(2, '0');

/** "UTC+05:30"; UTC itself is just that. */
export function offsetText(seconds: number): string {
  if (seconds === 0) return 'UTC';
  const minutes = Math.round(Math.abs(seconds) / 60);
  return `UTC${seconds < 0 ? '−' : '+'}${two(Math.floor(minutes / 60))}:${two(minutes % 60)}`;
}

const browserName = (): string => Intl.DateTimeFormat().resolvedOptions().timeZone;

const browserClock: Clock = { title: '', offsetAt: (ms) => -new Date(ms).getTimezoneOffset() * 60 };

const clocks = new Map<string, Clock | null>();

function namedClock(name: string): Clock | null {
  const made = clocks.get(name);
  if (made !== undefined) return made;
  const clock = makeClock(name);
  clocks.set(name, clock);
  return clock;
}

/** Null: the browser knows no zone of this name. */
function makeClock(name: string): Clock | null {
  let format: Intl.DateTimeFormat;
  try {
    format = new Intl.DateTimeFormat('en-GB', {
      timeZone: name, hourCycle: 'h23', year: 'numeric', month: 'numeric', day: 'numeric', hour: 'numeric', minute: 'numeric', second: 'numeric',
    });
  } catch {
    return null;
  }
  const known = new Map<number, number>(); // the formatter is slow, and an axis asks for the same moments again and again
  const offsetAt = (ms: number): number => {
    const quarter = Math.floor(ms / quarterMs) * quarterMs;
    const before = known.get(quarter);
    if (before !== undefined) return before;
    const parts = Object.fromEntries(format.formatToParts(quarter).map(({ type, value }) => [type, Number(value)]));
    const { year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0 } = parts;
    const offset = (Date.UTC(year, month - 1, day, hour, minute, second) - quarter) / 1000;
    known.set(quarter, offset);
    return offset;
  };
  return { title: name, offsetAt };
}

let clock = browserClock;

/** Null: the browser's own. */
export function setZone(zone: Zone | null): void {
  const named = zone?.name ? namedClock(zone.name) : null;
  clock = zone ? (named ?? { title: '', offsetAt: () => zone.offset }) : browserClock;
}

/** Does something by the clocks of a zone, whatever is chosen otherwise. */
export function inZone<Value>(zone: Zone | null, act: () => Value): Value {
  const before = clock;
  setZone(zone);
  try {
    return act();
  } finally {
    clock = before;
  }
}

/** "Europe/Berlin, UTC+01:00" */
export function zoneText(ms: number): string {
  const name = clock === browserClock ? browserName() : clock.title;
  const offset = offsetText(clock.offsetAt(ms));
  return name && name !== offset ? `${name}, ${offset}` : offset;
}

/** A zone as a part of a file's name. */
export const zoneSlug = (zone: Zone | null): string => (zone?.name || offsetText(zone?.offset ?? 0)).replace('−', '-').replace(/[^A-Za-z0-9+-]+/g, '-');

export function wallOf(ms: number): Wall {
  const date = new Date(ms + clock.offsetAt(ms) * 1000);
  return {
    year: date.getUTCFullYear(), month: date.getUTCMonth() + 1, day: date.getUTCDate(),
    hour: date.getUTCHours(), minute: date.getUTCMinutes(), second: date.getUTCSeconds(),
  };
}

/** A minute as fields for dates have it, "2026-11-15T14:05". */
export function wallText(seconds: number): string {
  const { year, month, day, hour, minute } = wallOf(seconds * 1000);
  return `${String(year).padStart(4, '0')}-${two(month)}-${two(day)}T${two(hour)}:${two(minute)}`;
}

/** When the clocks of the zone show what such a field says, in seconds since the epoch; null: it says nothing. */
export function wallTime(text: string): number | null {
  const utc = Date.parse(`${text}Z`);
  if (!/^\d{4}-\d\d-\d\dT\d\d:\d\d/.test(text) || Number.isNaN(utc)) return null;
  const near = utc - clock.offsetAt(utc) * 1000;
  return Math.floor((utc - clock.offsetAt(near) * 1000) / 1000);
}

/** A date whose local members are those of the zone: charts ask dates for these. */
export function wallDate(ms: number): Date {
  const { year, month, day, hour, minute, second } = wallOf(ms);
  return new Date(year, month - 1, day, hour, minute, second);
}
