// What the probe really answers is what docs/openapi.yaml and docs/schemas/ say.

import { afterAll, beforeAll, expect, test } from 'vitest';
import { type Json, ProbeProcess, simulated } from './probe';
import { openapi, violationsOf } from './schemas';

const escaped = (part: string): string => encodeURIComponent(part.replaceAll('~', '~0').replaceAll('/', '~1'));

/** What is wrong with an answer of this path and status; empty: nothing. */
function violations(path: string, status: number, answer: unknown): unknown[] {
  const responses = openapi.paths[path]?.get.responses ?? {};
  const key = String(status) in responses ? String(status) : 'default';
  let place = `#/paths/${escaped(path)}/get/responses/${key}`;
  const reference = responses[key]?.['$ref'];
  if (typeof reference === 'string') place = reference;
  return violationsOf(`openapi.yaml${place}/content/${escaped('application/json')}/schema`, answer);
}

let probe: ProbeProcess;
const period: Record<string, string> = {};
beforeAll(async () => {
  probe = await ProbeProcess.start(simulated);
  for (const report of ['clients', 'networks']) {
    const periods = await probe.await(`/api/reports/${report}/periods`, (answer) => (answer['daily'] as string[]).length > 0);
    period[report] = (periods['daily'] as string[])[0] ?? '';
  }
  await probe.await('/api/live/wireless_top_monitor');
});
afterAll(() => probe.stop());

const concrete = async (path: string): Promise<string> => {
  const report = /reports\/(\w+)$/.exec(path)?.[1];
  if (report) return `${path}?type=daily&period=${period[report]}`;
  if (path !== '/api/traffic') return path.replace('{topic}', 'HealthMonitor');
  const view = ((await probe.get('/api/live/TrafficMonitor?interval=1m'))['data'] as Record<string, Record<string, Json>>)['1m'];
  const [mac, device] = Object.entries(view?.['traffic_data'] ?? {})[0] ?? ['', {}];
  return `${path}?mac=${mac}&interface=${encodeURIComponent(Object.keys(device as Json)[0] ?? '')}`;
};

test.each(Object.keys(openapi.paths))('%s answers as it is described', async (path) => {
  const target = await concrete(path);
  const response = await probe.answer(target);
  expect(response.status).toBe(200);
  expect(response.headers.get('content-type')).toBe('application/json');
  expect(violations(path, 200, await response.json())).toEqual([]);
  const headers = Object.keys((openapi.paths[path]?.get.responses['200']?.['headers'] ?? {}) as Json);
  const tag = response.headers.get('etag');
  if (headers.includes('Cache-Control')) expect(response.headers.get('cache-control')).toBe('no-store');
  else expect(tag).toMatch(/^".+"$/);
  expect((await probe.answer(target, { 'sec-fetch-site': 'cross-site' })).status).toBe(path === '/healthz' ? 200 : 403);
});

test('the description refuses what is no answer', () => {
  expect(violations('/api/devices', 200, { devices: [{ mac: 'x' }] })).not.toEqual([]);
  expect(violations('/api/reports/clients', 200, { wireless_clients: [] })).not.toEqual([]);
  expect(violations('/api/status', 404, { error: { code: 'unheard_of', message: 'x' } })).not.toEqual([]);
});

test('a message is kept by its tag until it changes', async () => {
  const tag = (await probe.answer('/api/devices')).headers.get('etag') ?? '';
  const again = await probe.answer('/api/devices', { 'if-none-match': tag });
  if (again.headers.get('etag') === tag) expect(again.status).toBe(304);
  else expect(again.status).toBe(200); // a device has changed between the two
});

test.each([
  ['/api/reports/clients', '/api/reports/clients', 400],
  ['/api/reports/clients?type=daily&period=1999-01-01', '/api/reports/clients', 404],
  ['/api/reports/networks?type=hourly&period=1', '/api/reports/networks', 400],
  ['/api/live/Nobody', '/api/live/{topic}', 404],
  ['/api/live/TrafficMonitor?interval=7m', '/api/live/{topic}', 400],
  ['/api/traffic?mac=x&interface=y', '/api/traffic', 404],
  ['/api/nothing', '/api/status', 404],
])('%s is refused as it is described', async (target, path, status) => {
  const response = await probe.answer(target);
  expect(response.status).toBe(status);
  expect(violations(path, status, await response.json())).toEqual([]);
});

test.each([
  ['HealthMonitor', 'health_monitor'],
  ['TrafficMonitor?interval=1m', 'traffic_monitor'],
  ['SSIDClientCountMonitor?interval=1m', 'ssid_client_count_monitor'],
  ['DevicesClientCountMonitor?interval=1m', 'devices_client_count_monitor'],
  ['wireless_top_monitor?orderby=out', 'wireless_top_monitor'],
])('the kept message of %s follows %s', async (target, schema) => {
  expect(violationsOf(`schemas/${schema}.json`, await probe.get(`/api/live/${target}`))).toEqual([]);
});
