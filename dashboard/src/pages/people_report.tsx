// Who was in the wireless network, on a day or in a week: clients, or guests.

import { type Cell, csvName, rounded, toCsv } from '../format/csv';
import { zoneSlug } from '../format/zone';
import { formatBytes, formatDuration, formatNumber, formatPercent } from '../format/format';
import type { ClientReport, ClientRow } from '../messages/decode';
import { decodeClientReport } from '../messages/decode_http';
import { Blank, Moment, Name, SearchBox } from '../parts/basics';
import { download } from '../parts/download';
import { ReportPage } from '../parts/period';
import { type Column, Table } from '../parts/table';
import { type Navigation, useProbe } from '../state/hooks';
import { formatSorting, parseSorting, search, sortRows } from '../state/sorting';
import { texts as t } from '../texts';

type Kind = 'clients' | 'guests';
type Sent = keyof ClientRow;

const columns: Column<ClientRow>[] = [
  { key: 'hostname', title: t.people.name, value: (row) => row.hostname, cell: (row) => <><Name text={row.hostname || row.mac} />{row.hostname && row.hostname !== row.mac && <span class="sub">{row.mac}</span>}</> },
  { key: 'username', title: t.people.user, value: (row) => row.username, cell: (row) => <Name text={row.username} /> },
  { key: 'network', title: t.people.network, value: (row) => row.network, cell: (row) => <Name text={row.network} /> },
  { key: 'type_frequency', title: t.people.kind, value: (row) => row.type_frequency },
  { key: 'data_rate', title: t.people.rate, isNumber: true, value: (row) => row.data_rate, cell: (row) => `${formatNumber(row.data_rate)} Mbit/s` },
  { key: 'upload', title: t.people.upload, isNumber: true, value: (row) => row.upload, cell: (row) => formatBytes(row.upload) },
  { key: 'download', title: t.people.download, isNumber: true, value: (row) => row.download, cell: (row) => formatBytes(row.download) },
  { key: 'total', title: t.people.total, isNumber: true, value: (row) => row.total, cell: (row) => formatBytes(row.total) },
  { key: 'first_seen', title: t.people.firstSeen, value: (row) => row.first_seen, cell: (row) => <Moment text={row.first_seen} /> },
  { key: 'last_seen', title: t.people.lastSeen, value: (row) => row.last_seen, cell: (row) => <Moment text={row.last_seen} /> },
  { key: 'time_online', title: t.people.timeOnline, isNumber: true, value: (row) => row.time_online, cell: (row) => formatDuration(row.time_online) },
  { key: 'online_time', title: t.people.online, isNumber: true, value: (row) => row.online_time, cell: (row) => formatPercent(row.online_time, 1) },
];

/** Columns of the file, with their units; times are the probe's, whose zone the file's name tells. */
const sent: [string, Sent][] = [
  ['mac', 'mac'], ['hostname', 'hostname'], ['username', 'username'], ['network', 'network'], ['type_frequency', 'type_frequency'],
  ['data_rate_mbit_per_s', 'data_rate'], ['upload_bytes', 'upload'], ['download_bytes', 'download'], ['total_bytes', 'total'],
  ['first_seen', 'first_seen'], ['last_seen', 'last_seen'], ['time_online_seconds', 'time_online'], ['online_percent', 'online_time'],
];

function asCsv(rows: ClientRow[]): string {
  const cell = (row: ClientRow, member: Sent): Cell => (member === 'online_time' ? rounded(row[member], 1) : row[member]);
  return toCsv(sent.map(([head]) => head), rows.map((row) => sent.map(([, member]) => cell(row, member))));
}

/** A guest has a name of his own; a client's would be an empty column. */
const columnsFor = (kind: Kind): Column<ClientRow>[] => (kind === 'guests' ? columns : columns.filter((one) => one.key !== 'username'));

function Report({ kind, report, period, navigation }: { kind: Kind; report: ClientReport; period: string; navigation: Navigation }) {
  const { route, change } = navigation;
  const words = t.people.kinds[kind];
  const all = kind === 'guests' ? report.wireless_guests : report.wireless_clients;
  const shown = columnsFor(kind);
  const sorting = parseSorting(route.values['sort'], shown.map((one) => one.key), { column: 'total', direction: 'descending' });
  const wanted = route.values['search'] ?? '';
  const found = search(all, wanted, (row) => [row.hostname, row.mac, row.username, row.network, row.type_frequency]);
  const column = shown.find((one) => one.key === sorting.column);
  const sorted = column ? sortRows(found, column.value, sorting.direction) : found;
  const zone = useProbe((state) => state.zone);
  const save = (): void => download(csvName(kind, period, zoneSlug(zone)), 'text/csv', asCsv(sorted));
  return (
    <section class="card">
      <div class="card-head">
        <h2>
          <data value={String(found.length)}>{formatNumber(found.length)}</data> {found.length === 1 ? words.one : words.many}
          {found.length !== all.length && <span class="note"> {t.people.of(formatNumber(all.length))}</span>}
        </h2>
        <div class="controls">
          <SearchBox title={words.search} value={wanted} onInput={(text) => change({ search: text }, true)} />
          <button type="button" class="button" onClick={save} disabled={sorted.length === 0}>{t.people.save}</button>
        </div>
      </div>
      {sorted.length === 0 ? (
        <Blank title={all.length === 0 ? words.none : t.people.nobody} />
      ) : (
        <Table caption={words.caption} columns={shown} rows={sorted} keyOf={(row) => `${row.mac} ${row.network} ${row.username}`} sorting={sorting} onSort={(sort) => change({ sort: formatSorting(sort) })} />
      )}
    </section>
  );
}

export function PeopleReport({ kind, ...navigation }: Navigation & { kind: Kind }) {
  return (
    <ReportPage title={t.people.kinds[kind].title} report="clients" decode={decodeClientReport} navigation={navigation}>
      {(report, period) => <Report kind={kind} report={report} period={period} navigation={navigation} />}
    </ReportPage>
  );
}
