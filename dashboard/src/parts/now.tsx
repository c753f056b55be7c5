// What is told of this moment: notifications, and the clients who are here.

import { useState } from 'preact/hooks';
import { formatBytes, formatList, formatNumber, formatSince, nothing } from '../format/format';
import type { ClientNow, Notification } from '../messages/decode_now';
import { severityTitles } from '../state/notifications';
import { formatRoute } from '../state/route';
import type { Sorting } from '../state/sorting';
import { Name } from './basics';
import { AlertIcon, InfoIcon, WarningIcon } from './icons';
import { type Column, Table } from './table';
import { texts as t } from '../texts';

const tones = { alert: 'bad', warning: 'fair', info: 'unknown' } as const;

export function SeverityBadge({ severity }: { severity: Notification['severity'] }) {
  const icon = { alert: <AlertIcon />, warning: <WarningIcon />, info: <InfoIcon /> }[severity];
  return <span class={`badge ${tones[severity]}`}>{icon}{severityTitles[severity]}</span>;
}

/** "with text, since 11:04" */
export function NotificationLine({ one, now }: { one: Notification; now: number }) {
  return (
    <li data-severity={one.severity}>
      <SeverityBadge severity={one.severity} /> <bdi>{one.text}</bdi>{' '}
      <span class="sub since">{t.now.noted(formatSince(one.since, now), one.until === null ? '' : formatSince(one.until, now))}</span>
    </li>
  );
}

/** "5 GHz, channel 36" */
export const airText = (band: string | null, channel: number | null): string =>
  formatList([band?.replace('GHz', ' GHz') ?? '', channel === null ? '' : t.now.channel(channel)].filter(Boolean));

function columnsAt(now: number, withDevice: boolean): Column<ClientNow>[] {
  const columns: Column<ClientNow>[] = [
    {
      key: 'name',
      title: t.now.client,
      value: (row) => row.hostname || row.mac,
      cell: (row) => <><Name text={row.hostname || row.mac} isShort /><span class="sub">{row.user && <bdi>{row.user}</bdi>}{row.user && row.hostname && ' · '}{row.hostname && row.mac}</span></>,
    },
    { key: 'device', title: t.now.device, value: (row) => row.device_name || row.device, cell: (row) => <a href={formatRoute({ page: 'device', values: { device: row.device } })}><Name text={row.device_name || row.device} isShort /></a> },
    { key: 'ssid', title: t.now.network, value: (row) => row.ssid, cell: (row) => <><Name text={row.ssid} isShort /><span class="sub">{airText(row.band, row.channel)}</span></> },
    { key: 'since', title: t.now.since, value: (row) => row.since, cell: (row) => <span class="together">{formatSince(row.since, now)}{row.or_earlier && <span class="sub">{t.now.orBefore}</span>}</span> },
    { key: 'signal', title: t.now.signal, isNumber: true, value: (row) => row.signal, cell: (row) => (row.signal === null ? nothing : `${formatNumber(row.signal)} dBm`) },
    { key: 'sent', title: t.now.sent, isNumber: true, value: (row) => row.sent, cell: (row) => formatBytes(row.sent) },
    { key: 'received', title: t.now.received, isNumber: true, value: (row) => row.received, cell: (row) => formatBytes(row.received) },
  ];
  return withDevice ? columns : columns.filter(({ key }) => key !== 'device');
}

export const clientColumns = columnsAt(0, true).map(({ key }) => key);

interface ClientTableProps {
  rows: ClientNow[];
  now: number;
  withDevice: boolean;
  sorting: Sorting;
  onSort: (sorting: Sorting) => void;
}

export function ClientTable({ rows, now, withDevice, sorting, onSort }: ClientTableProps) {
  return <Table caption={t.now.caption} columns={columnsAt(now, withDevice)} rows={rows} keyOf={(row) => row.mac} sorting={sorting} onSort={onSort} />;
}

const mostLines = 12;

export function NotificationList({ notifications, now }: { notifications: Notification[]; now: number }) {
  const [isAll, setAll] = useState(false);
  const shown = isAll ? notifications : notifications.slice(0, mostLines);
  return (
    <>
      <ul class="notifications">{shown.map((one) => <NotificationLine key={`${one.severity} ${one.since} ${one.text}`} one={one} now={now} />)}</ul>
      {shown.length < notifications.length && <button type="button" class="button" onClick={() => setAll(true)}>{t.now.all(notifications.length)}</button>}
    </>
  );
}
