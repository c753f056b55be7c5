// Every device with how it is, the worst first.

import { useMemo, useState } from 'preact/hooks';
import { formatDuration, formatList, formatNumber, formatPercent, nothing } from '../format/format';
import { decodeHealth } from '../messages/decode';
import { decodeNotifications, type Notification } from '../messages/decode_now';
import { Blank, Figure, LevelBadge, Loaded, Name, Notifications, SearchBox, Stale, Waiting } from '../parts/basics';
import { WarningIcon } from '../parts/icons';
import { JournalNote } from '../parts/journal';
import { NotificationLine } from '../parts/now';
import { type Column, Table } from '../parts/table';
import { type Concern, concernsOf, type DeviceRow, deviceRows, levels, limitText, sinceText } from '../state/health';
import { type Navigation, useAnswer, useDeviceList, useLive, usePassTime, useProbe } from '../state/hooks';
import { alertsByDevice } from '../state/notifications';
import { sinceMeasured } from '../state/presence';
import { formatRoute } from '../state/route';
import { formatSorting, parseSorting, search } from '../state/sorting';
import { texts as t } from '../texts';

const everything = {};

function notificationCount({ health }: DeviceRow): number | null {
  if (!health) return null;
  const { alert, warning, info } = health.notification;
  return alert * 1_000_000 + warning * 1000 + info;
}

const isAway = (row: DeviceRow): boolean => row.level === 'offline';

function columnsAt(now: number): Column<DeviceRow>[] {
  return [
    {
      key: 'device',
      title: t.overview.device,
      value: (row) => row.name,
      cell: (row) => (
        <>
          {row.mac ? <a href={formatRoute({ page: 'device', values: { device: row.mac } })}><Name text={row.name || row.mac} /></a> : <Name text={row.name} />}
          <span class="sub">{[row.type, row.model, row.ip].filter(Boolean).join(' · ')}</span>
          {row.trouble && <span class="sub trouble" title={row.trouble}><WarningIcon /> {row.trouble}</span>}
        </>
      ),
    },
    {
      key: 'state',
      title: t.overview.state,
      value: (row) => levels.indexOf(row.level),
      cell: (row) => (
        <>
          <LevelBadge level={row.level} />
          <span class="sub since">{isAway(row) ? sinceMeasured(row.presence, now) : row.level === 'good' ? '' : sinceText(row.levels.own, now)}</span>
        </>
      ),
    },
    {
      key: 'cpu',
      title: t.overview.cpu,
      isNumber: true,
      value: ({ health }) => (health && health.actual_cpu.value >= 0 ? health.actual_cpu.value : null),
      cell: (row) => <Cpu row={row} now={now} />,
    },
    {
      key: 'uptime',
      title: t.overview.uptime,
      isNumber: true,
      value: ({ health }) => (health && health.uptime.value >= 0 ? health.uptime.value : null),
      cell: (row) => {
        if (!row.health) return nothing;
        const { value, level } = row.health.uptime;
        return <Stale isStale={isAway(row)}><Figure value={value} level={level} limit={isAway(row) ? '' : limitText('uptime', level, undefined, now)}>{formatDuration(value)}</Figure></Stale>;
      },
    },
    {
      key: 'clients',
      title: t.overview.clients,
      isNumber: true,
      value: ({ clients }) => clients?.value ?? null,
      cell: (row) => <Clients row={row} now={now} />,
    },
    {
      key: 'rogues',
      title: t.overview.rogues,
      isNumber: true,
      value: ({ health }) => health?.rogue_aps?.value ?? null,
      cell: (row) => (row.health?.rogue_aps ? <Stale isStale={isAway(row)}><data value={String(row.health.rogue_aps.value)}>{formatNumber(row.health.rogue_aps.value)}</data></Stale> : nothing),
    },
    {
      key: 'notifications',
      title: t.overview.notifications,
      isNumber: true,
      value: notificationCount,
      cell: (row) => (row.health ? <Stale isStale={isAway(row)}><Notifications {...row.health.notification} /></Stale> : nothing),
    },
    { key: 'mac', title: t.overview.mac, value: (row) => row.mac, cell: (row) => <span class="mac">{row.mac}</span> },
  ];
}

function Cpu({ row, now }: { row: DeviceRow; now: number }) {
  if (!row.health) return <>{nothing}</>;
  const { value } = row.health.actual_cpu;
  const level = row.levels.cpu?.level ?? row.health.actual_cpu.level;
  const limit = isAway(row) ? '' : limitText('cpu', level, row.levels.cpu, now);
  return <Stale isStale={isAway(row)}><Figure value={value} level={level} limit={limit}>{value < 0 ? nothing : formatPercent(value)}</Figure></Stale>;
}

function Clients({ row, now }: { row: DeviceRow; now: number }) {
  const { clients } = row;
  if (!clients) return <>{nothing}</>;
  const level = row.levels.clients?.level ?? clients.level;
  const limit = isAway(row) ? '' : limitText('clients', level, row.levels.clients, now);
  return (
    <Stale isStale={isAway(row)}>
      <Figure value={clients.value} level={level} limit={limit}>{formatNumber(clients.value)}</Figure>
      {!clients.isListed && <span class="sub" title={t.overview.numberOnlyWhy}>{t.overview.numberOnly}</span>}
    </Stale>
  );
}

interface TileProps {
  rows: DeviceRow[];
  concerns: Concern[];
  /** Before the first pass nothing is known, which is not the same as none. */
  isKnown: boolean;
}

function Tiles({ rows, concerns, isKnown }: TileProps) {
  const online = rows.filter((row) => !isAway(row));
  const sum = (value: (row: DeviceRow) => number | undefined): number => online.reduce((all, row) => all + (value(row) ?? 0), 0);
  const fair = rows.filter((row) => row.level === 'fair').length;
  const tiles = [
    { key: 'devices', title: t.overview.devices, value: rows.length, more: t.overview.online(online.length), isAlwaysKnown: true },
    { key: 'poor', title: t.overview.attention, value: concerns.length, more: fair > 0 ? t.overview.andFair(fair) : '', tone: concerns.length > 0 ? 'bad' : 'good' },
    { key: 'clients', title: t.overview.wireless, value: sum((row) => row.clients?.value), more: t.overview.connected },
    { key: 'rogues', title: t.overview.sightings, value: sum((row) => row.health?.rogue_aps?.value), more: '' },
    { key: 'alerts', title: t.overview.open, value: sum((row) => row.health?.notification.alert), more: t.overview.warnings(sum((row) => row.health?.notification.warning)) },
  ];
  return (
    <dl class="tiles">
      {tiles.map(({ key, title, value, more, tone, isAlwaysKnown }) => (
        <div key={key} class="tile">
          <dt>{title}</dt>
          {isKnown || isAlwaysKnown ? (
            <dd><data value={String(value)} class={tone} data-tile={key}>{formatNumber(value)}</data> <small>{more}</small></dd>
          ) : (
            <dd>{nothing} <small>{rows.length > 0 && <Waiting />}</small></dd>
          )}
        </div>
      ))}
    </dl>
  );
}

const mostConcerns = 8;
const notificationsEveryMs = 30_000;

/** The devices that need a person, and the texts of their open alerts. */
function Concerns({ concerns, alerts, now }: { concerns: Concern[]; alerts: Map<string, Notification[]>; now: number }) {
  const [isAll, setAll] = useState(false);
  if (concerns.length === 0) return null;
  const shown = isAll ? concerns : concerns.slice(0, mostConcerns);
  return (
    <section class="card concerns">
      <h2>{t.overview.attention}</h2>
      <ul>
        {shown.map(({ row, reasons }) => (
          <li key={row.mac || row.ip} data-concern={row.mac || row.ip}>
            {row.mac ? <a href={formatRoute({ page: 'device', values: { device: row.mac } })}><Name text={row.name || row.mac} isShort /></a> : <Name text={row.name} isShort />}
            <span>{formatList(reasons)}</span>
            {row.level !== 'offline' && alerts.has(row.mac) && (
              <ul class="notifications">{(alerts.get(row.mac) ?? []).map((one) => <NotificationLine key={one.text} one={one} now={now} />)}</ul>
            )}
          </li>
        ))}
      </ul>
      {shown.length < concerns.length && <button type="button" class="button" onClick={() => setAll(true)}>{t.overview.all(concerns.length)}</button>}
    </section>
  );
}

/** What to do next where there is nothing to look at. */
export function NoDevices() {
  return (
    <Blank title={t.overview.noDevices}>
      {t.overview.noDevicesWhy}
    </Blank>
  );
}

export function Overview({ route, change }: Navigation) {
  const devices = useDeviceList();
  const health = useLive('HealthMonitor', everything, everything, decodeHealth);
  const known = health.kind === 'ready' ? health.value : [];
  const held = useProbe((state) => state.levels);
  const now = usePassTime();
  const rows = useMemo(
    () => (devices.kind === 'ready' ? deviceRows(devices.value.devices, known, devices.value.polls, held) : deviceRows([], known, [], held)),
    [devices, health, held],
  );
  const notifications = useAnswer('notifications', everything, decodeNotifications, notificationsEveryMs, true);
  const alerts = useMemo(() => (notifications.kind === 'ready' ? alertsByDevice(notifications.value) : new Map<string, Notification[]>()), [notifications]);
  const concerns = concernsOf(rows, now, alerts);
  const columns = columnsAt(now);
  const wanted = route.values['search'] ?? '';
  const found = search(rows, wanted, (row) => [row.name, row.mac, row.type, row.model, row.ip]);
  const sorting = route.values['sort'] ? parseSorting(route.values['sort'], columns.map((one) => one.key), { column: 'state', direction: 'ascending' }) : null;
  return (
    <>
      <div class="title">
        <h1>{t.overview.title}</h1>
        <div class="controls">
          <SearchBox title={t.overview.search} value={wanted} onInput={(text) => change({ search: text }, true)} />
          {sorting && <button type="button" class="button" onClick={() => change({ sort: '' })}>{t.overview.worstFirst}</button>}
        </div>
      </div>
      <Loaded load={devices}>
        {() => (
          <>
            <Tiles rows={rows} concerns={concerns} isKnown={rows.length > 0 && health.kind === 'ready'} />
            <Concerns concerns={concerns} alerts={alerts} now={now} />
            <JournalNote />
            <section class="card">
              <h2 class="hidden">{t.overview.devices}</h2>
              {rows.length === 0 ? (
                <NoDevices />
              ) : (
                <Table
                  caption={t.overview.caption}
                  columns={columns}
                  rows={found}
                  keyOf={(row) => row.mac || row.ip}
                  sorting={sorting}
                  onSort={(sort) => change({ sort: formatSorting(sort) })}
                />
              )}
              {rows.length > 0 && found.length === 0 && <Blank title={t.overview.noMatch}>{t.overview.noMatchWhy}</Blank>}
            </section>
          </>
        )}
      </Loaded>
    </>
  );
}
