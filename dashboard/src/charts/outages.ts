// The times in which the probe was off, as charts show them: no line is drawn across, and they are told from silence.

import type { Outage } from '../messages/decode_http';
import { type ChartData, type Column, loneSamples, type Range, type View, views } from './series';

/** Samples of a view, at least; what is older has left it. */
const mostSamples = 30;

const wholeRange = ({ times }: ChartData): Range => [times[0] ?? 0, times.at(-1) ?? 0];

/** Ranges in their order, those that touch or overlap as one: the clock may have been set back in between. */
export function merged(ranges: Range[]): Range[] {
  const all: Range[] = [];
  for (const [from, to] of [...ranges].sort((a, b) => a[0] - b[0])) {
    const last = all.at(-1);
    if (last && from <= last[1]) last[1] = Math.max(last[1], to);
    else all.push([from, to]);
  }
  return all;
}

/** Those that reach into the chart, in whole minutes: a sample has the time of its pass without the seconds. */
export function outagesIn(outages: Outage[], data: ChartData): Range[] {
  const minute = (time: number): number => Math.floor(time / 60) * 60;
  const [begin, end] = wholeRange(data);
  return merged(outages.map(({ from, to }): Range => [minute(from), minute(to)])).filter(([from, to]) => from < end && to > begin);
}

/** When the record begins, where that lies within the time that the view reaches back; null: it is older, or not known. */
export function recordBegin(knownSince: number | null | undefined, { times }: ChartData, view: View): number | null {
  const latest = times.at(-1);
  if (knownSince === null || knownSince === undefined || latest === undefined) return null;
  return knownSince <= latest && knownSince > latest - mostSamples * views[view] * 60 ? knownSince : null;
}

export interface Box {
  width: number;
  height: number;
}

/** Where the outages stand in a box as wide as the chart: position and width, wide enough to be seen. */
export function bands(outages: Range[], data: ChartData, width: number): { x: number; width: number }[] {
  const [begin, end] = wholeRange(data);
  const xOf = (time: number): number => ((Math.min(Math.max(time, begin), end) - begin) / (end - begin)) * width;
  return end > begin ? outages.map(([from, to]) => ({ x: xOf(from), width: Math.max(1, xOf(to) - xOf(from)) })) : [];
}

/** The path of a small line: lifted where nothing is known and while the probe was off. Empty: there is nothing to draw. */
export function sparkline(data: ChartData, column: Column, top: number, box: Box, outages: Range[] = []): string {
  const { times } = data;
  const [begin, end] = wholeRange(data);
  const lone = new Set(loneSamples(column));
  const point = (time: number, value: number): string => {
    const x = end > begin ? ((time - begin) / (end - begin)) * box.width : 0;
    const y = top > 0 ? box.height - (value / top) * box.height : box.height;
    return `${x.toFixed(1)} ${y.toFixed(1)}`;
  };
  let path = '';
  column.forEach((value, i) => {
    const time = times[i];
    if (value === null || time === undefined) return;
    const [before, left] = [times[i - 1], column[i - 1] ?? null];
    if (before === undefined || left === null) {
      path += `M${point(time, value)}${lone.has(i) ? 'h0' : ''}`; // with round ends, a line of no length is a dot
      return;
    }
    const between = (at: number): string => point(at, left + ((value - left) * (at - before)) / (time - before));
    let isOff = false;
    for (const [from, to] of outages.filter((one) => one[0] < time && one[1] > before)) {
      if (from > before) path += `L${between(from)}`;
      path += `M${between(Math.min(to, time))}`;
      isOff = to >= time;
    }
    if (!isOff) path += `L${point(time, value)}`;
  });
  return path;
}
