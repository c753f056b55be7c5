// A chart of lines over time. Zoom with the mouse, with the buttons below it, or with the keys + - 0 and the arrows.

import { useEffect, useMemo, useRef, useState } from 'preact/hooks';
import uPlot from 'uplot';
import 'uplot/dist/uPlot.min.css';
import { merged, outagesIn, recordBegin } from '../charts/outages';
import { inSight, loneSamples, type Range, shifted, views, zoomed } from '../charts/series';
import { formatMark, leastRate, rateBase } from '../format/format';
import { wallDate } from '../format/zone';
import { absenceText, outageText } from '../state/history';
import { useColourScheme, useOutages, useProbe } from '../state/hooks';
import { absencesIn } from '../state/presence';
import { type Marks, MarksKey, placeMarks } from './chart_marks';
import { useKeyboardCursor } from './chart_keys';
import { type ChartProps, DataTable, Readout, type Shown, summary } from './chart_texts';
import { RangeForm } from './range';
import { texts as t } from '../texts';

export const dashes: number[][] = [[], [7, 4], [2, 3], [9, 3, 2, 3], [4, 2], [12, 4], [2, 5], [6, 2, 2, 2, 2, 2]];

/** What a token is now: a canvas knows no names. */
function colourOf(element: Element, token: string): string {
  const sample = document.createElement('i');
  sample.style.color = `var(--${token})`;
  element.append(sample);
  const colour = getComputedStyle(sample).color;
  sample.remove();
  return colour;
}

/** Steps of an axis that are round in a unit of which `one` is one: 1, 2, 5, 10 and so on. */
function roundSteps(one: number): number[] {
  return Array.from({ length: 15 }, (_, power) => [1, 2, 5].map((digit) => digit * 10 ** power * one)).flat();
}

const minute = 60;
const hour = 60 * minute;
const day = 24 * hour;

/** Steps of the axis of time. No sample is nearer to the next than a minute, and a clock that was set may be months off. */
const timeSteps = [
  ...[1, 2, 5, 10, 15, 30].map((step) => step * minute),
  ...[1, 2, 3, 4, 6, 8, 12].map((step) => step * hour),
  ...[1, 2, 3, 5, 10, 15, 30, 90, 180, 365, 1825, 3650, 18250].map((step) => step * day),
];

function makeChart(box: HTMLElement, props: Shown, latest: { current: Shown }, onCursor: (index: number | null) => void): uPlot {
  const font = `${Math.round(parseFloat(getComputedStyle(box).fontSize) * 0.84)}px system-ui, sans-serif`;
  const text = colourOf(box, 'text-soft');
  const grid = { stroke: colourOf(box, 'grid'), width: 1 };
  return new uPlot(
    {
      width: box.clientWidth,
      height: box.clientHeight,
      padding: [12, 24, 0, 0],
      legend: { show: false },
      cursor: { drag: { x: true, y: false, setScale: false }, points: { size: 7 } },
      select: { show: true, left: 0, top: 0, width: 0, height: 0 },
      tzDate: (time) => wallDate(time * 1000),
      scales: {
        // One sample by itself has an axis of one interval to each side.
        x: { time: true, range: (_, from, to) => (from === to ? [from - views[props.view] * 60, to + views[props.view] * 60] : [from, to]) },
        y: { range: (_, __, top) => [0, Math.max(top * 1.08, (latest.current.limit ?? 0) * 1.04, props.isCount ? 4 : leastRate())] },
      },
      axes: [
        { stroke: text, grid, ticks: grid, font, space: 70, incrs: timeSteps, values: (_, values) => values.map((value) => formatMark(value / 60)) },
        {
          stroke: text,
          grid,
          ticks: { show: false },
          font,
          size: (_, values: string[] | null) => 18 + 7 * Math.max(3, ...(values ?? []).map((value) => value.length)),
          incrs: roundSteps(props.isCount ? 1 : rateBase()),
          values: (self, values) => latest.current.axis(values, self.scales['y']?.max ?? 0),
        },
      ],
      series: [
        {},
        ...props.lines.map((line) => ({
          label: line.name,
          stroke: colourOf(box, line.colour),
          fill: line.fill ? colourOf(box, line.fill) : undefined,
          dash: line.dash,
          width: 1.75,
          // Cut out exactly, also where a view's samples are further apart than the outage was long.
          gaps: (self: uPlot, _: number, __: number, ___: number, unknown: Range[]) =>
            merged([...unknown, ...latest.current.outages.map(([from, to]): Range => [self.valToPos(from, 'x', true), self.valToPos(to, 'x', true)])]),
          points: { show: true, filter: (self: uPlot, i: number) => loneSamples([...(self.data[i] ?? [])].map((one) => one ?? null)) },
        })),
      ],
      hooks: {
        draw: [(self: uPlot) => placeMarks(self, latest.current)],
        setCursor: [
          (self: uPlot) => {
            onCursor(self.cursor.idx ?? null);
            const time = self.posToVal(self.cursor.left ?? -1, 'x');
            const outage = latest.current.outages.find(([from, to]) => from < time && time < to);
            const absence = latest.current.absences.find(([from, to]) => from < time && time < to);
            const { data } = latest.current;
            self.over.title = outage ? outageText(outage, data) : absence ? absenceText(absence, data) : '';
          },
        ],
        setSelect: [
          (self: uPlot) => {
            if (self.select.width < 8) return;
            const from = self.posToVal(self.select.left, 'x');
            const to = self.posToVal(self.select.left + self.select.width, 'x');
            self.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
            latest.current.onZoom([Math.round(from), Math.round(to)]);
          },
        ],
      },
    } as uPlot.Options,
    [props.data.times, ...props.data.columns],
    box,
  );
}

export function Chart(given: ChartProps) {
  const { title, lines, data, view, onZoom } = given;
  const told = useOutages();
  const knownSince = useProbe((state) => state.history?.known_since);
  const { presence } = given;
  const marks: Marks = useMemo(
    () => ({ outages: outagesIn(told, data), absences: presence ? absencesIn(presence, data) : [], begin: recordBegin(knownSince, data, view) }),
    [told, knownSince, data, view, presence],
  );
  const props: Shown = { ...given, ...marks };
  const box = useRef<HTMLDivElement>(null);
  const chart = useRef<uPlot | null>(null);
  const latest = useRef(props);
  latest.current = props;
  const [cursor, setCursor] = useState<number | null>(null);
  const scheme = useColourScheme();
  const shape = JSON.stringify([lines, scheme, view]);
  const whole: Range = [data.times[0] ?? 0, data.times.at(-1) ?? 0];
  const zoom = inSight(props.zoom, whole);

  useEffect(() => {
    const element = box.current;
    if (!element) return undefined;
    const made = makeChart(element, latest.current, latest, setCursor);
    chart.current = made;
    const observer = new ResizeObserver(() => made.setSize({ width: element.clientWidth, height: element.clientHeight }));
    observer.observe(element);
    return () => {
      observer.disconnect();
      made.destroy();
      chart.current = null;
    };
  }, [shape]);

  useEffect(() => {
    const made = chart.current;
    if (!made) return;
    made.setData([data.times, ...data.columns], zoom === null);
    if (zoom) made.setScale('x', { min: zoom[0], max: zoom[1] });
  }, [shape, data, marks, given.limit, zoom?.[0], zoom?.[1]]);

  const move = (factor: number): void => onZoom(zoomed(zoom ?? whole, factor, whole));
  const shift = (part: number): void => onZoom(shifted(zoom ?? whole, part, whole));
  const keys: Record<string, () => void> = {
    '+': () => move(0.5),
    '-': () => move(2),
    '0': () => onZoom(null),
    ArrowLeft: () => shift(-0.25),
    ArrowRight: () => shift(0.25),
  };
  const index = Math.min(cursor ?? Infinity, data.times.length - 1);
  const { isSpoken, onKey, leave } = useKeyboardCursor({ chart, data, index, zoom, whole, onZoom, setCursor });
  return (
    <figure
      onKeyDown={(event) => {
        const act = keys[event.key];
        if (!act || event.ctrlKey || event.metaKey || event.altKey) return;
        event.preventDefault();
        act();
      }}
    >
      <Readout {...props} index={index} isLatest={cursor === null} isSpoken={isSpoken} />
      <div class="chart" ref={box} role="img" tabIndex={0} aria-label={summary(props)} data-points={data.times.length} onKeyDown={onKey} onBlur={leave} />
      <MarksKey {...marks} data={data} />
      <div class="controls">
        <div class="zoom" role="group" aria-label={t.chart.zoomOf(title)}>
          <button type="button" class="button" onClick={() => move(0.5)} aria-label={t.chart.zoomIn}>+</button>
          <button type="button" class="button" onClick={() => zoom && move(2)} aria-disabled={!zoom} aria-label={t.chart.zoomOut}>−</button>
          <button type="button" class="button" onClick={() => zoom && shift(-0.25)} aria-disabled={!zoom} aria-label={t.chart.earlier}>←</button>
          <button type="button" class="button" onClick={() => zoom && shift(0.25)} aria-disabled={!zoom} aria-label={t.chart.later}>→</button>
          <button type="button" class="button" onClick={() => zoom && onZoom(null)} aria-disabled={!zoom}>{t.chart.all}</button>
        </div>
        <span class="note">{t.chart.help}</span>
      </div>
      {props.onRange && <RangeForm title={title} shown={zoom ?? whole} onRange={props.onRange} />}
      <DataTable {...props} />
    </figure>
  );
}
