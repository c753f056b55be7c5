// A chart of lines over time. Zoom with the mouse, with the buttons below it, or with the keys + - 0 and the arrows.

import { useEffect, useMemo, useRef, useState } from 'preact/hooks';
import uPlot from 'uplot';
import 'uplot/dist/uPlot.min.css';
import { merged, outagesIn, recordBegin } from '../charts/outages';
import { type ChartData, inSight, largest, loneSamples, type Range, shifted, type View, zoomed } from '../charts/series';
import { formatMark, formatMinute } from '../format/format';
import { outageText } from '../state/history';
import { useColourScheme, useOutages, useProbe } from '../state/hooks';
import { OutageKey, placeMarks } from './chart_marks';

export interface Line {
  name: string;
  /** Names of tokens. */
  colour: string;
  fill?: string;
  dash?: number[];
}

interface Props {
  title: string;
  lines: Line[];
  data: ChartData;
  view: View;
  /** The values of the axis as texts. */
  axis: (values: number[], top: number) => string[];
  value: (value: number | null) => string;
  /** Values are whole. */
  isCount?: boolean;
  zoom: Range | null;
  onZoom: (range: Range | null) => void;
}

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

/** What a chart shows beside its lines. */
interface Marks {
  outages: Range[];
  begin: number | null;
}
type Shown = Props & Marks;

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
      scales: { x: { time: true }, y: { range: (_, __, top) => [0, Math.max(top * 1.08, props.isCount ? 4 : 125)] } },
      axes: [
        { stroke: text, grid, ticks: grid, font, space: 70, incrs: timeSteps, values: (_, values) => values.map((value) => formatMark(value / 60)) },
        {
          stroke: text,
          grid,
          ticks: { show: false },
          font,
          size: (_, values: string[] | null) => 18 + 7 * Math.max(3, ...(values ?? []).map((value) => value.length)),
          incrs: roundSteps(props.isCount ? 1 : 1 / 8),
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
        draw: [(self: uPlot) => placeMarks(self, latest.current.outages, latest.current.begin)],
        setCursor: [
          (self: uPlot) => {
            onCursor(self.cursor.idx ?? null);
            const time = self.posToVal(self.cursor.left ?? -1, 'x');
            const outage = latest.current.outages.find(([from, to]) => from < time && time < to);
            self.over.title = outage ? outageText(outage, latest.current.data) : '';
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

export function Chart(given: Props) {
  const { title, lines, data, view, onZoom } = given;
  const told = useOutages();
  const knownSince = useProbe((state) => state.history?.known_since);
  const marks: Marks = useMemo(() => ({ outages: outagesIn(told, data), begin: recordBegin(knownSince, data, view) }), [told, knownSince, data, view]);
  const props: Shown = { ...given, ...marks };
  const box = useRef<HTMLDivElement>(null);
  const chart = useRef<uPlot | null>(null);
  const latest = useRef(props);
  latest.current = props;
  const [cursor, setCursor] = useState<number | null>(null);
  const scheme = useColourScheme();
  const shape = JSON.stringify([lines, scheme]);
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
  }, [shape, data, marks, zoom?.[0], zoom?.[1]]);

  const move = (factor: number): void => onZoom(zoomed(zoom ?? whole, factor, whole));
  const shift = (part: number): void => onZoom(shifted(zoom ?? whole, part, whole));
  const keys: Record<string, () => void> = {
    '+': () => move(0.5),
    '-': () => move(2),
    '0': () => onZoom(null),
    ArrowLeft: () => shift(-0.25),
    ArrowRight: () => shift(0.25),
  };
  const index = cursor ?? data.times.length - 1;
  return (
    <figure
      onKeyDown={(event) => {
        const act = keys[event.key];
        if (!act || event.ctrlKey || event.metaKey || event.altKey) return;
        event.preventDefault();
        act();
      }}
    >
      <Readout {...props} index={index} isLatest={cursor === null} />
      <div class="chart" ref={box} role="img" aria-label={summary(props)} data-points={data.times.length} />
      <OutageKey {...marks} data={data} />
      <div class="controls">
        <div class="zoom" role="group" aria-label={`Zoom of ${title}`}>
          <button type="button" class="button" onClick={() => move(0.5)} aria-label="Zoom in">+</button>
          <button type="button" class="button" onClick={() => move(2)} disabled={!zoom} aria-label="Zoom out">−</button>
          <button type="button" class="button" onClick={() => shift(-0.25)} disabled={!zoom} aria-label="Earlier">←</button>
          <button type="button" class="button" onClick={() => shift(0.25)} disabled={!zoom} aria-label="Later">→</button>
          <button type="button" class="button" onClick={() => onZoom(null)} disabled={!zoom}>All</button>
        </div>
        <span class="note">Drag over the chart to zoom in, or use these buttons and the keys + − 0 ← →.</span>
      </div>
      <DataTable {...props} />
    </figure>
  );
}

function summary({ title, lines, data, value, outages }: Shown): string {
  const parts = lines.map((line, i) => `${line.name}: at most ${value(largest([data.columns[i] ?? []]))}`);
  return [`${title}. ${parts.join(', ')}`, ...outages.map((one) => outageText(one, data)), ''].join('. ').trim();
}

export function LineKey({ line }: { line: Line }) {
  return (
    <svg viewBox="0 0 26 8" aria-hidden="true">
      <path d="M0 4h26" stroke={`var(--${line.colour})`} stroke-width="2.5" stroke-dasharray={(line.dash ?? []).join(' ')} />
    </svg>
  );
}

/** The values under the cursor; without one, the newest. */
function Readout({ lines, data, value, index, isLatest }: Props & { index: number; isLatest: boolean }) {
  const time = data.times[index];
  if (time === undefined) return <div class="readout" />;
  return (
    <div class="readout">
      <span>{isLatest ? 'Latest' : 'At'} {formatMinute(time / 60, true)}</span>
      {lines.slice(0, 8).map((line, i) => (
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
function DataTable({ title, lines, data, value, outages }: Shown) {
  const [isOpen, setOpen] = useState(false);
  const isOff = (time: number): boolean => outages.some(([from, to]) => from < time && time < to);
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
                  <th scope="row">{formatMinute(time / 60, true)}{isOff(time) && <span class="note"> the probe was off</span>}</th>
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
