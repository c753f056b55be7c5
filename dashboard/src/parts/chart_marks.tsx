// What stands behind the lines of a chart: when the probe was off, and where its record begins.

import type uPlot from 'uplot';
import { formatMinute } from '../format/format';
import type { ChartData, Range } from '../charts/series';
import { absenceText, outageText } from '../state/history';
import { texts as t } from '../texts';

/** What a chart shows beside its lines. */
export interface Marks {
  /** The probe was off. */
  outages: Range[];
  /** The device was offline. */
  absences: Range[];
  begin: number | null;
}

const leastWidth = 2;
const mostNamed = 3;

function mark(kind: string, left: number, width: number): HTMLElement {
  const element = document.createElement('div');
  element.className = kind;
  element.style.left = `${left}px`;
  element.style.width = `${width}px`;
  return element;
}

/** The layer below the lines cuts off what the zoom leaves out. */
export function placeMarks(chart: uPlot, { outages, absences, begin, limit }: Marks & { limit?: number | null }): void {
  const xOf = (time: number): number => chart.valToPos(time, 'x');
  const marks = outages.map(([from, to]) => mark('off', xOf(from), Math.max(leastWidth, xOf(to) - xOf(from))));
  marks.push(...absences.map(([from, to]) => mark('off away', xOf(from), Math.max(leastWidth, xOf(to) - xOf(from)))));
  if (begin !== null) marks.push(mark('begin', xOf(begin), leastWidth));
  if (limit) {
    const line = document.createElement('div');
    line.className = 'limit-line';
    line.style.top = `${chart.valToPos(limit, 'y')}px`;
    marks.push(line);
  }
  chart.under.replaceChildren(...marks);
}

/** Says what the marks are, for those without a mouse, too. */
export function MarksKey({ outages, absences, begin, data }: Marks & { data: ChartData }) {
  if (outages.length === 0 && absences.length === 0 && begin === null) return null;
  const all = [
    ...outages.map((one) => ({ at: one[0], kind: 'off', text: outageText(one, data) })),
    ...absences.map((one) => ({ at: one[0], kind: 'off away', text: absenceText(one, data) })),
  ].sort((left, right) => left.at - right.at);
  const named = all.slice(-mostNamed).reverse();
  const more = all.length - named.length;
  return (
    <ul class="marks note">
      {named.map(({ at, kind, text }) => <li key={`${kind} ${at}`}><i class={kind} />{text}</li>)}
      {more > 0 && <li>{t.chart.moreBefore(more)}</li>}
      {begin !== null && <li><i class="begin" />{t.chart.begins(formatMinute(begin / 60, true))}</li>}
    </ul>
  );
}
