// What stands behind the lines of a chart: when the probe was off, and where its record begins.

import type uPlot from 'uplot';
import { formatMinute } from '../format/format';
import type { ChartData, Range } from '../charts/series';
import { outageText } from '../state/history';

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
export function placeMarks(chart: uPlot, outages: Range[], begin: number | null): void {
  const xOf = (time: number): number => chart.valToPos(time, 'x');
  const marks = outages.map(([from, to]) => mark('off', xOf(from), Math.max(leastWidth, xOf(to) - xOf(from))));
  if (begin !== null) marks.push(mark('begin', xOf(begin), leastWidth));
  chart.under.replaceChildren(...marks);
}

/** Says what the marks are, for those without a mouse, too. */
export function OutageKey({ outages, begin, data }: { outages: Range[]; begin: number | null; data: ChartData }) {
  if (outages.length === 0 && begin === null) return null;
  const named = outages.slice(-mostNamed).reverse();
  const more = outages.length - named.length;
  return (
    <ul class="marks note">
      {named.map((one) => <li key={one[0]}><i class="off" />{outageText(one, data)}</li>)}
      {more > 0 && <li>and {more} {more === 1 ? 'time' : 'times'} before</li>}
      {begin !== null && <li><i class="begin" />The record begins {formatMinute(begin / 60, true)}</li>}
    </ul>
  );
}
