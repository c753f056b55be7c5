// All sites of a centre, the worst first, and a search over what they have.

import { useEffect, useState } from 'preact/hooks';
import { formatDuration, formatNumber } from '../format/format';
import type { Found, Hit, Site, ToldSites } from '../messages/decode_centre';
import { Blank, LevelBadge, Loading, Name, SearchBox } from '../parts/basics';
import { type Column, Table } from '../parts/table';
import { centre, type CentreState } from '../state/centre';
import { pathOfSite } from '../state/place';
import { formatRoute } from '../state/route';
import { search, type Sorting } from '../state/sorting';
import { texts as t } from '../texts';

/** The worst first, as the centre has them. */
const ranks = ['good', 'fair', 'bad', 'away'] as const;

function StateOf({ site }: { site: Site }) {
  return site.level === 'away' ? <LevelBadge level="offline" title={t.sites.away} /> : <LevelBadge level={site.level} />;
}

function columnsAt(now: number): Column<Site>[] {
  return [
    { key: 'name', title: t.sites.name, value: (row) => row.name, cell: (row) => <a href={`${pathOfSite(row.name)}/`}><Name text={row.name} /></a> },
    { key: 'state', title: t.sites.state, isNumber: false, value: (row) => ranks.indexOf(row.level), cell: (row) => <StateOf site={row} /> },
    { key: 'heard', title: t.sites.heard, value: (row) => row.heard, cell: (row) => t.sites.ago(formatDuration(Math.max(0, now - row.heard))) },
    {
      key: 'devices',
      title: t.sites.devices,
      isNumber: true,
      value: (row) => row.devices,
      cell: (row) => (
        <>
          <data value={String(row.devices)}>{formatNumber(row.devices)}</data>
          {row.offline > 0 && <span class="sub">{t.sites.offline(formatNumber(row.offline))}</span>}
        </>
      ),
    },
    { key: 'clients', title: t.sites.clients, isNumber: true, value: (row) => row.clients, cell: (row) => formatNumber(row.clients) },
    {
      key: 'alerts',
      title: t.sites.notifications,
      isNumber: true,
      value: (row) => row.alerts * 1_000_000 + row.warnings,
      cell: (row) => (
        <>
          <data value={String(row.alerts)}>{formatNumber(row.alerts)}</data>
          {row.warnings > 0 && <span class="sub">{t.sites.warnings(formatNumber(row.warnings))}</span>}
        </>
      ),
    },
    { key: 'version', title: t.sites.version, value: (row) => row.version },
  ];
}

function Tiles({ sites }: { sites: Site[] }) {
  const sum = (value: (site: Site) => number): number => sites.reduce((all, site) => all + value(site), 0);
  const there = sites.filter((site) => site.level !== 'away');
  const poor = sites.filter((site) => site.level === 'away' || site.level === 'bad').length;
  const ofThose = (value: (site: Site) => number): number => there.reduce((all, site) => all + value(site), 0);
  const tiles = [
    { key: 'sites', title: t.sites.known, value: sites.length, more: sites.length > there.length ? t.sites.areAway(formatNumber(sites.length - there.length)) : '' },
    { key: 'poor', title: t.sites.attention, value: poor, more: '', tone: poor > 0 ? 'bad' : 'good' },
    { key: 'devices', title: t.sites.devices, value: sum((site) => site.devices), more: t.sites.online(formatNumber(ofThose((site) => site.devices - site.offline))) },
    { key: 'clients', title: t.sites.clients, value: ofThose((site) => site.clients), more: t.sites.connected },
    { key: 'alerts', title: t.sites.open, value: ofThose((site) => site.alerts), more: t.sites.warnings(formatNumber(ofThose((site) => site.warnings))) },
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

/** Where a hit is shown: on the page of its site. */
function linkOf(hit: Hit): string {
  const route = hit.kind === 'device' ? formatRoute({ page: 'device', values: { device: hit.mac } }) : formatRoute({ page: 'clients-now', values: { search: hit.mac } });
  return `${pathOfSite(hit.site)}/${route}`;
}

const hitColumns: Column<Hit>[] = [
  {
    key: 'name',
    title: t.sites.hits,
    value: (row) => row.name || row.mac,
    cell: (row) => (
      <>
        <a href={linkOf(row)}><Name text={row.name || row.mac} /></a>
        {row.user && <span class="sub">{row.user}</span>}
      </>
    ),
  },
  { key: 'kind', title: t.sites.kind, value: (row) => (row.kind === 'device' ? t.sites.device : t.sites.client) },
  { key: 'site', title: t.sites.name, value: (row) => row.site },
  { key: 'place', title: t.sites.place, value: (row) => [row.place, row.ssid, row.ip].filter(Boolean).join(' · '), cell: (row) => <Name text={[row.place, row.ssid, row.ip].filter(Boolean).join(' · ')} /> },
  { key: 'mac', title: t.sites.mac, value: (row) => row.mac, cell: (row) => <span class="mac">{row.mac}</span> },
];

const leastLength = 2;
const typingMs = 250;

/** What is found for a text, a moment after its last letter; null: nothing is looked for. */
function useSearch(wanted: string): Found | null {
  const [held, setHeld] = useState<{ wanted: string; found: Found } | null>(null);
  useEffect(() => {
    if (wanted.trim().length < leastLength) return undefined;
    let isWanted = true;
    const timer = setTimeout(() => {
      void centre.search(wanted.trim()).then((answer) => {
        if (isWanted && answer.kind === 'value') setHeld({ wanted, found: answer.value });
      });
    }, typingMs);
    return () => {
      isWanted = false;
      clearTimeout(timer);
    };
  }, [wanted]);
  return held?.wanted === wanted && wanted.trim().length >= leastLength ? held.found : null;
}

function Hits({ found }: { found: Found }) {
  const [sorting, setSorting] = useState<Sorting | null>(null);
  if (found.hits.length === 0) return <Blank title={t.sites.nothingFound}>{''}</Blank>;
  return (
    <>
      <Table caption={t.sites.found} columns={hitColumns} rows={found.hits} keyOf={(row) => `${row.site} ${row.kind} ${row.mac}`} sorting={sorting} onSort={setSorting} />
      {found.hasMore && <p class="note">{t.sites.more(formatNumber(found.hits.length))}</p>}
    </>
  );
}

function SiteTable({ told, wanted }: { told: ToldSites; wanted: string }) {
  const [sorting, setSorting] = useState<Sorting | null>(null);
  const rows = search(told.sites, wanted, (row) => [row.name]);
  if (told.sites.length === 0) return <Blank title={t.sites.none}>{t.sites.noneWhy}</Blank>;
  if (rows.length === 0) return <Blank title={t.sites.noMatch}>{t.sites.noMatchWhy}</Blank>;
  return <Table caption={t.sites.caption} columns={columnsAt(told.now)} rows={rows} keyOf={(row) => row.name} sorting={sorting} onSort={setSorting} />;
}

export function Sites({ state }: { state: CentreState }) {
  const [wanted, setWanted] = useState('');
  const found = useSearch(wanted);
  const { told, isLost } = state;
  const trouble = isLost ? t.sites.lost : told && !told.isReading ? t.sites.notReading : '';
  return (
    <>
      <div class="title">
        <h1>{t.sites.title}</h1>
        <div class="controls">
          <SearchBox title={t.sites.search} value={wanted} onInput={setWanted} />
        </div>
      </div>
      {trouble && <div class="banner" data-kind="stale" role="status"><span>{trouble}</span></div>}
      {told === null ? !isLost && <Loading /> : (
        <>
          <Tiles sites={told.sites} />
          <section class="card" data-part="sites"><SiteTable told={told} wanted={wanted} /></section>
          {found && <section class="card" data-part="found"><h2>{t.sites.found}</h2><Hits found={found} /></section>}
        </>
      )}
    </>
  );
}
