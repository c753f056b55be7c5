// A day or a week of the wireless network: whose access points were heard, how ours and their networks were used.

import { Fragment } from 'preact';
import { useState } from 'preact/hooks';
import { type Cell, csvName, rounded, toCsv } from '../format/csv';
import { zoneSlug } from '../format/zone';
import { formatDuration, formatMegabits, formatNumber } from '../format/format';
import type { Load, NetworkReport } from '../messages/decode';
import { decodeNetworkReport } from '../messages/decode_http';
import { Blank, Moment, Name, SearchBox } from '../parts/basics';
import { download } from '../parts/download';
import { ReportPage } from '../parts/period';
import { type Column, Table } from '../parts/table';
import { type Navigation, useProbe } from '../state/hooks';
import { formatRoute } from '../state/route';
import { search, type Sorting } from '../state/sorting';
import { texts as t } from '../texts';

type Rogue = NetworkReport['rogue_ap'][number];
type Network = NetworkReport['wireless_network'][number];
interface Loaded {
  client_count: Load;
  traffic: Load;
}
type Point = NetworkReport['wireless_access_points'][string] & { mac: string };
type Band = Loaded & { band: string };

/** As the file has them, in every language alike. */
const seenBy = (row: Rogue): string => Object.values(row.seen_by).join(', ');

/** Each name by itself: none turns its neighbours around. */
function SeenBy({ row }: { row: Rogue }) {
  const names = Object.entries(row.seen_by);
  if (names.length === 0) return <>–</>;
  const isLast = (i: number): boolean => i + 1 === names.length;
  return <span>{names.map(([mac, name], i) => <Fragment key={mac}><span class="together"><a href={formatRoute({ page: 'device', values: { device: mac } })}><Name text={name || mac} /></a>{!isLast(i) && ','}</span> </Fragment>)}</span>;
}

const rogueColumns: Column<Rogue>[] = [
  { key: 'networks', title: t.report.network, value: (row) => row.networks, cell: (row) => <><Name text={row.networks} /><span class="sub">{row.mac}</span></> },
  { key: 'channel', title: t.report.channel, value: (row) => row.channel, cell: (row) => <span class="together">{row.channel}</span> },
  { key: 'average_strength', title: t.report.strength, isNumber: true, value: (row) => row.average_strength, cell: (row) => (row.average_strength === null ? '–' : `${formatNumber(row.average_strength, 0)} dBm`) },
  { key: 'first_seen', title: t.report.firstSeen, value: (row) => row.first_seen, cell: (row) => <Moment text={row.first_seen} /> },
  { key: 'last_seen', title: t.report.lastSeen, value: (row) => row.last_seen, cell: (row) => <Moment text={row.last_seen} /> },
  { key: 'total_time', title: t.report.heardFor, isNumber: true, value: (row) => row.total_time, cell: (row) => formatDuration(row.total_time) },
  { key: 'seen_by', title: t.report.heardBy, value: seenBy, cell: (row) => <SeenBy row={row} /> },
];

function loadColumns<Row extends Loaded>(): Column<Row>[] {
  const column = (member: keyof Loaded, part: keyof Load, title: string, format: (value: number | null) => string): Column<Row> => ({
    key: `${member}.${part}`,
    title,
    isNumber: true,
    value: (row) => row[member][part],
    cell: (row) => format(row[member][part]),
  });
  return [
    column('client_count', 'peak', t.report.clientsPeak, (value) => formatNumber(value)),
    column('client_count', 'average', t.report.clientsMean, (value) => formatNumber(value, 1)),
    column('traffic', 'peak', t.report.trafficPeak, formatMegabits),
    column('traffic', 'average', t.report.trafficMean, formatMegabits),
  ];
}

const pointColumns: Column<Point>[] = [
  { key: 'apname', title: t.report.point, value: (row) => row.apname, cell: (row) => <><a href={formatRoute({ page: 'device', values: { device: row.mac } })}><Name text={row.apname || row.mac} /></a><span class="sub">{[row.model, row.version].filter(Boolean).join(' · ')}</span></> },
  ...loadColumns<Point>(),
];

const networkColumns: Column<Network>[] = [
  { key: 'name', title: t.report.network, value: (row) => row.name, cell: (row) => <Name text={row.name} /> },
  { key: 'guest', title: t.report.guests, value: (row) => (row.guest ? t.report.guest : ''), cell: (row) => (row.guest ? <span class="badge unknown">{t.report.guest}</span> : '') },
  { key: 'security', title: t.report.security, value: (row) => row.security },
  ...loadColumns<Network>(),
];

const bandColumns: Column<Band>[] = [{ key: 'band', title: t.report.band, value: (row) => row.band }, ...loadColumns<Band>()];

interface SectionProps<Row> {
  id: string;
  title: string;
  period: string;
  columns: Column<Row>[];
  rows: Row[];
  usual: Sorting;
  keyOf: (row: Row) => string;
  nothing: string;
  /** Only rows that hold this are shown; the file has all. */
  wanted: string;
  /** Columns of the file that the table has below a name. */
  further?: [string, (row: Row) => Cell][];
}

const units: Record<string, string> = {
  average_strength: 'strength_dbm', total_time: 'heard_for_seconds', 'client_count.peak': 'clients_peak', 'client_count.average': 'clients_mean',
  'traffic.peak': 'traffic_peak_mbit_per_s', 'traffic.average': 'traffic_mean_mbit_per_s',
};
/** Of the report's megabits of 1,048,576 bits those of everybody else are made. */
const decimalMegabits = 1.048576;

function csvValue(key: string, value: Cell): Cell {
  if (typeof value !== 'number') return value;
  return rounded(key.startsWith('traffic.') ? value * decimalMegabits : value, key.startsWith('traffic.') ? 3 : 1);
}

export function asCsv<Row>(columns: Column<Row>[], rows: Row[], keyOf: (row: Row) => string, further: [string, (row: Row) => Cell][] = []): string {
  const heads = ['id', ...further.map(([head]) => head), ...columns.map((one) => units[one.key] ?? one.key)];
  return toCsv(heads, rows.map((row) => [keyOf(row), ...further.map(([, value]) => value(row)), ...columns.map((one) => csvValue(one.key, one.value(row)))]));
}

function Section<Row>({ id, title, period, columns, rows, usual, keyOf, nothing, wanted, further }: SectionProps<Row>) {
  const zone = useProbe((state) => state.zone);
  const [sorting, setSorting] = useState(usual);
  const found = search(rows, wanted, (row) => [keyOf(row), ...columns.map((column) => String(column.value(row) ?? ''))]);
  return (
    <section class="card" data-section={id}>
      <div class="card-head">
        <h2>{title} <span class="note">({found.length === rows.length ? formatNumber(rows.length) : t.report.found(formatNumber(found.length), formatNumber(rows.length))})</span></h2>
        <button type="button" class="button" disabled={rows.length === 0} onClick={() => download(csvName(id, period, zoneSlug(zone)), 'text/csv', asCsv(columns, rows, keyOf, further))}>
          {t.report.save}<span class="hidden"> {title}</span>
        </button>
      </div>
      {rows.length === 0 ? <Blank title={nothing} /> : found.length === 0 ? <Blank title={t.report.noMatch} /> : <Table caption={title} columns={columns} rows={found} keyOf={keyOf} sorting={sorting} onSort={setSorting} />}
    </section>
  );
}

function Sections({ report, period, navigation }: { report: NetworkReport; period: string; navigation: Navigation }) {
  const wanted = navigation.route.values['search'] ?? '';
  const points = Object.entries(report.wireless_access_points).map(([mac, point]): Point => ({ ...point, mac }));
  const bands = Object.entries(report.spectrum_usage).map(([band, use]): Band => ({ ...use, band }));
  const byTraffic: Sorting = { column: 'traffic.peak', direction: 'descending' };
  return (
    <>
      <div class="controls">
        <SearchBox title={t.report.search} value={wanted} onInput={(text) => navigation.change({ search: text }, true)} />
      </div>
      <div class="split wide">
        <Section wanted={wanted} id="networks" title={t.report.networks} period={period} columns={networkColumns} rows={report.wireless_network} usual={byTraffic} keyOf={(row) => `${row.name} ${row.security} ${row.guest ? 'guest' : ''}`} nothing={t.report.noNetwork} />
        <Section wanted={wanted} id="spectrum" title={t.report.spectrum} period={period} columns={bandColumns} rows={bands} usual={{ column: 'band', direction: 'ascending' }} keyOf={(row) => row.band} nothing={t.report.noRadio} />
      </div>
      <Section wanted={wanted} id="access-points" title={t.report.points} period={period} columns={pointColumns} rows={points} usual={byTraffic} keyOf={(row) => row.mac} further={[['model', (row) => row.model], ['version', (row) => row.version]]} nothing={t.report.noPoint} />
      <Section wanted={wanted} id="rogue-access-points" title={t.report.rogues} period={period} columns={rogueColumns} rows={report.rogue_ap} usual={{ column: 'average_strength', direction: 'descending' }} keyOf={(row) => row.mac} nothing={t.report.noRogue} />
    </>
  );
}

export function NetworkReportPage(navigation: Navigation) {
  return (
    <ReportPage title={t.report.title} report="networks" decode={decodeNetworkReport} navigation={navigation}>
      {(report, period) => <Sections report={report} period={period} navigation={navigation} />}
    </ReportPage>
  );
}
