// A range that somebody chose by its ends, and the period before one.

import type { ChartData, Column, Range, View } from './series';
import { viewNames, views } from './series';

/** Samples that a view has when it is full. */
const fullView = 30;

const lengthOf = (view: View): number => fullView * views[view] * 60;

/** The view that shows a range which begins at `from`: the one that is open where it reaches back so far, or the finest that does. */
export function viewReaching(from: number, latest: number, view: View): View {
  const reaches = (one: View): boolean => from >= latest - lengthOf(one);
  return reaches(view) ? view : (viewNames.find(reaches) ?? '1day');
}

/** The next view that reaches further back; null: there is none. */
export const coarserView = (view: View): View | null => viewNames[viewNames.indexOf(view) + 1] ?? null;

/** The ends of what is compared: the zoom, or all that a view shows when it is full. */
export const comparedLength = (zoom: Range | null, view: View): number => (zoom ? zoom[1] - zoom[0] : lengthOf(view));

/** The value of the interval in which a time lies: a sample is the mean of what came before it. */
function valueAt({ times }: ChartData, column: Column, step: number, time: number): number | null {
  const i = times.findIndex((one) => one >= time);
  const at = times[i];
  return at !== undefined && at - time < step ? (column[i] ?? null) : null;
}

export interface Source {
  data: ChartData;
  view: View;
}

/** Lines as they were `length` seconds before, at the times of `data`: from the first source that knows. */
export function periodBefore(data: ChartData, length: number, sources: Source[]): Column[] {
  return data.columns.map((_, line) =>
    data.times.map((time) => {
      for (const { data: known, view } of sources) {
        const value = valueAt(known, known.columns[line] ?? [], views[view] * 60, time - length);
        if (value !== null) return value;
      }
      return null;
    }),
  );
}
