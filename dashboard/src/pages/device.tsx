// One device: what it is, how it is and why, what it moves and who is on it.

import type { ComponentChildren } from 'preact';
import { useMemo, useState } from 'preact/hooks';
import { formatDuration, formatNumber, formatPercent, formatRate, nothing } from '../format/format';
import { decodeDeviceCounts, decodeHealth, decodeTraffic, type Device, type NetworkReport } from '../messages/decode';
import { decodeNetworkReport, decodePeriods } from '../messages/decode_http';
import { Blank, DevicePicker, Figure, LevelBadge, Loaded, Name, Notifications, Stale, Waiting } from '../parts/basics';
import { type Column, Table } from '../parts/table';
import { type DeviceRow, deviceRows, limitText, sinceText } from '../state/health';
import { type Navigation, useAnswer, useDeviceList, useLive, usePassTime, usePresences, useProbe } from '../state/hooks';
import { offlineText, type Presence, presenceOf } from '../state/presence';
import { formatRoute } from '../state/route';
import type { Sorting } from '../state/sorting';
import { NoDevices } from './overview';
import { NoSuchDevice, OfflineNote, optionsOf, rowsOf, Spark } from './traffic';

const everything = {};

function Fact({ title, children }: { title: string; children: ComponentChildren }) {
  return <div><dt>{title}</dt><dd>{children}</dd></div>;
}

/** Why a device has its level, in words. */
function reasonOf(row: DeviceRow, now: number): string {
  if (row.level === 'offline') return row.trouble || offlineText(row.presence, now);
  if (!row.health) return 'nothing has been told of it yet';
  if (row.health.level === undefined) return 'no driver serves it: the worst of CPU, uptime and clients';
  return ['the probe’s own judgement', row.level === 'good' ? '' : sinceText(row.levels.own, now)].filter(Boolean).join(' ');
}

function Facts({ row, device, presence }: { row: DeviceRow; device: Device; presence: Presence }) {
  const now = usePassTime();
  const { health } = row;
  const isAway = !presence.isOnline;
  const cpuLevel = row.levels.cpu?.level ?? health?.actual_cpu.level ?? 1;
  return (
    <section class="card">
      <h2 class="hidden">What it is</h2>
      <dl class="facts">
        <Fact title="State"><LevelBadge level={row.level} /> <span class="sub">{reasonOf(row, now)}</span></Fact>
        <Fact title="Type">{device.type}</Fact>
        <Fact title="Model"><Name text={device.model || nothing} /></Fact>
        <Fact title="Firmware"><Name text={device.version || nothing} /></Fact>
        <Fact title="Address">{device.ip || nothing}</Fact>
        <Fact title="MAC"><span class="mac">{device.mac}</span></Fact>
        {health ? (
          <>
            <Fact title="CPU"><Stale isStale={isAway}><Figure value={health.actual_cpu.value} level={cpuLevel} limit={isAway ? '' : limitText('cpu', cpuLevel, row.levels.cpu, now)}>{health.actual_cpu.value < 0 ? nothing : formatPercent(health.actual_cpu.value)}</Figure></Stale></Fact>
            <Fact title="Uptime"><Stale isStale={isAway}>{formatDuration(health.uptime.value)}</Stale></Fact>
            {row.clients && <Fact title="Clients"><Stale isStale={isAway}>{formatNumber(row.clients.value)}</Stale></Fact>}
            {health.rogue_aps && <Fact title="Rogue APs heard"><Stale isStale={isAway}>{formatNumber(health.rogue_aps.value)}</Stale></Fact>}
            <Fact title="Notifications"><Stale isStale={isAway}><Notifications {...health.notification} /></Stale></Fact>
          </>
        ) : (
          <Fact title="Figures"><Waiting /></Fact>
        )}
      </dl>
    </section>
  );
}

type PortRow = ReturnType<typeof rowsOf>[number];

function Ports({ mac, presence }: { mac: string; presence: Presence }) {
  const traffic = useLive('TrafficMonitor', { interval: '1m', mac }, { interval: '1m' }, decodeTraffic);
  const [sorting, setSorting] = useState<Sorting>({ column: 'interface', direction: 'ascending' });
  const isAway = !presence.isOnline;
  const columns: Column<PortRow>[] = [
    { key: 'interface', title: 'Interface', value: (row) => row.name, cell: (row) => <a href={formatRoute({ page: 'traffic', values: { device: mac, interface: row.name } })}><Name text={row.name} isShort /></a> },
    { key: 'in', title: 'In', isNumber: true, value: (row) => row.input, cell: (row) => <Stale isStale={isAway}>{formatRate(row.input)}</Stale> },
    { key: 'out', title: 'Out', isNumber: true, value: (row) => row.output, cell: (row) => <Stale isStale={isAway}>{formatRate(row.output)}</Stale> },
    { key: 'peak', title: 'Peak', isNumber: true, value: (row) => row.peak, cell: (row) => formatRate(row.peak) },
    { key: 'course', title: 'Course', isNumber: true, value: (row) => row.peak, cell: (row) => <Spark data={row.data} top={row.peak ?? 0} presence={presence} /> },
  ];
  return (
    <section class="card" data-part="interfaces">
      <h2>Interfaces in the last 30 minutes</h2>
      <Loaded load={traffic}>
        {(all) => {
          const device = all.get(mac);
          const rows = device ? rowsOf(device, '1m', presence) : [];
          if (rows.length === 0) return <Blank title="No traffic">No interface of this device has moved anything.</Blank>;
          return <Table caption="Interfaces" columns={columns} rows={rows} keyOf={(row) => row.name} sorting={sorting} onSort={setSorting} />;
        }}
      </Loaded>
      <p class="note">Interfaces that are idle or down are not told, nor is a link’s speed.</p>
    </section>
  );
}

function Networks({ mac, presence }: { mac: string; presence: Presence }) {
  const counts = useLive('DevicesClientCountMonitor', { interval: '1m' }, { interval: '1m' }, decodeDeviceCounts);
  return (
    <section class="card" data-part="networks">
      <h2>Networks</h2>
      <Loaded load={counts}>
        {({ current }) => {
          const networks = [...(current.get(mac) ?? [])].sort((a, b) => b[1] - a[1]);
          if (networks.length === 0) return <Blank title="Nobody is connected here" />;
          return (
            <ul class="pairs">
              {networks.map(([ssid, count]) => <li key={ssid}><Name text={ssid} isShort /> <Stale isStale={!presence.isOnline}><data value={String(count)}>{formatNumber(count)}</data> {count === 1 ? 'client' : 'clients'}</Stale></li>)}
            </ul>
          );
        }}
      </Loaded>
    </section>
  );
}

type Rogue = NetworkReport['rogue_ap'][number];

const rogueColumns: Column<Rogue>[] = [
  { key: 'networks', title: 'Network', value: (row) => row.networks, cell: (row) => <><Name text={row.networks} isShort /><span class="sub">{row.mac}</span></> },
  { key: 'channel', title: 'Channel', value: (row) => row.channel, cell: (row) => <span class="together">{row.channel}</span> },
  { key: 'average_strength', title: 'Strength', isNumber: true, value: (row) => row.average_strength, cell: (row) => (row.average_strength === null ? nothing : `${formatNumber(row.average_strength)} dBm`) },
  { key: 'last_seen', title: 'Last heard', value: (row) => row.last_seen },
];

/** Those of the newest day's report: no message tells what is heard at this moment. */
function Neighbours({ mac }: { mac: string }) {
  const periods = useAnswer('reports/networks/periods', everything, decodePeriods);
  const day = periods.kind === 'ready' ? periods.value.daily[0] : undefined;
  const query = useMemo(() => (day ? { type: 'daily', period: day } : null), [day]);
  const report = useAnswer('reports/networks', query, decodeNetworkReport);
  const [sorting, setSorting] = useState<Sorting>({ column: 'average_strength', direction: 'descending' });
  if (!day || report.kind !== 'ready') return null;
  const heard = report.value.rogue_ap.filter((one) => mac in one.seen_by);
  return (
    <section class="card" data-part="neighbours">
      <h2>Rogue access points that it heard on {day}</h2>
      {heard.length === 0 ? <Blank title="None was heard" /> : <Table caption="Rogue access points" columns={rogueColumns} rows={heard} keyOf={(row) => `${row.mac} ${row.networks} ${row.channel}`} sorting={sorting} onSort={setSorting} />}
    </section>
  );
}

export function DevicePage({ route, change }: Navigation) {
  const list = useDeviceList();
  const devices = useMemo(() => (list.kind === 'ready' ? ({ kind: 'ready', value: list.value.devices } as const) : list), [list]);
  const presences = usePresences(devices);
  const health = useLive('HealthMonitor', everything, everything, decodeHealth);
  const held = useProbe((state) => state.levels);
  const mac = route.values['device'] ?? '';
  return (
    <Loaded load={list}>
      {({ devices: all, polls }) => {
        const device = all.find((one) => one.mac === mac);
        const row = deviceRows(device ? [device] : [], health.kind === 'ready' ? health.value.filter((one) => one.device === mac) : [], polls.filter((one) => one.mac === mac), held)[0];
        const presence = presences.get(mac) ?? presenceOf(device);
        return (
          <>
            <div class="title">
              <h1>{device ? <Name text={device.hostname || device.mac} /> : 'Device'}</h1>
              {all.length > 0 && (
                <div class="controls">
                  {device && <a href={formatRoute({ page: 'traffic', values: { device: mac } })}>Traffic</a>}
                  <DevicePicker value={mac} options={device ? optionsOf(all) : [{ value: '', title: 'Choose a device' }, ...optionsOf(all)]} onChange={(one) => change({ device: one })} />
                </div>
              )}
            </div>
            {device && row ? (
              <>
                <OfflineNote presence={presence} />
                <Facts row={row} device={device} presence={presence} />
                <Ports mac={mac} presence={presence} />
                {device.wireless && <Networks mac={mac} presence={presence} />}
                {device.wireless && <Neighbours mac={mac} />}
              </>
            ) : all.length === 0 ? <NoDevices /> : <NoSuchDevice mac={mac} />}
          </>
        );
      }}
    </Loaded>
  );
}
