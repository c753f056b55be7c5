// What the probe tells of its journal, in words.

import type { ChartData, Range } from '../charts/series';
import { formatDuration, formatMinute, formatPercent, formatSpan } from '../format/format';
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

/** Null: there is no pass that anything is known of. */
export function knownSinceText({ known_since: since }: History): string | null {
  return since === null ? null : `Figures are known since ${formatMinute(since / 60, true)}.`;
}

/** One of the outages of a chart; without a date when it was on the day of the newest sample. */
export function outageText([from, to]: Range, { times }: ChartData): string {
  return `The probe was off ${formatSpan(from / 60, to / 60, (times.at(-1) ?? to) / 60)}`;
}

export const journalTexts: Record<History['journal'], string> = {
  on: 'History is written down, so that a restart does not lose it.',
  off: 'History is not written down: it begins anew with each start of the probe.',
  failing: 'History is not being written: it will be lost at the next restart.',
};
