// What the probe tells of its journal, in words.

import type { ChartData, Range } from '../charts/series';
import { dayKey, formatDuration, formatMinute, formatPercent, formatSince, formatSpan } from '../format/format';
import { inZone, type Zone } from '../format/zone';
import type { History } from '../messages/decode';
import { texts as t } from '../texts';

export interface Progress {
  /** Of the journal, in whole percent; null: not told. */
  percent: number | null;
  /** "42%, about 8s left" */
  text: string;
}

export function progressOf({ share, seconds_left: left }: History): Progress {
  const percent = share === undefined ? null : Math.floor(share * 100);
  const leftText =
    left === null || left === undefined ? t.history.leftUnknown : left < 1 ? t.history.leftLittle : t.history.left(formatDuration(left));
  return { percent, text: percent === null ? leftText : `${formatPercent(percent)}, ${leftText}` };
}

/** A moment of the zone as the days of reports are cut. */
const dayIn = (seconds: number, zone: Zone | null): string => inZone(zone, () => dayKey(seconds * 1000));
const minuteIn = (seconds: number, zone: Zone | null): string => inZone(zone, () => formatMinute(seconds / 60, true));

/**
 * What of a period a report rests on: a day that has begun is not over, and what was before the record is not known.
 * Empty: the whole of it.
 */
export function basisText(period: string, knownSince: number | null, now: number, zone: Zone | null): string {
  const [first = '', last = first] = period.split('/');
  const isKnown = knownSince !== null && dayIn(knownSince, zone) >= first && dayIn(knownSince, zone) <= last;
  const isOver = dayIn(now, zone) > last;
  if (!isKnown) return isOver ? '' : t.history.notOver(minuteIn(now, zone));
  return t.history.basis(minuteIn(knownSince, zone), isOver ? '' : formatDuration(now - knownSince));
}

/** Null: there is no pass that anything is known of. */
export function knownSinceText({ known_since: since }: History): string | null {
  return since === null ? null : t.history.knownSince(formatMinute(since / 60, true));
}

/** One of the outages of a chart; without a date when it was on the day of the newest sample. */
export function outageText([from, to]: Range, { times }: ChartData): string {
  return t.history.probeOff(formatSpan(from / 60, to / 60, (times.at(-1) ?? to) / 60));
}

/** The same of a device; of one that is still away only since when. */
export function absenceText([from, to]: Range, { times }: ChartData): string {
  const end = times.at(-1) ?? to;
  return to >= end ? t.history.deviceIsOff(formatSince(from, end)) : t.history.deviceWasOff(formatSpan(from / 60, to / 60, end / 60));
}

export const journalTexts: Record<History['journal'], string> = {
  on: t.history.journalOn,
  off: t.history.journalOff,
  failing: t.history.journalFailing,
};
