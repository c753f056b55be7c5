// Every device with how it is, the worst first.

import { useMemo } from 'preact/hooks';
import { formatDuration, formatNumber, formatPercent, nothing } from '../format/format';
import { decodeHealth } from '../messages/decode';
import { Blank, Figure, LevelBadge, Loaded, Name, Notifications } from '../parts/basics';
import { WarningIcon } from '../parts/icons';
import { JournalNote } from '../parts/journal';
import { type Column, Table } from '../parts/table';
import { type DeviceRow, deviceRows, levels } from '../state/health';
import { type Navigation, useDeviceList, useLive } from '../state/hooks';
import { formatRoute } from '../state/route';
import { formatSorting, parseSorting, search } from '../state/sorting';

const everything = {};

function notificationCount({ health }: DeviceRow): number | null {
  if (!health) return null;
  const { alert, warning, info } = health.notification;
  return alert * 1_000_000 + warning * 1000 + info;
}

const columns: Column<DeviceRow>[] = [
  {
    key: 'device',
    title: 'Device',
    value: (row) => row.name,
    cell: (row) => (
      <>
        {row.mac ? <a href={formatRoute({ page: 'traffic', values: { device: row.mac } })}><Name text={row.name || row.mac} /></a> : <Name text={row.name} />}
        <span class="sub">{[row.type, row.model].filter(Boolean).join(' · ')}</span>
        {row.trouble && <span class="sub trouble" title={row.trouble}><WarningIcon /> {row.trouble}</span>}
      </>
    ),
  },
  { key: 'state', title: 'State', value: (row) => levels.indexOf(row.level), cell: (row) => <LevelBadge level={row.level} /> },
  {
    key: 'cpu',
    title: 'CPU',
    isNumber: true,
    value: ({ health }) => (health && health.actual_cpu.value >= 0 ? health.actual_cpu.value : null),
    cell: ({ health }) =>
      health ? (
        <Figure value={health.actual_cpu.value} level={health.actual_cpu.level}>
          {health.actual_cpu.value < 0 ? nothing : formatPercent(health.actual_cpu.value)}
        </Figure>
      ) : nothing,
  },
  {
    key: 'uptime',
    title: 'Uptime',
    isNumber: true,
    value: ({ health }) => (health && health.uptime.value >= 0 ? health.uptime.value : null),
    cell: ({ health }) =>
      health ? <Figure value={health.uptime.value} level={health.uptime.level}>{formatDuration(health.uptime.value)}</Figure> : nothing,
  },
  {
    key: 'clients',
    title: 'Clients',
    isNumber: true,
    value: ({ clients }) => clients?.value ?? null,
    cell: ({ clients }) =>
      clients ? (
        <>
          <Figure value={clients.value} level={clients.level}>{formatNumber(clients.value)}</Figure>
          {!clients.isListed && <span class="sub" title="The device tells how many clients it has, not which: they are in no list and no history.">number only</span>}
        </>
      ) : nothing,
  },
  {
    key: 'rogues',
    title: 'Rogue APs',
    isNumber: true,
    value: ({ health }) => health?.rogue_aps?.value ?? null,
    cell: ({ health }) =>
      health?.rogue_aps ? <Figure value={health.rogue_aps.value} level={health.rogue_aps.level}>{formatNumber(health.rogue_aps.value)}</Figure> : nothing,
  },
  {
    key: 'notifications',
    title: 'Notifications',
    isNumber: true,
    value: notificationCount,
    cell: ({ health }) => (health ? <Notifications {...health.notification} /> : nothing),
  },
  { key: 'mac', title: 'MAC', value: (row) => row.mac, cell: (row) => <span class="mac">{row.mac}</span> },
];

function Tiles({ rows }: { rows: DeviceRow[] }) {
  const sum = (value: (row: DeviceRow) => number | undefined): number => rows.reduce((all, row) => all + (value(row) ?? 0), 0);
  const poor = rows.filter((row) => row.level === 'bad' || row.level === 'offline').length;
  const fair = rows.filter((row) => row.level === 'fair').length;
  const tiles = [
    { key: 'devices', title: 'Devices', value: rows.length, more: `${rows.filter((row) => row.level !== 'offline').length} online` },
    { key: 'poor', title: 'Need attention', value: poor, more: fair > 0 ? `and ${fair} fair` : '', tone: poor > 0 ? 'bad' : 'good' },
    { key: 'clients', title: 'Wireless clients', value: sum((row) => row.clients?.value), more: 'connected' },
    { key: 'rogues', title: 'Rogue access points', value: sum((row) => row.health?.rogue_aps?.value), more: 'sightings' },
    { key: 'alerts', title: 'Open alerts', value: sum((row) => row.health?.notification.alert), more: `${sum((row) => row.health?.notification.warning)} warnings` },
  ];
  return (
    <dl class="tiles">
      {tiles.map(({ key, title, value, more, tone }) => (
        <div key={key} class="tile">
          <dt>{title}</dt>
          <dd><data value={String(value)} class={tone} data-tile={key}>{formatNumber(value)}</data> <small>{more}</small></dd>
        </div>
      ))}
    </dl>
  );
}

export function Overview({ route, change }: Navigation) {
  const devices = useDeviceList();
  const health = useLive('HealthMonitor', everything, everything, decodeHealth);
  const known = health.kind === 'ready' ? health.value : [];
  const rows = useMemo(
    () => (devices.kind === 'ready' ? deviceRows(devices.value.devices, known, devices.value.polls) : deviceRows([], known)),
    [devices, health],
  );
  const wanted = route.values['search'] ?? '';
  const found = search(rows, wanted, (row) => [row.name, row.mac, row.type, row.model, row.ip]);
  const sorting = route.values['sort'] ? parseSorting(route.values['sort'], columns.map((one) => one.key), { column: 'state', direction: 'ascending' }) : null;
  return (
    <>
      <div class="title">
        <h1>Overview</h1>
        <div class="controls">
          <label>
            <span class="hidden">Search devices</span>
            <input type="search" placeholder="Search devices" value={wanted} onInput={(event) => change({ search: event.currentTarget.value }, true)} />
          </label>
          {sorting && <button type="button" class="button" onClick={() => change({ sort: '' })}>Worst first</button>}
        </div>
      </div>
      <Loaded load={devices}>
        {() => (
          <>
            <Tiles rows={rows} />
            <JournalNote />
            <section class="card">
              <h2 class="hidden">Devices</h2>
              {rows.length === 0 ? (
                <Blank title="No devices">The probe knows of no device. Its configuration names the sources.</Blank>
              ) : (
                <Table
                  caption="Devices, the worst first unless sorted otherwise"
                  columns={columns}
                  rows={found}
                  keyOf={(row) => row.mac || row.ip}
                  sorting={sorting}
                  onSort={(sort) => change({ sort: formatSorting(sort) })}
                />
              )}
              {rows.length > 0 && found.length === 0 && <Blank title="No device matches">Nothing has all of these words in its name, address or model.</Blank>}
            </section>
          </>
        )}
      </Loaded>
    </>
  );
}
