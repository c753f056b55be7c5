// Who moves most, and where most clients are.

import type { ComponentChildren } from 'preact';
import { useRef } from 'preact/hooks';
import { formatBytes, formatNumber, formatRate } from '../format/format';
import { decodeRankings, type RankedClients, type RankedTraffic, type Rankings } from '../messages/decode';
import { Blank, Choice, Loaded, Name, SearchBox, Select, Waiting } from '../parts/basics';
import { type Load, type Navigation, useDevices, useLive, usePassTime, usePresences, useProbe } from '../state/hooks';
import { offlineText } from '../state/presence';
import { now, probeTime } from '../state/probe';
import { formatRoute, oneOf } from '../state/route';
import { search } from '../state/sorting';
import { speedsOf } from '../state/speeds';
import { texts as t } from '../texts';

const orders = ['total', 'in', 'out', 'clients'] as const;
const orderTitles = { total: t.top.total, in: t.top.in, out: t.top.out, clients: t.top.clients };
const counts = ['10', '5', '20', '50'] as const;
const countOptions = [...counts].sort((a, b) => Number(a) - Number(b)).map((value) => ({ value, title: t.top.count(value) }));
type Order = (typeof orders)[number];

const mostRanked = 50;
const clients = { count: mostRanked, flag: 'desc' };

/** What the probe keeps too, so that the first figures are there at once. */
function filterFor(orderby: string) {
  const traffic = { count: mostRanked, orderby, flag: 'desc' };
  return {
    access_point: { traffic, clients },
    wireless_networks: { traffic, clients },
    wireless_clients: { traffic },
  };
}

const kib = 1024;

interface BarProps {
  rank: number;
  name: string;
  id: string;
  value: number;
  text: ComponentChildren;
  /** Since when it is offline; empty: it is there, or is no device. */
  offline: string;
  /** It is one of the devices, and has a page. */
  isDevice: boolean;
  parts: { tone: string; share: number }[];
}

function Bar({ rank, name, id, value, text, offline, isDevice, parts }: BarProps) {
  const shown = <Name text={name || id} isShort />;
  return (
    <li data-key={id}>
      <span class="rank">{rank}</span>
      <span>{isDevice ? <a href={formatRoute({ page: 'device', values: { device: id } })}>{shown}</a> : shown}{name !== id && name && <span class="mac"> {id}</span>}{offline && <span class="sub">{offline}</span>}</span>
      <data value={String(value)} class={offline ? 'number stale' : 'number'}>{text}</data>
      <span class="track" aria-hidden="true">
        {parts.map(({ tone, share }) => <i key={tone} class={tone} style={{ width: `${(share * 100).toFixed(2)}%` }} />)}
      </span>
    </li>
  );
}

/** Those that hold a text, each with its place among all. */
function found<Entry extends { id: string; name: string }>(entries: Entry[], wanted: string): { entry: Entry; rank: number }[] {
  return search(entries.map((entry, i) => ({ entry, rank: i + 1 })), wanted, ({ entry }) => [entry.name, entry.id]);
}

interface TrafficBarsProps {
  entries: RankedTraffic[];
  wanted: string;
  order: 'total' | 'in' | 'out';
  /** Figures are speeds. */
  isNow: boolean;
  isDevice: boolean;
  offlineOf: (id: string) => string;
}

function TrafficBars({ entries, wanted, order, isNow, isDevice, offlineOf }: TrafficBarsProps) {
  const top = Math.max(1, ...entries.map((entry) => entry[order]));
  if (entries.length === 0) return isNow ? <Blank title={t.top.unknown}>{t.top.second} <Waiting /></Blank> : <Blank title={t.top.nobody}>{t.top.nobodyMoved}</Blank>;
  const shown = found(entries, wanted);
  if (shown.length === 0) return <Blank title={t.top.noMatch} />;
  return (
    <ol class="bars">
      {shown.map(({ entry, rank }) => {
        const parts = (['in', 'out'] as const).filter((one) => order === 'total' || one === order);
        const text = isNow ? formatRate(entry[order] * kib) : formatBytes(entry[order] * kib);
        return (
          <Bar key={entry.id} rank={rank} name={entry.name} id={entry.id} value={entry[order]} text={text} isDevice={isDevice} offline={offlineOf(entry.id)}
            parts={parts.map((tone) => ({ tone, share: entry[tone] / top }))} />
        );
      })}
    </ol>
  );
}

function ClientBars({ entries, wanted, isDevice, offlineOf }: { entries: RankedClients[]; wanted: string; isDevice: boolean; offlineOf: (id: string) => string }) {
  const top = Math.max(1, ...entries.map((entry) => entry.clients));
  if (entries.length === 0) return <Blank title={t.top.nobody}>{t.top.nobodyHere}</Blank>;
  const shown = found(entries, wanted);
  if (shown.length === 0) return <Blank title={t.top.noMatch} />;
  return (
    <ol class="bars">
      {shown.map(({ entry, rank }) => (
        <Bar key={entry.id} rank={rank} name={entry.name} id={entry.id} value={entry.clients} text={formatNumber(entry.clients)} isDevice={isDevice} offline={offlineOf(entry.id)}
          parts={[{ tone: 'clients', share: entry.clients / top }]} />
      ))}
    </ol>
  );
}

interface PanelProps {
  kind: string;
  title: string;
  order: Order;
  isNow: boolean;
  offlineOf?: (id: string) => string;
  traffic: RankedTraffic[];
  people?: RankedClients[];
  most: number;
  wanted: string;
}

function Panel({ kind, title, order, isNow, offlineOf = () => '', traffic, people, most, wanted }: PanelProps) {
  if (order === 'clients' && !people) return null;
  const isDevice = kind === 'access-points';
  return (
    <section class="card" data-ranking={kind}>
      <h2>{title}</h2>
      {order === 'clients' ? <ClientBars entries={(people ?? []).slice(0, most)} wanted={wanted} isDevice={isDevice} offlineOf={offlineOf} /> : <TrafficBars entries={traffic.slice(0, most)} wanted={wanted} order={order} isNow={isNow} isDevice={isDevice} offlineOf={offlineOf} />}
    </section>
  );
}

const figures = ['sum', 'now'] as const;
const figureTitles = { sum: t.top.sum, now: t.top.now };

/** The rankings of the last two passes that told something else, and how far apart they were told. */
function useSpeeds(rankings: Load<Rankings>): { before: Rankings; seconds: number } | null {
  const at = useProbe((state) => probeTime(state, state.passes.last ?? now()) / 1000);
  const held = useRef<{ value: Rankings; at: number; before: { before: Rankings; seconds: number } | null } | null>(null);
  if (rankings.kind !== 'ready') return held.current?.before ?? null;
  const last = held.current;
  if (last?.value !== rankings.value) {
    const seconds = last ? Math.round((at - last.at) / 60) * 60 : 0;
    held.current = { value: rankings.value, at, before: last && seconds > 0 ? { before: last.value, seconds } : null };
  }
  return held.current?.before ?? null;
}

export function Top({ route, change }: Navigation) {
  const order = oneOf(route.values['by'], orders);
  // Who looks for somebody looks among all that are ranked.
  const wanted = route.values['search'] ?? '';
  const most = wanted === '' ? Number(oneOf(route.values['count'], counts)) : mostRanked;
  const figure = order === 'clients' ? 'sum' : oneOf(route.values['figures'], figures);
  const orderby = order === 'clients' ? 'total' : order;
  const rankings = useLive('wireless_top_monitor', filterFor(orderby), { orderby }, decodeRankings);
  const speeds = useSpeeds(rankings);
  const presences = usePresences(useDevices());
  const passTime = usePassTime();
  const offlineOf = (mac: string): string => {
    const presence = presences.get(mac);
    return presence && !presence.isOnline ? offlineText(presence, passTime) : '';
  };
  const isNow = figure === 'now';
  const shown = (after: RankedTraffic[], part: (rankings: Rankings) => RankedTraffic[]): RankedTraffic[] =>
    !isNow ? after : speeds ? speedsOf(part(speeds.before), after, speeds.seconds, order === 'clients' ? 'total' : order) : [];
  return (
    <>
      <div class="title">
        <h1>{t.top.title}</h1>
        <div class="controls">
          {order !== 'clients' && <Choice title={t.top.figures} name="figures" values={figures} titles={figureTitles} value={figure} onChange={(one) => change({ figures: one })} />}
          <Choice title={t.top.orderedBy} name="by" values={orders} titles={orderTitles} value={order} onChange={(by) => change({ by })} />
          <SearchBox title={t.top.search} value={wanted} onInput={(text) => change({ search: text }, true)} />
          <Select title={t.top.howMany} value={oneOf(route.values['count'], counts)} options={countOptions} onChange={(count) => change({ count })} />
        </div>
      </div>
      {order !== 'clients' && (
        <p class="note">
          {isNow
            ? t.top.nowNote
            : t.top.sumNote}
          {` ${t.top.ways}`}
          {order === 'total' && ` ${t.top.bar}`}
        </p>
      )}
      <Loaded load={rankings}>
        {({ accessPoints, networks, clients: people }) => (
          <div class="split thirds">
            <Panel kind="access-points" title={t.top.points} order={order} isNow={isNow} offlineOf={offlineOf} traffic={shown(accessPoints.traffic, (one) => one.accessPoints.traffic)} people={accessPoints.clients} most={most} wanted={wanted} />
            <Panel kind="networks" title={t.top.networks} order={order} isNow={isNow} traffic={shown(networks.traffic, (one) => one.networks.traffic)} people={networks.clients} most={most} wanted={wanted} />
            <Panel kind="clients" title={t.top.clients} order={order} isNow={isNow} traffic={shown(people.traffic, (one) => one.clients.traffic)} most={most} wanted={wanted} />
          </div>
        )}
      </Loaded>
    </>
  );
}
