// Numbers of wireless clients over time, by network and by device, and now.

import { useMemo, useState } from 'preact/hooks';
import { coarserView } from '../charts/range';
import { align, drawn, type View, viewNames, viewTitles } from '../charts/series';
import { formatNumber } from '../format/format';
import { type CountSeries, decodeDeviceCounts, decodeSsidCounts, type DeviceCounts, type SsidCounts } from '../messages/decode';
import { Blank, Choice, Loaded, Name, SearchBox, Stale } from '../parts/basics';
import { dashes } from '../parts/chart';
import { type Line, LineKey } from '../parts/chart_texts';
import { ComparedChart, isCompared } from '../parts/compared_chart';
import { type Column, Table } from '../parts/table';
import { type Load, mapped, type Navigation, useDevices, useLive, usePassTime, usePresences } from '../state/hooks';
import { deviceCountsOf, offlineText, type Presences, ssidCountsOf } from '../state/presence';
import { formatRoute, oneOf } from '../state/route';
import { compareNames, search, type Sorting } from '../state/sorting';
import { zoomText } from '../state/zoom';
import { texts as t } from '../texts';

const mostLines = 10;
const colourCount = 8;
/** With more, only those that are drawn and those that are looked for are offered. */
const mostOffered = 24;
/** With more lines, only their sum is compared with the period before. */
const mostCompared = 3;
const allLine: Line = { name: t.clients.all, colour: 'text-soft', dash: [1, 3] };

interface CountsProps extends Counts {
  title: string;
  nameOf: (id: string) => string;
  view: View;
  /** What the user has chosen to see; null: nothing was chosen. */
  chosen: string[] | null;
  /** Null: the largest. */
  onShow: (ids: string[] | null) => void;
  /** The same in the view that reaches further back. */
  further: { counts: Counts; view: View } | null;
  navigation: Navigation;
}

interface Counts {
  series: Map<string, CountSeries>;
  all: CountSeries;
}

/** The same name keeps the same colour as long as the same names are there. */
function lineOf(id: string, position: number, nameOf: (id: string) => string): Line {
  return { name: nameOf(id), colour: `series-${(position % colourCount) + 1}`, dash: dashes[(position + Math.floor(position / colourCount)) % dashes.length] };
}

function CountsChart({ title, series, all, nameOf, view, chosen, onShow, further, navigation }: CountsProps) {
  const ids = useMemo(() => [...series.keys()].sort((a, b) => compareNames(nameOf(a), nameOf(b))), [series, nameOf]);
  const shown = drawn(series, chosen, mostLines);
  const inOrder = ids.filter((id) => shown.includes(id));
  // Of hundreds some would look alike: those that are drawn differ.
  const positionOf = (id: string): number => (ids.length <= mostOffered || !inOrder.includes(id) ? ids.indexOf(id) : inOrder.indexOf(id));
  const [isSumWanted, setSumWanted] = useState<boolean | null>(null);
  const isSumNeeded = inOrder.length === 0 || (inOrder.length > mostCompared && isCompared(navigation.route));
  // The sum of hundreds of lines would flatten each of them.
  const isSumDrawn = isSumNeeded || (isSumWanted ?? ids.length <= mostOffered);
  const lines = [...(isSumDrawn ? [allLine] : []), ...inOrder.map((id) => lineOf(id, positionOf(id), nameOf))];
  const data = useMemo(() => align([...(isSumDrawn ? [all] : []), ...inOrder.map((id) => series.get(id) ?? [])], view), [series, all, isSumDrawn, inOrder.join('\n'), view]);
  const dataBefore = useMemo(
    () => further && { data: align([...(isSumDrawn ? [further.counts.all] : []), ...inOrder.map((id) => further.counts.series.get(id) ?? [])], further.view), view: further.view },
    [further, isSumDrawn, inOrder.join('\n')],
  );
  const [wanted, setWanted] = useState('');
  if (data.times.length === 0) return <Blank title={t.clients.nothing}>{t.clients.nothingWhy}</Blank>;
  const offered = ids.length <= mostOffered ? ids : wanted ? search(ids, wanted, (id) => [nameOf(id), id]).slice(0, mostOffered) : inOrder;
  const toggle = (id: string): void => onShow(shown.includes(id) ? shown.filter((one) => one !== id) : [...shown, id]);
  return (
    <>
      <ComparedChart
        title={title}
        lines={lines}
        data={data}
        view={view}
        axis={(values) => values.map((value) => formatNumber(value))}
        value={(value) => formatNumber(value)}
        isCount
        further={dataBefore}
        compared={inOrder.length > mostCompared ? 1 : lines.length}
        navigation={navigation}
      />
      <fieldset class="lines">
        <legend class="hidden">{t.clients.linesOf(title)}</legend>
        <div class="controls legend-tools">
          {ids.length > mostOffered && (
            <SearchBox title={t.clients.searchOf(title)} hint={t.clients.search(ids.length)} value={wanted} onInput={setWanted} />
          )}
          <button type="button" class="button bare" onClick={() => onShow([])}>{t.clients.none}</button>
          <button type="button" class="button bare" onClick={() => onShow(null)}>{t.clients.largest(Math.min(mostLines, ids.length))}</button>
        </div>
        <div class="legend">
          <label>
            <input type="checkbox" checked={isSumDrawn} disabled={isSumNeeded} onChange={(event) => setSumWanted(event.currentTarget.checked)} />
            <LineKey line={allLine} />
            {allLine.name}
          </label>
          {offered.map((id) => (
            <label key={id}>
              <input type="checkbox" checked={shown.includes(id)} onChange={() => toggle(id)} />
              <LineKey line={lineOf(id, positionOf(id), nameOf)} />
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
  mac?: string;
  /** "offline since 11:04": its clients are not counted. Empty: it is there. */
  offline?: string;
}

const ssidColumns: Column<CurrentRow>[] = [
  { key: 'name', title: t.clients.network, value: (row) => row.name, cell: (row) => <Name text={row.name} /> },
  { key: 'count', title: t.clients.now, isNumber: true, value: (row) => row.count, cell: (row) => formatNumber(row.count) },
];

const deviceColumns: Column<CurrentRow>[] = [
  { key: 'name', title: t.clients.device, value: (row) => row.name, cell: (row) => <><a href={formatRoute({ page: 'device', values: { device: row.mac ?? '' } })}><Name text={row.name} /></a>{row.offline && <span class="sub">{row.offline}</span>}</> },
  { key: 'network', title: t.clients.network, value: (row) => row.network ?? '', cell: (row) => <Name text={row.network ?? ''} /> },
  { key: 'count', title: t.clients.now, isNumber: true, value: (row) => row.count, cell: (row) => <Stale isStale={Boolean(row.offline)}><data value={String(row.count)}>{formatNumber(row.count)}</data></Stale> },
];

function Current({ title, columns, rows }: { title: string; columns: Column<CurrentRow>[]; rows: CurrentRow[] }) {
  const [sorting, setSorting] = useState<Sorting>({ column: 'count', direction: 'descending' });
  const sum = rows.reduce((all, row) => all + (row.offline ? 0 : row.count), 0);
  return (
    <section class="card">
      <div class="card-head"><h2>{title}</h2><span class="note"><data value={String(sum)}>{formatNumber(sum)}</data> {t.clients.unit}</span></div>
      {rows.length === 0 ? <Blank title={t.clients.nobody} /> : <Table caption={title} columns={columns} rows={rows} keyOf={(row) => row.id} sorting={sorting} onSort={setSorting} />}
    </section>
  );
}

function currentBySsid(counts: SsidCounts): CurrentRow[] {
  return [...counts.current].map(([ssid, count]) => ({ id: ssid, name: ssid, count }));
}

function currentByDevice(counts: DeviceCounts, nameOf: (mac: string) => string, presences: Presences, now: number): CurrentRow[] {
  return [...counts.current].flatMap(([mac, ssids]) => {
    const presence = presences.get(mac);
    const offline = presence && !presence.isOnline ? offlineText(presence, now) : '';
    return [...ssids].map(([ssid, count]) => ({ id: `${mac} ${ssid}`, name: nameOf(mac), network: ssid, count, mac, offline }));
  });
}

// Between two ids stands a mark, which by itself is a choice of none: an empty text means that nothing was chosen.
const mark = '\u001f';
function idsIn(text: string | undefined): string[] | null {
  if (!text) return null;
  return text === mark ? [] : text.split(mark);
}
const asText = (ids: string[]): string => ids.join(mark) || mark;
const itself = (ssid: string): string => ssid;

/** What a view tells, without those who are at devices that are offline; without a view, nothing is asked for. */
function useCounts(view: View | null, presences: Presences): { ssidCounts: Load<SsidCounts>; deviceCounts: Load<DeviceCounts> } {
  const filter = view && { interval: view };
  const bySsid = useLive('SSIDClientCountMonitor', filter, filter ?? {}, decodeSsidCounts);
  const byDevice = useLive('DevicesClientCountMonitor', filter, filter ?? {}, decodeDeviceCounts);
  const deviceCounts = useMemo(() => mapped(byDevice, (counts) => deviceCountsOf(counts, presences)), [byDevice, presences]);
  const ssidCounts = useMemo(
    () => mapped(bySsid, (counts) => (byDevice.kind === 'ready' ? ssidCountsOf(counts, byDevice.value, presences) : counts)),
    [bySsid, byDevice, presences],
  );
  return { ssidCounts, deviceCounts };
}

function useFurther(view: View | null, load: Load<Counts>): CountsProps['further'] {
  return useMemo(() => (view && load.kind === 'ready' ? { counts: load.value, view } : null), [view, load]);
}

export function Clients(navigation: Navigation) {
  const { route, change } = navigation;
  const view = oneOf<View>(route.values['view'], viewNames);
  const devices = useDevices();
  const presences = usePresences(devices);
  const now = usePassTime();
  const { ssidCounts, deviceCounts } = useCounts(view, presences);
  const coarser = isCompared(route) ? coarserView(view) : null;
  const coarse = useCounts(coarser, presences);
  const ssidsFurther = useFurther(coarser, coarse.ssidCounts);
  const devicesFurther = useFurther(coarser, coarse.deviceCounts);
  const offline = devices.kind === 'ready' ? devices.value.filter((one) => one.wireless && !one.online).length : 0;
  const names = useMemo(() => new Map(devices.kind === 'ready' ? devices.value.map((one) => [one.mac, one.hostname]) : []), [devices]);
  const nameOf = useMemo(() => (mac: string) => names.get(mac) || mac, [names]);
  return (
    <>
      <div class="title">
        <h1>{t.clients.title}</h1>
        <Choice title={t.clients.view} name="view" values={viewNames} titles={viewTitles} value={view} onChange={(one) => change({ view: one, ...zoomText(null) })} />
      </div>
      {view !== '1m' && <p class="note">{t.clients.most}</p>}
      {offline > 0 && <p class="note" data-offline={offline}>{t.clients.offline(offline)}</p>}
      <div class="split charts">
        <section class="card">
          <h2>{t.clients.byNetwork}</h2>
          <Loaded load={ssidCounts}>
            {(counts) => <CountsChart title={t.clients.chartByNetwork} {...counts} nameOf={itself} view={view} chosen={idsIn(route.values['networks'])} onShow={(ids) => change({ networks: ids ? asText(ids) : '' })} further={ssidsFurther} navigation={navigation} />}
          </Loaded>
        </section>
        <section class="card">
          <h2>{t.clients.byDevice}</h2>
          <Loaded load={deviceCounts}>
            {(counts) => <CountsChart title={t.clients.chartByDevice} {...counts} nameOf={nameOf} view={view} chosen={idsIn(route.values['devices'])} onShow={(ids) => change({ devices: ids ? asText(ids) : '' })} further={devicesFurther} navigation={navigation} />}
          </Loaded>
        </section>
        {ssidCounts.kind === 'ready' && <Current title={t.clients.networksNow} columns={ssidColumns} rows={currentBySsid(ssidCounts.value)} />}
        {deviceCounts.kind === 'ready' && <Current title={t.clients.devicesNow} columns={deviceColumns} rows={currentByDevice(deviceCounts.value, nameOf, presences, now)} />}
      </div>
    </>
  );
}
