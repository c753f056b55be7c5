// One device: what it is, how it is and why, what it moves and who is on it.

import type { ComponentChildren } from 'preact';
import { useMemo, useState } from 'preact/hooks';
import { formatDuration, formatNumber, formatPercent, formatPeriod, formatRate, nothing } from '../format/format';
import { decodeHealth, decodeTraffic, type Device, type NetworkReport } from '../messages/decode';
import { decodeNetworkReport, decodePeriods } from '../messages/decode_http';
import { decodeClientsNow, decodeNeighbours, decodeNotifications, decodePorts, decodeRadios, type Neighbour, type Port } from '../messages/decode_now';
import type { Poll } from '../messages/generated/http';
import { Blank, DevicePicker, Figure, LevelBadge, Loaded, Moment, Name, Notifications, Stale, Waiting } from '../parts/basics';
import { airText, ClientTable, NotificationList } from '../parts/now';
import { type Column, Table } from '../parts/table';
import { type DeviceRow, deviceRows, limitText, seenText, staleFor } from '../state/health';
import { type Navigation, useAnswer, useDeviceList, useLive, usePassTime, usePresences, useProbe } from '../state/hooks';
import { inOrder } from '../state/notifications';
import { offlineText, type Presence, presenceOf } from '../state/presence';
import { formatRoute } from '../state/route';
import { type Sorting, sortRows } from '../state/sorting';
import { NoDevices } from './overview';
import { NoSuchDevice, OfflineNote, optionsOf, rowsOf, Spark } from './traffic';
import { texts as t } from '../texts';

const everything = {};
/** Beside each pass, for the time in which none comes. */
const everyMs = 30_000;

function Fact({ title, children }: { title: string; children: ComponentChildren }) {
  return <div><dt>{title}</dt><dd>{children}</dd></div>;
}

/** Why a device has its level, in words. */
function reasonOf(row: DeviceRow, now: number): string {
  if (row.level === 'offline') return row.trouble || offlineText(row.presence, now);
  if (!row.health) return t.device.untold;
  if (row.health.level === undefined) return t.device.noDriver;
  return [t.device.judged, row.level === 'good' ? '' : seenText(row.levels.own, now)].filter(Boolean).join(' ');
}

function Facts({ row, device, presence }: { row: DeviceRow; device: Device; presence: Presence }) {
  const now = usePassTime();
  const { health } = row;
  const isAway = !presence.isOnline;
  const cpuLevel = row.levels.cpu?.level ?? health?.actual_cpu.level ?? 1;
  return (
    <section class="card">
      <h2 class="hidden">{t.device.what}</h2>
      <dl class="facts">
        <Fact title={t.device.state}><LevelBadge level={row.level} /> <span class="sub">{reasonOf(row, now)}</span></Fact>
        <Fact title={t.device.type}>{device.type}</Fact>
        <Fact title={t.device.model}><Name text={device.model || nothing} /></Fact>
        <Fact title={t.device.firmware}><Name text={device.version || nothing} /></Fact>
        <Fact title={t.device.address}>{device.ip || nothing}</Fact>
        <Fact title={t.device.mac}><span class="mac">{device.mac}</span></Fact>
        {health ? (
          <>
            <Fact title={t.device.cpu}><Stale isStale={isAway}><Figure value={health.actual_cpu.value} level={cpuLevel} limit={isAway ? '' : limitText('cpu', cpuLevel, row.levels.cpu, now)}>{health.actual_cpu.value < 0 ? nothing : formatPercent(health.actual_cpu.value)}</Figure></Stale></Fact>
            <Fact title={t.device.uptime}><Stale isStale={isAway}>{formatDuration(health.uptime.value)}</Stale></Fact>
            {row.clients && <Fact title={t.device.clients}><Stale isStale={isAway}>{formatNumber(row.clients.value)}</Stale></Fact>}
            {health.rogue_aps && <Fact title={t.device.rogues}><Stale isStale={isAway}>{formatNumber(health.rogue_aps.value)}</Stale></Fact>}
            <Fact title={t.device.notifications}><Stale isStale={isAway}><Notifications {...health.notification} /></Stale></Fact>
          </>
        ) : (
          <Fact title={t.device.figures}><Waiting /></Fact>
        )}
      </dl>
    </section>
  );
}

/** What the device last told of something is old: it answers, but this no longer. */
function StaleNote({ poll, tables }: { poll: Poll | undefined; tables: Parameters<typeof staleFor>[1] }) {
  const age = staleFor(poll, tables);
  return age > 0 ? <p class="note" data-stale={age}>{t.device.stale(formatDuration(age))}</p> : null;
}

interface PartProps {
  mac: string;
  presence: Presence;
  /** Of a device that answers SNMP. */
  poll: Poll | undefined;
}

interface PortRow extends Port {
  /** Of the last 30 minutes; null: it has moved nothing. */
  course: ReturnType<typeof rowsOf>[number] | null;
}

const stateTitles: Record<Port['state'], string> = t.device.states;

/** Those that are up first, then by name. */
const stateRank = (state: Port['state']): number => Object.keys(stateTitles).indexOf(state);

const bits = 8;

const byName = (ports: Port[]): Port[] => sortRows(ports, (port) => port.interface, 'ascending');

function portColumns(mac: string, presence: Presence): Column<PortRow>[] {
  const isAway = !presence.isOnline;
  const rate = (value: number | null | undefined) => <Stale isStale={isAway}>{formatRate(value)}</Stale>;
  const nameOf = (row: PortRow) => <Name text={row.interface} isShort />;
  return [
    { key: 'interface', title: t.device.interface, value: (row) => row.interface, cell: (row) => (row.course ? <a href={formatRoute({ page: 'traffic', values: { device: mac, interface: row.interface } })}>{nameOf(row)}</a> : nameOf(row)) },
    { key: 'state', title: t.device.state, value: (row) => stateRank(row.state), cell: (row) => <Stale isStale={isAway}><span class={row.state === 'up' ? '' : 'down'}>{stateTitles[row.state]}</span>{row.state === 'up' && !row.course && <span class="sub">{row.received === null ? t.device.notCounted : t.device.idle}</span>}</Stale> },
    { key: 'speed', title: t.device.speed, isNumber: true, value: (row) => row.speed, cell: (row) => (row.speed === null ? nothing : formatRate(row.speed / bits)) },
    { key: 'in', title: t.device.in, isNumber: true, value: (row) => row.course?.input ?? row.input, cell: (row) => rate(row.course?.input ?? row.input) },
    { key: 'out', title: t.device.out, isNumber: true, value: (row) => row.course?.output ?? row.output, cell: (row) => rate(row.course?.output ?? row.output) },
    { key: 'peak', title: t.device.peak, isNumber: true, value: (row) => row.course?.peak ?? null, cell: (row) => formatRate(row.course?.peak) },
    { key: 'course', title: t.device.course, isNumber: true, value: (row) => row.course?.peak ?? null, cell: (row) => (row.course ? <Spark data={row.course.data} top={row.course.peak ?? 0} presence={presence} /> : nothing) },
  ];
}

function Ports({ mac, presence, poll }: PartProps) {
  const query = useMemo(() => ({ mac }), [mac]);
  const ports = useAnswer('ports', query, decodePorts, everyMs, true);
  const traffic = useLive('TrafficMonitor', { interval: '1m', mac }, { interval: '1m', mac }, decodeTraffic);
  const [sorting, setSorting] = useState<Sorting>({ column: 'state', direction: 'ascending' });
  const device = traffic.kind === 'ready' ? traffic.value.get(mac) : undefined;
  const courses = useMemo(() => new Map((device ? rowsOf(device, '1m', presence) : []).map((row) => [row.name, row])), [device, presence]);
  return (
    <section class="card" data-part="interfaces">
      <h2>{t.device.interfaces}</h2>
      <StaleNote poll={poll} tables={['interfaces']} />
      <Loaded load={ports}>
        {(all) => {
          if (all.length === 0) return <Blank title={t.device.noInterfaces}>{t.device.tellsNone}</Blank>;
          const rows = byName(all).map((port) => ({ ...port, course: courses.get(port.interface) ?? null }));
          return <Table caption={t.device.interfaces} columns={portColumns(mac, presence)} rows={rows} keyOf={(row) => row.name} sorting={sorting} onSort={setSorting} />;
        }}
      </Loaded>
      <p class="note">{t.device.peakOf}</p>
    </section>
  );
}

function Radios({ mac, presence, poll }: PartProps) {
  const query = useMemo(() => ({ mac }), [mac]);
  const radios = useAnswer('radios', query, decodeRadios, everyMs, true);
  return (
    <section class="card" data-part="networks">
      <h2>{t.device.radios}</h2>
      <StaleNote poll={poll} tables={['radios', 'ssids']} />
      <Loaded load={radios}>
        {(all) => {
          if (all.length === 0) return <Blank title={t.device.noRadios}>{t.device.tellsNone}</Blank>;
          return (
            <div class="split">
              {all.map((radio) => (
                <div key={radio.name} data-radio={radio.name}>
                  <h3><Name text={radio.name || t.device.radioUnknown} isShort /> <span class="note">{airText(radio.band, radio.channel) || t.device.bandUnknown}</span></h3>
                  <ul class="pairs">
                    {radio.ssids.map((one) => <li key={one.interface}><Name text={one.ssid || one.interface} isShort /> <span><Stale isStale={!presence.isOnline}><data value={String(one.clients)}>{formatNumber(one.clients)}</data> {t.device.clientUnit(one.clients)}</Stale></span></li>)}
                  </ul>
                </div>
              ))}
            </div>
          );
        }}
      </Loaded>
    </section>
  );
}

function ClientsHere({ mac, poll }: Omit<PartProps, 'presence'>) {
  const query = useMemo(() => ({ mac }), [mac]);
  const clients = useAnswer('clients', query, decodeClientsNow, everyMs, true);
  const [sorting, setSorting] = useState<Sorting>({ column: 'name', direction: 'ascending' });
  const now = usePassTime();
  return (
    <section class="card" data-part="clients">
      <h2>{t.device.here}</h2>
      <StaleNote poll={poll} tables={['stations', 'ssids']} />
      <Loaded load={clients}>
        {(rows) => (rows.length === 0 ? <Blank title={t.device.nobody} /> : <ClientTable rows={rows} now={now} withDevice={false} sorting={sorting} onSort={setSorting} />)}
      </Loaded>
    </section>
  );
}

/** A name that is one's own says little about an access point that nobody trusts. */
function kindOf({ trusted, own_ssid }: Neighbour): string {
  if (own_ssid) return trusted ? t.device.own : t.device.ownName;
  return trusted ? t.device.trusted : t.device.other;
}

const neighbourColumns: Column<Neighbour>[] = [
  { key: 'ssid', title: t.device.network, value: (row) => row.ssid, cell: (row) => <><Name text={row.ssid || t.device.hidden} isShort /><span class="sub mac">{row.bssid}</span></> },
  { key: 'kind', title: t.device.kind, value: kindOf },
  { key: 'channel', title: t.device.channel, value: (row) => row.channel, cell: (row) => <span class="together">{airText(row.band, row.channel) || nothing}</span> },
  { key: 'signal', title: t.device.signal, isNumber: true, value: (row) => row.signal, cell: (row) => (row.signal === null ? nothing : `${formatNumber(row.signal)} dBm`) },
];

function NeighboursNow({ mac, presence, poll }: PartProps) {
  const query = useMemo(() => ({ mac }), [mac]);
  const neighbours = useAnswer('neighbours', query, decodeNeighbours, everyMs, true);
  const [sorting, setSorting] = useState<Sorting>({ column: 'signal', direction: 'descending' });
  return (
    <section class="card" data-part="neighbours-now">
      <h2>{presence.isOnline ? t.device.neighbours : t.device.neighboursBefore}</h2>
      <StaleNote poll={poll} tables={['neighbours']} />
      <Loaded load={neighbours}>
        {({ heard }) => {
          if (heard === null) return <Blank title={t.device.heardUnknown}>{t.device.heardUntold}</Blank>;
          if (heard.length === 0) return <Blank title={t.device.noneHeard}>{t.device.noneHeardNow}</Blank>;
          return <Table caption={t.device.neighbours} columns={neighbourColumns} rows={heard} keyOf={(row) => row.bssid} sorting={sorting} onSort={setSorting} />;
        }}
      </Loaded>
    </section>
  );
}

function NotificationsOf({ mac }: { mac: string }) {
  const query = useMemo(() => ({ mac }), [mac]);
  const notifications = useAnswer('notifications', query, decodeNotifications, everyMs, true);
  const now = usePassTime();
  return (
    <section class="card" data-part="notifications">
      <h2>{t.device.notifications}</h2>
      <Loaded load={notifications}>
        {(all) => (all.length === 0 ? <p class="note">{t.device.silent}</p> : <NotificationList notifications={inOrder(all)} now={now} />)}
      </Loaded>
    </section>
  );
}

type Rogue = NetworkReport['rogue_ap'][number];

const rogueColumns: Column<Rogue>[] = [
  { key: 'networks', title: t.device.network, value: (row) => row.networks, cell: (row) => <><Name text={row.networks} isShort /><span class="sub">{row.mac}</span></> },
  { key: 'channel', title: t.device.channel, value: (row) => row.channel, cell: (row) => <span class="together">{row.channel}</span> },
  { key: 'average_strength', title: t.device.strength, isNumber: true, value: (row) => row.average_strength, cell: (row) => (row.average_strength === null ? nothing : `${formatNumber(row.average_strength)} dBm`) },
  { key: 'last_seen', title: t.device.lastHeard, value: (row) => row.last_seen, cell: (row) => <Moment text={row.last_seen} /> },
];

/** Those of the newest day's report. */
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
      <h2>{t.device.heardOn(formatPeriod(day))}</h2>
      {heard.length === 0 ? <Blank title={t.device.noneHeard} /> : <Table caption={t.device.rogueCaption} columns={rogueColumns} rows={heard} keyOf={(row) => `${row.mac} ${row.networks} ${row.channel}`} sorting={sorting} onSort={setSorting} />}
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
        const poll = polls.find((one) => one.mac === mac);
        return (
          <>
            <div class="title">
              <h1>{device ? <Name text={device.hostname || device.mac} /> : t.device.device}</h1>
              {all.length > 0 && (
                <div class="controls">
                  {device && <a href={formatRoute({ page: 'traffic', values: { device: mac } })}>{t.device.traffic}</a>}
                  <DevicePicker value={device?.mac ?? ''} options={device ? optionsOf(all) : [{ value: '', title: t.device.choose }, ...optionsOf(all)]} onChange={(one) => change({ device: one })} />
                </div>
              )}
            </div>
            {device && row ? (
              <>
                <OfflineNote presence={presence} />
                <Facts row={row} device={device} presence={presence} />
                <NotificationsOf mac={mac} />
                <Ports mac={mac} presence={presence} poll={poll} />
                {device.wireless && <Radios mac={mac} presence={presence} poll={poll} />}
                {device.wireless && <ClientsHere mac={mac} poll={poll} />}
                {device.wireless && <NeighboursNow mac={mac} presence={presence} poll={poll} />}
                {device.wireless && <Neighbours mac={mac} />}
              </>
            ) : all.length === 0 ? <NoDevices /> : <NoSuchDevice mac={mac} />}
          </>
        );
      }}
    </Loaded>
  );
}
