// Turns messages into the arrays that charts draw.

import type { CountSeries, Interface } from '../messages/decode';
import { texts as t } from '../texts';

/** The views of the live monitors, and the minutes between two of their samples. */
export const views = { '1m': 1, '5m': 5, '10m': 10, '1h': 60, '2h': 120, '1day': 1440 } as const;
export type View = keyof typeof views;
export const viewNames = Object.keys(views) as View[];

/** How people call a view. */
export const viewTitles: Record<View, string> = {
  '1m': t.view.m1,
  '5m': t.view.m5,
  '10m': t.view.m10,
  '1h': t.view.h1,
  '2h': t.view.h2,
  '1day': t.view.d1,
};

export type Column = (number | null)[];

/** Times in seconds since the epoch, and a column for each line. */
export interface ChartData {
  times: number[];
  columns: Column[];
}

/** A time at which nothing is known, between two samples that are further apart than they should be. */
function gapsIn(minutes: number[], step: number): number[] {
  const gaps: number[] = [];
  minutes.forEach((minute, i) => {
    const next = minutes[i + 1];
    if (next !== undefined && next - minute > step * 1.5 + 1) gaps.push(minute + step);
  });
  return gaps;
}

function sorted(minutes: Iterable<number>): number[] {
  return [...new Set(minutes)].sort((left, right) => left - right);
}

/** Every series over the times of all of them; where one has no sample stands `null`. */
export function align(series: CountSeries[], view: View): ChartData {
  const known = sorted(series.flatMap((one) => one.map(([minute]) => minute)));
  const minutes = sorted([...known, ...gapsIn(known, views[view])]);
  const columns = series.map((one) => {
    const byMinute = new Map(one);
    return minutes.map((minute) => byMinute.get(minute) ?? null);
  });
  return { times: minutes.map((minute) => minute * 60), columns };
}

/** Input and output of one interface. */
export function trafficData(one: Interface, view: View): ChartData {
  return align(
    [
      one.traffic.map((sample): [number, number] => [sample.time, sample.input]),
      one.traffic.map((sample): [number, number] => [sample.time, sample.output]),
    ],
    view,
  );
}

export interface Figures {
  /** The newest that is known. */
  latest: number | null;
  peak: number | null;
  mean: number | null;
}

export function figuresOf(column: Column): Figures {
  const known = column.filter((value) => value !== null);
  if (known.length === 0) return { latest: null, peak: null, mean: null };
  return {
    latest: known[known.length - 1] ?? null,
    peak: Math.max(...known),
    mean: known.reduce((sum, value) => sum + value, 0) / known.length,
  };
}

export const largest = (columns: Column[]): number => Math.max(0, ...columns.flat().filter((value) => value !== null));

/** The names whose newest sample is greatest, ties by name: those that are drawn unless the user says otherwise. */
export function busiest(series: Map<string, CountSeries>, most: number): string[] {
  const latest = (name: string): number => series.get(name)?.at(-1)?.[1] ?? 0;
  return [...series.keys()].sort((a, b) => latest(b) - latest(a) || a.localeCompare(b, t.locale)).slice(0, most);
}

/** The names that are drawn: those chosen, of which there may be none, or the busiest where nothing was or all are gone. */
export function drawn(series: Map<string, CountSeries>, chosen: string[] | null, most: number): string[] {
  const known = chosen?.filter((name) => series.has(name)) ?? [];
  return chosen && (known.length > 0 || chosen.length === 0) ? known : busiest(series, most);
}

/** The samples that no line reaches, because neither neighbour is known: they are drawn as dots. */
export function loneSamples(column: Column): number[] {
  const isKnown = (i: number): boolean => typeof column[i] === 'number';
  return [...column.keys()].filter((i) => isKnown(i) && !isKnown(i - 1) && !isKnown(i + 1));
}

export type Range = [number, number];

/** A range that is narrower (`factor` below 1) or wider around its middle, and stays within `whole`; null: all of it. */
export function zoomed(range: Range, factor: number, whole: Range): Range | null {
  const middle = (range[0] + range[1]) / 2;
  const half = ((range[1] - range[0]) * factor) / 2;
  return limited([middle - half, middle + half], whole);
}

/** A range that lies earlier or later by a part of its width. */
export function shifted(range: Range, part: number, whole: Range): Range | null {
  const width = range[1] - range[0];
  const from = Math.min(Math.max(range[0] + width * part, whole[0]), whole[1] - width);
  return limited([from, from + width], whole);
}

/** A range of which something can still be seen. As time goes on, what was zoomed into leaves the view. */
export function inSight(range: Range | null, whole: Range): Range | null {
  return range && range[0] < whole[1] && range[1] > whole[0] ? range : null;
}

function limited([from, to]: Range, whole: Range): Range | null {
  const shortest = 60;
  const range: Range = [Math.max(from, whole[0]), Math.min(to, whole[1])];
  if (range[1] - range[0] < shortest) return [range[0], range[0] + shortest];
  return range[0] <= whole[0] && range[1] >= whole[1] ? null : range;
}
