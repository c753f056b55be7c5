// Who moves most, and where most clients are.

import type { ComponentChildren } from 'preact';
import { formatBytes, formatNumber } from '../format/format';
import { decodeRankings, type RankedClients, type RankedTraffic } from '../messages/decode';
import { Blank, Choice, Loaded, Name, Select } from '../parts/basics';
import { type Navigation, useLive } from '../state/hooks';
import { oneOf } from '../state/route';

const orders = ['total', 'in', 'out', 'clients'] as const;
const orderTitles = { total: 'Total', in: 'In', out: 'Out', clients: 'Clients' };
const counts = ['10', '5', '20', '50'] as const;
const countOptions = [...counts].sort((a, b) => Number(a) - Number(b)).map((value) => ({ value, title: `Top ${value}` }));
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
  parts: { tone: string; share: number }[];
}

function Bar({ rank, name, id, value, text, parts }: BarProps) {
  return (
    <li data-key={id}>
      <span class="rank">{rank}</span>
      <span><Name text={name || id} isShort />{name !== id && name && <span class="mac"> {id}</span>}</span>
      <data value={String(value)} class="number">{text}</data>
      <span class="track" aria-hidden="true">
        {parts.map(({ tone, share }) => <i key={tone} class={tone} style={{ width: `${(share * 100).toFixed(2)}%` }} />)}
      </span>
    </li>
  );
}

function TrafficBars({ entries, order }: { entries: RankedTraffic[]; order: 'total' | 'in' | 'out' }) {
  const top = Math.max(1, ...entries.map((entry) => entry[order]));
  if (entries.length === 0) return <Blank title="Nobody">Nothing has been moved yet.</Blank>;
  return (
    <ol class="bars">
      {entries.map((entry, i) => {
        const parts = (['in', 'out'] as const).filter((one) => order === 'total' || one === order);
        return (
          <Bar key={entry.id} rank={i + 1} name={entry.name} id={entry.id} value={entry[order]} text={formatBytes(entry[order] * kib)}
            parts={parts.map((tone) => ({ tone, share: entry[tone] / top }))} />
        );
      })}
    </ol>
  );
}

function ClientBars({ entries }: { entries: RankedClients[] }) {
  const top = Math.max(1, ...entries.map((entry) => entry.clients));
  if (entries.length === 0) return <Blank title="Nobody">No client is connected.</Blank>;
  return (
    <ol class="bars">
      {entries.map((entry, i) => (
        <Bar key={entry.id} rank={i + 1} name={entry.name} id={entry.id} value={entry.clients} text={formatNumber(entry.clients)}
          parts={[{ tone: 'clients', share: entry.clients / top }]} />
      ))}
    </ol>
  );
}

interface PanelProps {
  kind: string;
  title: string;
  order: Order;
  traffic: RankedTraffic[];
  people?: RankedClients[];
  most: number;
}

function Panel({ kind, title, order, traffic, people, most }: PanelProps) {
  if (order === 'clients' && !people) return null;
  return (
    <section class="card" data-ranking={kind}>
      <h2>{title}</h2>
      {order === 'clients' ? <ClientBars entries={(people ?? []).slice(0, most)} /> : <TrafficBars entries={traffic.slice(0, most)} order={order} />}
    </section>
  );
}

export function Top({ route, change }: Navigation) {
  const order = oneOf(route.values['by'], orders);
  const most = Number(oneOf(route.values['count'], counts));
  const orderby = order === 'clients' ? 'total' : order;
  const rankings = useLive('wireless_top_monitor', filterFor(orderby), { orderby }, decodeRankings);
  return (
    <>
      <div class="title">
        <h1>Top of the wireless network</h1>
        <div class="controls">
          <Choice title="Ordered by" name="by" values={orders} titles={orderTitles} value={order} onChange={(by) => change({ by })} />
          <Select title="How many" value={String(most)} options={countOptions} onChange={(count) => change({ count })} />
        </div>
      </div>
      {order !== 'clients' && (
        <p class="note">
          In is what clients send, out what they receive, as far as the devices count it at present.
          {order === 'total' && ' The full part of a bar is in, the hatched part out.'}
        </p>
      )}
      <Loaded load={rankings}>
        {({ accessPoints, networks, clients: people }) => (
          <div class="split thirds">
            <Panel kind="access-points" title="Access points" order={order} traffic={accessPoints.traffic} people={accessPoints.clients} most={most} />
            <Panel kind="networks" title="Networks" order={order} traffic={networks.traffic} people={networks.clients} most={most} />
            <Panel kind="clients" title="Clients" order={order} traffic={people.traffic} most={most} />
          </div>
        )}
      </Loaded>
    </>
  );
}
