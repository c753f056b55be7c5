// What a chart says in words and numbers.

import { useState } from 'preact/hooks';
import { type ChartData, largest, type Range, type View } from '../charts/series';
import { formatList, formatMinute } from '../format/format';
import { absenceText, outageText } from '../state/history';
import type { Presence } from '../state/presence';
import type { Marks } from './chart_marks';
import { texts as t } from '../texts';

export interface Line {
  name: string;
  /** Names of tokens. */
  colour: string;
  fill?: string;
  dash?: number[];
}

export interface ChartProps {
  title: string;
  lines: Line[];
  data: ChartData;
  view: View;
  /** The values of the axis as texts. */
  axis: (values: number[], top: number) => string[];
  value: (value: number | null) => string;
  /** Of the one device whose lines these are. */
  presence?: Presence;
  /** Values are whole. */
  isCount?: boolean;
  /** A level that the lines cannot rise above, as the speed of a link. */
  limit?: number | null;
  /** A range may be typed in, also one that this view does not reach. */
  onRange?: (range: Range) => void;
  zoom: Range | null;
  onZoom: (range: Range | null) => void;
}

/** With what it shows beside its lines. */
export type Shown = ChartProps & Marks;

export function summary({ title, lines, data, value, outages, absences }: Shown): string {
  const parts = lines.map((line, i) => t.chart.most(line.name, value(largest([data.columns[i] ?? []]))));
  return [`${title}. ${formatList(parts)}`, ...outages.map((one) => outageText(one, data)), ...absences.map((one) => absenceText(one, data)), ''].join('. ').trim();
}

export function LineKey({ line }: { line: Line }) {
  return (
    <svg viewBox="0 0 26 8" aria-hidden="true">
      <path d="M0 4h26" stroke={`var(--${line.colour})`} stroke-width="2.5" stroke-dasharray={(line.dash ?? []).join(' ')} />
    </svg>
  );
}

/** What a point stands for. */
const meanOf: Record<View, string> = t.chart.meanOf;
const countOf: Record<View, string> = t.chart.countOf;

/** Ten lines, their sum, and that of the period before. */
const mostTold = 12;

/** The values under the cursor; without one, the newest. */
export function Readout({ lines, data, value, view, isCount, index, isLatest, isSpoken }: ChartProps & { index: number; isLatest: boolean; isSpoken: boolean }) {
  const time = data.times[index];
  if (time === undefined) return <div class="readout" />;
  return (
    <div class="readout" {...(isSpoken && { role: 'status' })}>
      <span>{isLatest ? t.chart.latest : t.chart.at} {formatMinute(time / 60, true)}, {isCount ? countOf[view] : meanOf[view]}</span>
      {lines.slice(0, mostTold).map((line, i) => (
        <span key={line.name} class="key">
          <LineKey line={line} />
          <bdi class="name short">{line.name}</bdi>
          <b>{value(data.columns[i]?.[index] ?? null)}</b>
        </span>
      ))}
    </div>
  );
}

/** The same in words and numbers, for those who cannot see lines. */
export function DataTable({ title, lines, data, value, outages, absences }: Shown) {
  const [isOpen, setOpen] = useState(false);
  const isIn = (ranges: Range[], time: number): boolean => ranges.some(([from, to]) => from < time && time < to);
  const last = data.times.at(-1);
  const isAway = (time: number): boolean => isIn(absences, time) || (time === last && absences.some(([, to]) => to === last));
  return (
    <details onToggle={(event) => setOpen(event.currentTarget.open)}>
      <summary>{t.chart.asTable}</summary>
      {isOpen && (
        <div class="scroll" tabIndex={0} role="region" aria-label={t.chart.tableOf(title)}>
          <table>
            <thead>
              <tr>
                <th scope="col">{t.chart.time}</th>
                {lines.map((line) => <th key={line.name} scope="col" class="number"><bdi>{line.name}</bdi></th>)}
              </tr>
            </thead>
            <tbody>
              {data.times.map((time, row) => (
                <tr key={time}>
                  <th scope="row">{formatMinute(time / 60, true)}{isIn(outages, time) ? <span class="note"> {t.chart.probeWasOff}</span> : isAway(time) && <span class="note"> {t.chart.deviceWasOff}</span>}</th>
                  {lines.map((line, i) => {
                    const one = data.columns[i]?.[row] ?? null;
                    return <td key={line.name} class="number"><data value={one === null ? '' : String(one)}>{value(one)}</data></td>;
                  })}
                </tr>
              ))}
            </tbody>
          </table>
        </div>
      )}
    </details>
  );
}
