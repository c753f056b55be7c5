// What the probe tells of its journal, in words.

import type { ChartData, Range } from '../charts/series';
import { formatDay, formatDuration, formatMinute, formatPercent, formatSince, formatSpan } from '../format/format';
import { inZone, type Zone } from '../format/zone';
import type { History } from '../messages/decode';

export interface Progress {
  /** Of the journal, in whole percent; null: not told. */
  percent: number | null;
  /** "42 %, about 8 s left" */
  text: string;
}

export function progressOf({ share, seconds_left: left }: History): Progress {
  const percent = share === undefined ? null : Math.floor(share * 100);
  const leftText =
    left === null || left === undefined ? 'the time left is not known yet' : left < 1 ? 'less than a second left' : `about ${formatDuration(left)} left`;
  return { percent, text: percent === null ? leftText : `${formatPercent(percent)}, ${leftText}` };
}

/** A moment of the zone as the days of reports are cut. */
const dayIn = (seconds: number, zone: Zone | null): string => inZone(zone, () => formatDay(seconds * 1000));
const minuteIn = (seconds: number, zone: Zone | null): string => inZone(zone, () => formatMinute(seconds / 60, true));

/**
 * What of a period a report rests on: a day that has begun is not over, and what was before the record is not known.
 * Empty: the whole of it.
 */
export function basisText(period: string, knownSince: number | null, now: number, zone: Zone | null): string {
  const [first = '', last = first] = period.split('/');
  const isKnown = knownSince !== null && dayIn(knownSince, zone) >= first && dayIn(knownSince, zone) <= last;
  const isOver = dayIn(now, zone) > last;
  if (!isKnown) return isOver ? '' : `Not over yet: up to ${minuteIn(now, zone)}.`;
  const over = isOver ? '' : `, ${formatDuration(now - knownSince)} up to now`;
  return `The record begins ${minuteIn(knownSince, zone)}${over}.`;
}

/** Null: there is no pass that anything is known of. */
export function knownSinceText({ known_since: since }: History): string | null {
  return since === null ? null : `Figures are known since ${formatMinute(since / 60, true)}.`;
}

/** One of the outages of a chart; without a date when it was on the day of the newest sample. */
export function outageText([from, to]: Range, { times }: ChartData): string {
  return `The probe was off ${formatSpan(from / 60, to / 60, (times.at(-1) ?? to) / 60)}`;
}

/** The same of a device; of one that is still away only since when. */
export function absenceText([from, to]: Range, { times }: ChartData): string {
  const end = times.at(-1) ?? to;
  return to >= end ? `The device is offline since ${formatSince(from, end)}` : `The device was offline ${formatSpan(from / 60, to / 60, end / 60)}`;
}

export const journalTexts: Record<History['journal'], string> = {
  on: 'History is written down, so that a restart does not lose it.',
  off: 'History is not written down: it begins anew with each start of the probe.',
  failing: 'History is not being written: it will be lost at the next restart.',
};
