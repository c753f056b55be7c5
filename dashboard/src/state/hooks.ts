// What components use to get at the probe and the address bar.

import { useCallback, useEffect, useMemo, useRef, useState } from 'preact/hooks';
import type { Json } from '../messages/check';
import type { Filter } from '../messages/connection';
import { type Device, envelopeOf } from '../messages/decode';
import { decodeDeviceList, decodeDevices, type DeviceList, type Outage } from '../messages/decode_http';
import type { Answer } from '../messages/http';
import { type Presences, presencesOf } from './presence';
import { now, probe, probeTime, type ProbeState } from './probe';
import { formatRoute, parseRoute, type Route } from './route';
import { settings, type Settings } from './settings';
import { texts as t } from '../texts';

/** Some of the probe's state; the component is drawn again only when that changes. */
export function useProbe<Part>(select: (state: ProbeState) => Part): Part {
  const [part, setPart] = useState(() => select(probe.state));
  const latest = useRef(select);
  latest.current = select;
  useEffect(() => {
    const update = (): void => setPart(latest.current(probe.state));
    update();
    return probe.onChange(update);
  }, []);
  return part;
}

export function useSettings(): Settings {
  const [state, setState] = useState(settings.state);
  useEffect(() => settings.onChange(() => setState(settings.state)), []);
  return state;
}

/** The probe's time when the last pass came, in seconds since the epoch. */
export function usePassTime(): number {
  return useProbe((state) => Math.floor(probeTime(state, state.passes.last ?? now()) / 60_000) * 60);
}

const noOutages: Outage[] = [];

/** The times in which the probe was off, as far as it tells. */
export function useOutages(): Outage[] {
  return useProbe((state) => state.history?.outages ?? noOutages);
}

/** The present moment, a few times a second. */
export function useNow(everyMs: number): number {
  const [moment, setMoment] = useState(now);
  useEffect(() => {
    const timer = setInterval(() => setMoment(now()), everyMs);
    return () => clearInterval(timer);
  }, [everyMs]);
  return moment;
}

export type Load<Value> = { kind: 'loading' } | { kind: 'empty' } | { kind: 'failed'; message: string } | { kind: 'ready'; value: Value };

const loading = { kind: 'loading' } as const;

/** The same with another value. */
export function mapped<Value, Other>(load: Load<Value>, to: (value: Value) => Other): Load<Other> {
  return load.kind === 'ready' ? { kind: 'ready', value: to(load.value) } : load;
}

/**
 * The newest message of a topic: at once the one that the probe has kept, then each new one. `decode` must be a function
 * of its own, outside the component. Without a filter nothing is asked for.
 */
export function useLive<Value>(
  topic: string,
  filter: Filter | null,
  kept: Record<string, string>,
  decode: (data: Json) => Value | null,
): Load<Value> {
  const key = JSON.stringify([topic, filter]);
  const [held, setHeld] = useState<{ key: string; load: Load<Value> }>({ key, load: loading });
  const isOpen = useProbe((state) => state.link.kind === 'open');
  useEffect(() => {
    if (!filter) return undefined;
    const take = (data: Json): void => {
      const value = decode(data);
      if (value !== null) setHeld({ key, load: { kind: 'ready', value } });
    };
    return probe.subscribe(topic, filter, take);
  }, [key]);
  useEffect(() => {
    if (!filter) return undefined;
    let isWanted = true;
    const fill = async (): Promise<void> => {
      const answer = await probe.ask(`live/${topic}`, kept, envelopeOf);
      if (!isWanted) return;
      const value = answer.kind === 'value' ? decode(answer.value.data) : null;
      setHeld((before) => {
        if (before.key === key && before.load.kind === 'ready') return before; // a newer one came over the websocket
        if (value !== null) return { key, load: { kind: 'ready', value } };
        return { key, load: failureOf(answer) };
      });
    };
    void fill();
    return () => {
      isWanted = false;
    };
  }, [key, isOpen]);
  return held.key === key ? held.load : loading;
}

function failureOf(answer: Answer<unknown>): Load<never> {
  if (answer.kind === 'value') return { kind: 'failed', message: t.http.badMessage };
  // What is too large to be kept for a question comes to those who subscribe, with the next pass.
  if (answer.code === 'nothing_yet' || answer.code === 'too_large') return { kind: 'empty' };
  return answer.status === 0 ? loading : { kind: 'failed', message: answer.message };
}

/** An answer over HTTP. Asked again when the arguments change, when the connection is back, and every so often. */
export function useAnswer<Value>(
  path: string,
  query: Record<string, string> | null,
  decode: (value: unknown) => Value | null,
  everyMs = 0,
  withPasses = false,
): Load<Value> {
  const key = JSON.stringify([path, query]);
  const [held, setHeld] = useState<{ key: string; load: Load<Value>; text: string }>({ key, load: loading, text: '' });
  const isOpen = useProbe((state) => state.link.kind === 'open');
  const pass = useProbe((state) => (withPasses ? state.pass : 0));
  useEffect(() => {
    if (!query) return undefined;
    let isWanted = true;
    const read = async (): Promise<void> => {
      const answer = await probe.ask(path, query, decode);
      if (!isWanted) return;
      const load: Load<Value> = answer.kind === 'value' ? { kind: 'ready', value: answer.value } : failureOf(answer);
      const text = JSON.stringify(load);
      // What was there stays when the probe is out of reach: the header says that it is old.
      // The same once more is not drawn once more.
      setHeld((before) => (before.key === key && (text === before.text || (answer.kind === 'error' && answer.status === 0)) ? before : { key, load, text }));
    };
    void read();
    const timer = everyMs > 0 ? setInterval(() => void read(), everyMs) : undefined;
    return () => {
      isWanted = false;
      clearInterval(timer);
    };
  }, [key, isOpen, everyMs, pass]);
  return held.key === key ? held.load : loading;
}

const everything = {};
/** They are asked for with each pass; before the first, and where passes are slow to come, now and then. */
const devicesEveryMs = 30_000;

/** The devices that the probe knows: some come and go while a page is open. */
export function useDevices(): Load<Device[]> {
  return useAnswer('devices', everything, decodeDevices, devicesEveryMs, true);
}

/** The same, with how those that answer SNMP are polled. */
export function useDeviceList(): Load<DeviceList> {
  return useAnswer('devices', everything, decodeDeviceList, devicesEveryMs, true);
}

const noPresences: Presences = new Map();

/** Changes only when a device comes or goes: charts are drawn again for that. */
export function usePresences(devices: Load<Device[]>): Presences {
  const held = useRef({ key: '', presences: noPresences });
  if (devices.kind !== 'ready') return held.current.presences;
  const key = JSON.stringify(devices.value.map(({ mac, online, measured, absences }) => [mac, online || measured, absences]));
  if (held.current.key !== key) held.current = { key, presences: presencesOf(devices.value) };
  return held.current.presences;
}

export interface Navigation {
  route: Route;
  /** Changes some values of the page; a small change takes the place of the one before in the browser's history. */
  change: (values: Record<string, string>, isSmall?: boolean) => void;
}

export function useRoute(): Navigation {
  const [route, setRoute] = useState(() => parseRoute(location.hash));
  useEffect(() => {
    const update = (): void => setRoute(parseRoute(location.hash));
    window.addEventListener('hashchange', update);
    return () => window.removeEventListener('hashchange', update);
  }, []);
  const change = useCallback((values: Record<string, string>, isSmall = false) => {
    const before = parseRoute(location.hash);
    const hash = formatRoute({ page: before.page, values: { ...before.values, ...values } });
    if (hash === location.hash) return;
    if (isSmall) history.replaceState(null, '', hash);
    else history.pushState(null, '', hash);
    setRoute(parseRoute(hash));
  }, []);
  return useMemo(() => ({ route, change }), [route, change]);
}

/** Changes when the colours do. */
export function useColourScheme(): string {
  const query = useMemo(() => window.matchMedia('(prefers-color-scheme: dark)'), []);
  const read = (): string => document.documentElement.dataset['theme'] ?? (query.matches ? 'dark' : 'light');
  const [scheme, setScheme] = useState(read);
  useEffect(() => {
    const update = (): void => setScheme(read());
    const observer = new MutationObserver(update);
    observer.observe(document.documentElement, { attributes: true, attributeFilter: ['data-theme'] });
    query.addEventListener('change', update);
    return () => {
      observer.disconnect();
      query.removeEventListener('change', update);
    };
  }, [query]);
  return scheme;
}
