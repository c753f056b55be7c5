// Traffic of one device: all its interfaces side by side, and one of them at large.

import { useMemo } from 'preact/hooks';
import { bands, outagesIn, sparkline } from '../charts/outages';
import { type ChartData, figuresOf, trafficData, type View, viewNames, viewTitles } from '../charts/series';
import { formatRate, withoutDirection } from '../format/format';
import { decodeTraffic, type Device, type DeviceTraffic } from '../messages/decode';
import { Blank, Choice, DevicePicker, LevelBadge, Loaded, Name, Stale } from '../parts/basics';
import { type Column, Table } from '../parts/table';
import { InterfaceChart, type Row } from './interface_chart';
import { NoDevices } from './overview';
import { absenceText, outageText } from '../state/history';
import { type Navigation, useDevices, useLive, useOutages, usePassTime, usePresences } from '../state/hooks';
import { absencesIn, measuredOnly, offlineText, type Presence, presenceOf } from '../state/presence';
import { formatRoute, oneOf } from '../state/route';
import { formatSorting, parseSorting } from '../state/sorting';
import { zoomText } from '../state/zoom';
import { texts as t } from '../texts';

export function rowsOf(device: DeviceTraffic, view: View, presence: Presence): Row[] {
  return [...device.interfaces].map(([name, one]) => {
    const data = measuredOnly(trafficData(one, view), presence);
    const [inputs, outputs] = data.columns.map(figuresOf);
    const peak = inputs?.peak === null || !inputs ? null : Math.max(inputs.peak, outputs?.peak ?? 0);
    return { name, index: one.ifIndex, input: inputs?.latest ?? null, output: outputs?.latest ?? null, peak, data, pass: one.traffic.at(-1)?.time };
  });
}

const sparkBox = { width: 100, height: 24 };

export function Spark({ data, top, presence }: { data: ChartData; top: number; presence: Presence }) {
  const told = useOutages();
  const outages = outagesIn(told, data);
  const absences = absencesIn(presence, data);
  return (
    <svg class="spark" viewBox={`0 0 ${sparkBox.width} ${sparkBox.height}`} preserveAspectRatio="none" aria-hidden="true">
      {bands(outages, data, sparkBox.width).map(({ x, width }, i) => (
        <rect key={x} class="off" x={x} width={width} height={sparkBox.height}><title>{outageText(outages[i] ?? [0, 0], data)}</title></rect>
      ))}
      {bands(absences, data, sparkBox.width).map(({ x, width }, i) => (
        <rect key={`away ${x}`} class="off away" x={x} width={width} height={sparkBox.height}><title>{absenceText(absences[i] ?? [0, 0], data)}</title></rect>
      ))}
      {(['in', 'out'] as const).map((way, i) => <path key={way} class={way} d={sparkline(data, data.columns[i] ?? [], top, sparkBox, outages)} />)}
    </svg>
  );
}

function columnsFor(presence: Presence, chosen: string, select: (name: string) => void): Column<Row>[] {
  const rate = (value: number | null) => <Stale isStale={!presence.isOnline}><data value={value === null ? '' : String(value)}>{formatRate(value)}</data></Stale>;
  return [
    {
      key: 'interface',
      title: t.traffic.interface,
      value: (row) => row.name,
      cell: (row) => <button type="button" class="sort" aria-pressed={row.name === chosen} onClick={() => select(row.name)}><Name text={row.name} isShort /></button>,
    },
    { key: 'in', title: t.traffic.in, isNumber: true, value: (row) => row.input, cell: (row) => rate(row.input) },
    { key: 'out', title: t.traffic.out, isNumber: true, value: (row) => row.output, cell: (row) => rate(row.output) },
    { key: 'peak', title: t.traffic.peak, isNumber: true, value: (row) => row.peak, cell: (row) => formatRate(row.peak) },
    { key: 'course', title: t.traffic.course, isNumber: true, value: (row) => row.peak, cell: (row) => <Spark data={row.data} top={row.peak ?? 0} presence={presence} /> },
  ];
}

interface DeviceProps {
  mac: string;
  device: DeviceTraffic;
  view: View;
  presence: Presence;
  navigation: Navigation;
}

function DeviceView({ mac, device, view, presence, navigation }: DeviceProps) {
  const { route, change } = navigation;
  const rows = useMemo(() => rowsOf(device, view, presence), [device, view, presence]);
  const busiest = useMemo(() => [...rows].sort((a, b) => (b.peak ?? 0) - (a.peak ?? 0))[0], [rows]);
  const asked = route.values['interface'];
  const chosen = asked ? rows.find((row) => row.name === asked) : busiest;
  const columns = columnsFor(presence, chosen?.name ?? '', (name) => change({ interface: name }));
  const sorting = parseSorting(route.values['sort'], columns.map((column) => column.key), { column: 'peak', direction: 'descending' });
  if (!busiest) {
    const first = view === '1m' ? t.traffic.second : t.traffic.interval;
    return <section class="card"><Blank title={t.traffic.none}>{t.traffic.noneWhy} {first}</Blank></section>;
  }
  return (
    <div class="side">
      <section class="card">
        <h2>{t.traffic.interfaces}</h2>
        <Table caption={t.traffic.interfaces} columns={columns} rows={rows} keyOf={(row) => row.name} sorting={sorting} onSort={(sort) => change({ sort: formatSorting(sort) })} chosen={chosen?.name} />
        <p class="note">{t.traffic.idleUntold}</p>
        {device.credentials.length > 0 && (
          <dl class="note">{device.credentials.map(([key, value]) => <div key={key}>{key}: {value}</div>)}</dl>
        )}
      </section>
      {chosen ? (
        <InterfaceChart mac={mac} row={chosen} view={view} presence={presence} navigation={navigation} />
      ) : (
        <section class="card">
          <h2><Name text={asked ?? ''} /></h2>
          <Blank title={t.traffic.idle}>{t.traffic.idleWhy}</Blank>
        </section>
      )}
    </div>
  );
}

function TrafficOf({ mac, view, presence, navigation }: { mac: string; view: View; presence: Presence; navigation: Navigation }) {
  const traffic = useLive('TrafficMonitor', { interval: view, mac }, { interval: view }, decodeTraffic);
  return (
    <Loaded load={traffic}>
      {(all) => <DeviceView mac={mac} device={all.get(mac) ?? { interfaces: new Map(), credentials: [] }} view={view} presence={presence} navigation={navigation} />}
    </Loaded>
  );
}

/** Names may be the same; addresses are not. */
export function optionsOf(devices: Device[]): { value: string; title: string }[] {
  return devices.map(({ mac, hostname }) => ({ value: mac, title: hostname ? `${withoutDirection(hostname).slice(0, 60)} (${mac})` : mac }));
}

/** Says of a device that the link names that there is none, and shows nothing else instead. */
export function NoSuchDevice({ mac }: { mac: string }) {
  if (mac === '') return <section class="card"><Blank title={t.traffic.choose}>{t.traffic.chooseHow} <a href="#/overview">{t.main.toOverview}</a></Blank></section>;
  return <section class="card"><Blank title={t.traffic.noDevice}>{t.traffic.unknownBefore} <Name text={mac} />. {t.traffic.removed} <a href="#/overview">{t.main.toOverview}</a></Blank></section>;
}

/** Since when a device is offline; nothing for one that is there. */
export function OfflineNote({ presence }: { presence: Presence }) {
  const now = usePassTime();
  if (presence.isOnline) return null;
  return <p class="note offline-note" role="status"><LevelBadge level="offline" /> {t.traffic.before(offlineText(presence, now))}</p>;
}

export function Traffic(navigation: Navigation) {
  const { route, change } = navigation;
  const devices = useDevices();
  const presences = usePresences(devices);
  const view = oneOf<View>(route.values['view'], viewNames);
  return (
    <Loaded load={devices}>
      {(all) => {
        const asked = route.values['device'];
        const device = asked ? all.find((one) => one.mac === asked) : all[0];
        const presence = presences.get(device?.mac ?? '') ?? presenceOf(device);
        return (
          <>
            <div class="title">
              <h1>{device ? <>{t.traffic.headingOf} <a href={formatRoute({ page: 'device', values: { device: device.mac } })}><Name text={device.hostname || device.mac} /></a></> : t.traffic.heading}</h1>
              {all.length > 0 && (
                <div class="controls">
                  <DevicePicker value={device?.mac ?? ''} options={device ? optionsOf(all) : [{ value: '', title: t.traffic.choose }, ...optionsOf(all)]} onChange={(mac) => change({ device: mac, interface: '', ...zoomText(null) })} />
                  <Choice title={t.traffic.view} name="view" values={viewNames} titles={viewTitles} value={view} onChange={(one) => change({ view: one, ...zoomText(null) })} />
                </div>
              )}
            </div>
            {device && <OfflineNote presence={presence} />}
            {device ? <TrafficOf mac={device.mac} view={view} presence={presence} navigation={navigation} /> : asked ? <NoSuchDevice mac={asked} /> : <NoDevices />}
          </>
        );
      }}
    </Loaded>
  );
}
