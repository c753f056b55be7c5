// Numbers of wireless clients over time, by network and by device, and now.

import { useMemo, useState } from 'preact/hooks';
import { align, drawn, type Range, type View, viewNames, viewTitles } from '../charts/series';
import { formatNumber } from '../format/format';
import { type CountSeries, decodeDeviceCounts, decodeSsidCounts, type DeviceCounts, type SsidCounts } from '../messages/decode';
import { Blank, Choice, Loaded, Name } from '../parts/basics';
import { Chart, dashes, type Line, LineKey } from '../parts/chart';
import { type Column, Table } from '../parts/table';
import { type Navigation, useDevices, useLive } from '../state/hooks';
import { oneOf } from '../state/route';
import type { Sorting } from '../state/sorting';
import { zoomOf, zoomText } from '../state/zoom';

const mostLines = 8;
const allLine: Line = { name: 'All', colour: 'text-soft', dash: [1, 3] };

interface CountsProps {
  title: string;
  series: Map<string, CountSeries>;
  all: CountSeries;
  nameOf: (id: string) => string;
  view: View;
  /** What the user has chosen to see; null: nothing was chosen. */
  chosen: string[] | null;
  onShow: (ids: string[]) => void;
  zoom: Range | null;
  onZoom: (range: Range | null) => void;
}

/** The same name keeps the same colour as long as the same names are there. */
function lineOf(id: string, position: number, nameOf: (id: string) => string): Line {
  return { name: nameOf(id), colour: `series-${(position % mostLines) + 1}`, dash: dashes[position % dashes.length] };
}

function CountsChart({ title, series, all, nameOf, view, chosen, onShow, zoom, onZoom }: CountsProps) {
  const ids = useMemo(() => [...series.keys()].sort((a, b) => nameOf(a).localeCompare(nameOf(b), 'en', { numeric: true })), [series, nameOf]);
  const shown = drawn(series, chosen, mostLines);
  const inOrder = ids.filter((id) => shown.includes(id));
  const lines = [allLine, ...inOrder.map((id) => lineOf(id, ids.indexOf(id), nameOf))];
  const data = useMemo(() => align([all, ...inOrder.map((id) => series.get(id) ?? [])], view), [series, all, inOrder.join('\n'), view]);
  if (data.times.length === 0) return <Blank title="Nothing yet">The first figures of this view come when its first interval is over.</Blank>;
  const toggle = (id: string): void => onShow(shown.includes(id) ? shown.filter((one) => one !== id) : [...shown, id]);
  return (
    <>
      <Chart title={title} lines={lines} data={data} view={view} axis={(values) => values.map((value) => formatNumber(value))} value={(value) => formatNumber(value)} isCount zoom={zoom} onZoom={onZoom} />
      <fieldset class="lines">
        <legend class="hidden">Lines of {title}</legend>
        <div class="legend">
          {ids.map((id, position) => (
            <label key={id}>
              <input type="checkbox" checked={shown.includes(id)} onChange={() => toggle(id)} />
              <LineKey line={lineOf(id, position, nameOf)} />
              <Name text={nameOf(id)} isShort />
            </label>
          ))}
        </div>
      </fieldset>
    </>
  );
}

interface CurrentRow {
  id: string;
  name: string;
  network?: string;
  count: number;
}

const ssidColumns: Column<CurrentRow>[] = [
  { key: 'name', title: 'Network', value: (row) => row.name, cell: (row) => <Name text={row.name} /> },
  { key: 'count', title: 'Clients now', isNumber: true, value: (row) => row.count, cell: (row) => formatNumber(row.count) },
];

const deviceColumns: Column<CurrentRow>[] = [
  { key: 'name', title: 'Device', value: (row) => row.name, cell: (row) => <Name text={row.name} /> },
  { key: 'network', title: 'Network', value: (row) => row.network ?? '', cell: (row) => <Name text={row.network ?? ''} /> },
  { key: 'count', title: 'Clients now', isNumber: true, value: (row) => row.count, cell: (row) => formatNumber(row.count) },
];

function Current({ title, columns, rows }: { title: string; columns: Column<CurrentRow>[]; rows: CurrentRow[] }) {
  const [sorting, setSorting] = useState<Sorting>({ column: 'count', direction: 'descending' });
  const sum = rows.reduce((all, row) => all + row.count, 0);
  return (
    <section class="card">
      <div class="card-head"><h2>{title}</h2><span class="note"><data value={String(sum)}>{formatNumber(sum)}</data> clients</span></div>
      {rows.length === 0 ? <Blank title="Nobody is connected" /> : <Table caption={title} columns={columns} rows={rows} keyOf={(row) => row.id} sorting={sorting} onSort={setSorting} />}
    </section>
  );
}

function currentBySsid(counts: SsidCounts): CurrentRow[] {
  return [...counts.current].map(([ssid, count]) => ({ id: ssid, name: ssid, count }));
}

function currentByDevice(counts: DeviceCounts, nameOf: (mac: string) => string): CurrentRow[] {
  return [...counts.current].flatMap(([mac, ssids]) =>
    [...ssids].map(([ssid, count]) => ({ id: `${mac} ${ssid}`, name: nameOf(mac), network: ssid, count })),
  );
}

// Between two ids stands a mark, which by itself is a choice of none: an empty text means that nothing was chosen.
const mark = '\u001f';
function idsIn(text: string | undefined): string[] | null {
  if (!text) return null;
  return text === mark ? [] : text.split(mark);
}
const asText = (ids: string[]): string => ids.join(mark) || mark;
const itself = (ssid: string): string => ssid;

export function Clients({ route, change }: Navigation) {
  const view = oneOf<View>(route.values['view'], viewNames);
  const devices = useDevices();
  const bySsid = useLive('SSIDClientCountMonitor', { interval: view }, { interval: view }, decodeSsidCounts);
  const byDevice = useLive('DevicesClientCountMonitor', { interval: view }, { interval: view }, decodeDeviceCounts);
  const names = useMemo(() => new Map(devices.kind === 'ready' ? devices.value.map((one) => [one.mac, one.hostname]) : []), [devices]);
  const nameOf = useMemo(() => (mac: string) => names.get(mac) || mac, [names]);
  const zoom = { zoom: zoomOf(route), onZoom: (range: Range | null) => change(zoomText(range), true) };
  return (
    <>
      <div class="title">
        <h1>Wireless clients</h1>
        <Choice title="View" name="view" values={viewNames} titles={viewTitles} value={view} onChange={(one) => change({ view: one, ...zoomText(null) })} />
      </div>
      {view !== '1m' && <p class="note">A point is the most clients in its interval. All is the sum of these: who moved on meanwhile may be in it twice.</p>}
      <div class="split">
        <section class="card">
          <h2>By network</h2>
          <Loaded load={bySsid}>
            {(counts) => <CountsChart title="Clients by network" {...counts} nameOf={itself} view={view} chosen={idsIn(route.values['networks'])} onShow={(ids) => change({ networks: asText(ids) })} {...zoom} />}
          </Loaded>
        </section>
        <section class="card">
          <h2>By device</h2>
          <Loaded load={byDevice}>
            {(counts) => <CountsChart title="Clients by device" {...counts} nameOf={nameOf} view={view} chosen={idsIn(route.values['devices'])} onShow={(ids) => change({ devices: asText(ids) })} {...zoom} />}
          </Loaded>
        </section>
        {bySsid.kind === 'ready' && <Current title="Networks now" columns={ssidColumns} rows={currentBySsid(bySsid.value)} />}
        {byDevice.kind === 'ready' && <Current title="Devices now" columns={deviceColumns} rows={currentByDevice(byDevice.value, nameOf)} />}
      </div>
    </>
  );
}
