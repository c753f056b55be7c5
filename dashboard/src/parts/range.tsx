// The ends of what a chart shows, typed in.

import { useEffect, useState } from 'preact/hooks';
import type { Range } from '../charts/series';
import { wallText, wallTime } from '../format/zone';
import { texts as t } from '../texts';

interface Props {
  title: string;
  /** What is shown now. */
  shown: Range;
  onRange: (range: Range) => void;
}

export function RangeForm({ title, shown, onRange }: Props) {
  const [from, setFrom] = useState(wallText(shown[0]));
  const [to, setTo] = useState(wallText(shown[1]));
  const [isTouched, setTouched] = useState(false);
  useEffect(() => {
    // Time goes on under the hands of whoever is typing.
    if (isTouched) return;
    setFrom(wallText(shown[0]));
    setTo(wallText(shown[1]));
  }, [shown[0], shown[1], isTouched]);
  const range: [number | null, number | null] = [wallTime(from), wallTime(to)];
  const isWrong = range[0] === null || range[1] === null || range[0] >= range[1];
  const type = (set: (text: string) => void) => (event: { currentTarget: HTMLInputElement }): void => {
    setTouched(true);
    set(event.currentTarget.value);
  };
  return (
    <form
      class="controls range"
      aria-label={t.chart.rangeOf(title)}
      onSubmit={(event) => {
        event.preventDefault();
        if (range[0] === null || range[1] === null || isWrong) return;
        setTouched(false);
        onRange([range[0], range[1]]);
      }}
    >
      <label>{t.chart.from} <input type="datetime-local" name="from" value={from} onInput={type(setFrom)} /></label>
      <label>{t.chart.to} <input type="datetime-local" name="to" value={to} onInput={type(setTo)} /></label>
      <button type="submit" class="button" aria-disabled={isWrong}>{t.chart.showRange}</button>
      {isTouched && isWrong && <span class="note" role="status">{t.chart.wrongRange}</span>}
    </form>
  );
}
