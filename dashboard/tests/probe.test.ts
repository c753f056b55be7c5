// How often the page asks for the status: often while the journal is read, seldom afterwards.

import { afterEach, beforeEach, expect, test, vi } from 'vitest';
import { Probe } from '../src/state/probe';

class FakeSocket {
  static newest: FakeSocket;
  onopen: (() => void) | null = null;
  onmessage: ((event: { data: unknown }) => void) | null = null;
  onclose: (() => void) | null = null;
  constructor() {
    FakeSocket.newest = this;
  }
  send(): void {}
  close(): void {}
  pass(): void {
    this.onmessage?.({ data: JSON.stringify({ name: 'HealthMonitor', data: { status: [] } }) });
  }
}

let asked = 0;
let history: Record<string, unknown> | undefined;
let last: number | null = null;
let isReachable = true;

beforeEach(() => {
  vi.useFakeTimers({ toFake: ['setTimeout', 'clearTimeout', 'performance'] });
  [asked, history, last, isReachable] = [0, undefined, 1000, true];
  vi.stubGlobal('WebSocket', FakeSocket);
  vi.stubGlobal('location', { protocol: 'http:', host: 'probe' });
  vi.stubGlobal('window', { addEventListener: () => undefined });
  vi.stubGlobal('fetch', (path: string) => {
    expect(path).toBe('/api/v1/status');
    asked += 1;
    if (!isReachable) return Promise.reject(new Error('nobody there'));
    const status = { version: '', now: 90_000_000, speed: 1, passes: { period: 60, last }, topics: [], history };
    return Promise.resolve(new Response(JSON.stringify(status)));
  });
});
afterEach(() => {
  vi.useRealTimers();
  vi.unstubAllGlobals();
});

const settle = (ms = 0): Promise<unknown> => vi.advanceTimersByTimeAsync(ms);
const warming = { state: 'warming', share: 0.5, seconds_left: 3, known_since: 60, outages: [], journal: 'on' };
const ready = { state: 'ready', known_since: 60, outages: [], journal: 'on' };

async function opened(): Promise<Probe> {
  const probe = new Probe();
  probe.start();
  await settle();
  FakeSocket.newest.onopen?.();
  await settle();
  return probe;
}

test('asks every second while the journal is read, and no more when it has been', async () => {
  history = warming;
  const probe = await opened();
  expect(probe.state).toMatchObject({ link: { kind: 'open' }, history: warming });
  const before = asked;
  await settle(5000);
  expect(asked - before).toBe(5);
  history = ready;
  await settle(1000);
  expect(probe.state.history).toEqual(ready);
  const after = asked;
  await settle(60_000);
  expect(asked).toBe(after);
});

test('takes the journal’s last pass for none, and asks again when the first one has come', async () => {
  history = warming;
  const probe = await opened();
  expect(probe.state.passes.last).toBeNull();
  history = ready;
  await settle(1000);
  expect(probe.state.passes.last).toBeNull();
  const outages = [{ from: 1000, to: 89_000 }];
  history = { ...ready, outages };
  last = 90_000;
  FakeSocket.newest.pass();
  await settle(2000);
  expect(probe.state.history?.outages).toEqual(outages);
  expect(probe.state.passes.last).not.toBeNull();
});

test('hears of a journal that fails within half a minute and a pass', async () => {
  history = ready;
  const probe = await opened();
  history = { ...ready, journal: 'failing' };
  const before = asked;
  for (let second = 0; second < 40; ++second) {
    FakeSocket.newest.pass();
    await settle(1000);
  }
  expect(probe.state.history?.journal).toBe('failing');
  expect(asked - before).toBe(1);
});

test('knows that the journal is read before pages hear that the probe is back', async () => {
  history = ready;
  const probe = await opened();
  const seen: (string | undefined)[] = [];
  probe.onChange(() => seen.push(`${probe.state.link.kind} ${probe.state.history?.state}`));
  isReachable = false;
  FakeSocket.newest.onclose?.();
  await settle();
  expect(seen.at(-1)).toBe('waiting ready');
  [isReachable, history] = [true, warming];
  probe.retryNow();
  FakeSocket.newest.onopen?.();
  await settle();
  expect(seen).toContain('open warming');
  expect(seen).not.toContain('open ready');
});

test('without a journal asks as ever: when the link changes', async () => {
  const probe = await opened();
  expect(probe.state).toMatchObject({ history: null, link: { kind: 'open' } });
  expect(probe.state.passes.last).not.toBeNull();
  const before = asked;
  for (let second = 0; second < 90; ++second) {
    FakeSocket.newest.pass();
    await settle(1000);
  }
  expect(asked).toBe(before);
});

test('a probe out of reach keeps pages from waiting for its status', async () => {
  isReachable = false;
  const probe = new Probe();
  probe.start();
  expect(probe.state.history).toBeUndefined();
  await settle();
  expect(probe.state.history).toBeNull();
});
