// The values of a chart for those who have no mouse: with the focus on it, the arrows go from sample to sample.

import { type MutableRef, useState } from 'preact/hooks';
import type uPlot from 'uplot';
import { type ChartData, type Range, shifted } from '../charts/series';

interface Cursor {
  chart: MutableRef<uPlot | null>;
  data: ChartData;
  index: number;
  zoom: Range | null;
  whole: Range;
  onZoom: (range: Range | null) => void;
  setCursor: (index: number | null) => void;
}

export function useKeyboardCursor({ chart, data, index, zoom, whole, onZoom, setCursor }: Cursor) {
  /** The cursor was moved with the keyboard: a reader of the screen is told each value. */
  const [isSpoken, setSpoken] = useState(false);
  /** Puts the cursor on a sample, as the mouse would. */
  const point = (at: number): void => {
    const made = chart.current;
    const to = Math.min(Math.max(at, 0), data.times.length - 1);
    const time = data.times[to];
    if (!made || time === undefined) return;
    if (zoom && (time < zoom[0] || time > zoom[1])) onZoom(shifted(zoom, (time - (zoom[0] + zoom[1]) / 2) / (zoom[1] - zoom[0]), whole));
    made.setCursor({ left: made.valToPos(time, 'x'), top: made.over.clientHeight / 2 });
    setCursor(to);
    setSpoken(true);
  };
  const onKey = (event: KeyboardEvent): void => {
    const targets: Record<string, number> = { ArrowLeft: index - 1, ArrowRight: index + 1, Home: 0, End: data.times.length - 1 };
    const target = targets[event.key];
    if (event.ctrlKey || event.metaKey || event.altKey || event.shiftKey) return;
    if (event.key === 'Escape') leave();
    else if (target !== undefined) point(target);
    else return;
    event.preventDefault();
    event.stopPropagation();
  };
  const leave = (): void => {
    chart.current?.setCursor({ left: -10, top: -10 });
    setCursor(null);
    setSpoken(false);
  };
  return { isSpoken, onKey, leave };
}
