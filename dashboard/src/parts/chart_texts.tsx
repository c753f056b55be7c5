// What a chart says in words and numbers.

import { useState } from 'preact/hooks';
import { type ChartData, largest, type Range, type View } from '../charts/series';
import { formatMinute } from '../format/format';
import { absenceText, outageText } from '../state/history';
import type { Presence } from '../state/presence';
import type { Marks } from './chart_marks';

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
  zoom: Range | null;
  onZoom: (range: Range | null) => void;
}

/** With what it shows beside its lines. */
export type Shown = ChartProps & Marks;

export function summary({ title, lines, data, value, outages, absences }: Shown): string {
  const parts = lines.map((line, i) => `${line.name}: at most ${value(largest([data.columns[i] ?? []]))}`);
  return [`${title}. ${parts.join(', ')}`, ...outages.map((one) => outageText(one, data)), ...absences.map((one) => absenceText(one, data)), ''].join('. ').trim();
}

export function LineKey({ line }: { line: Line }) {
  return (
    <svg viewBox="0 0 26 8" aria-hidden="true">
      <path d="M0 4h26" stroke={`var(--${line.colour})`} stroke-width="2.5" stroke-dasharray={(line.dash ?? []).join(' ')} />
    </svg>
  );
}

/** What a point stands for. */
const meanOf: Record<View, string> = { '1m': 'mean of a minute', '5m': 'mean of 5 min', '10m': 'mean of 10 min', '1h': 'mean of an hour', '2h': 'mean of 2 h', '1day': 'mean of a day' };
const countOf: Record<View, string> = { '1m': 'at the pass', '5m': 'most in 5 min', '10m': 'most in 10 min', '1h': 'most in an hour', '2h': 'most in 2 h', '1day': 'most in a day' };

/** The values under the cursor; without one, the newest. */
export function Readout({ lines, data, value, view, isCount, index, isLatest, isSpoken }: ChartProps & { index: number; isLatest: boolean; isSpoken: boolean }) {
  const time = data.times[index];
  if (time === undefined) return <div class="readout" />;
  return (
    <div class="readout" {...(isSpoken && { role: 'status' })}>
      <span>{isLatest ? 'Latest' : 'At'} {formatMinute(time / 60, true)}, {isCount ? countOf[view] : meanOf[view]}</span>
      {lines.slice(0, 11).map((line, i) => (
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
      <summary>Show as a table</summary>
      {isOpen && (
        <div class="scroll" tabIndex={0} role="region" aria-label={`${title} as a table`}>
          <table>
            <thead>
              <tr>
                <th scope="col">Time</th>
                {lines.map((line) => <th key={line.name} scope="col" class="number"><bdi>{line.name}</bdi></th>)}
              </tr>
            </thead>
            <tbody>
              {data.times.map((time, row) => (
                <tr key={time}>
                  <th scope="row">{formatMinute(time / 60, true)}{isIn(outages, time) ? <span class="note"> the probe was off</span> : isAway(time) && <span class="note"> the device was offline</span>}</th>
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
