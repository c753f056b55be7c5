// What the probe really answers is what docs/openapi.yaml and docs/schemas/ say.

import { afterAll, beforeAll, expect, test } from 'vitest';
import { type Json, ProbeProcess, simulated } from './probe';
import { document, openapi, resolved, schemaFiles, violationsOf } from './schemas';

const escaped = (part: string): string => encodeURIComponent(part.replaceAll('~', '~0').replaceAll('/', '~1'));

/** What is wrong with an answer of this path and status; empty: nothing. */
function violations(path: string, status: number, answer: unknown): unknown[] {
  const responses = openapi.paths[path]?.get.responses ?? {};
  const key = String(status) in responses ? String(status) : 'default';
  let place = `#/paths/${escaped(path)}/get/responses/${key}`;
  const reference = responses[key]?.['$ref'];
  if (typeof reference === 'string') place = reference;
  return violationsOf(`openapi.yaml${place}/content/${escaped(status < 400 ? 'application/json' : 'application/problem+json')}/schema`, answer);
}

let probe: ProbeProcess;
const period: Record<string, string> = {};
beforeAll(async () => {
  probe = await ProbeProcess.start(simulated);
  for (const report of ['clients', 'networks']) {
    const periods = await probe.await(`/api/v1/reports/${report}/periods`, (answer) => (answer['daily'] as string[]).length > 0);
    period[report] = (periods['daily'] as string[])[0] ?? '';
  }
  await probe.await('/api/v1/live/wireless_top_monitor');
});
afterAll(() => probe.stop());

const accessPoint = async (): Promise<string> => {
  const devices = (await probe.get('/api/v1/devices'))['devices'] as { mac: string; type: string }[];
  return devices.find(({ type }) => type === 'AccessPoint')?.mac ?? '';
};

const concrete = async (path: string): Promise<string> => {
  const report = /reports\/(\w+)$/.exec(path)?.[1];
  if (report) return `${path}?type=daily&period=${period[report]}`;
  if (/radios|ports|neighbours/.test(path)) return `${path}?mac=${await accessPoint()}`;
  if (path !== '/api/v1/traffic') return path.replace('{topic}', 'HealthMonitor').replace('{name}', 'ports.json');
  const view = ((await probe.get('/api/v1/live/TrafficMonitor?interval=1m'))['data'] as Record<string, Record<string, Json>>)['1m'];
  const [mac, device] = Object.entries(view?.['traffic_data'] ?? {})[0] ?? ['', {}];
  return `${path}?mac=${mac}&interface=${encodeURIComponent(Object.keys(device as Json)[0] ?? '')}`;
};

/** What programs read as JSON: /metrics is a text, and has tests of its own. */
const jsonPaths = Object.entries(openapi.paths).filter(([, { get }]) => 'application/json' in ((get.responses['200']?.['content'] ?? {}) as Json)).map(([path]) => path);

test('all answers but one are JSON', () => {
  expect(Object.keys(openapi.paths).filter((path) => !jsonPaths.includes(path))).toEqual(['/metrics']);
});

test.each(jsonPaths)('%s answers as it is described', async (path) => {
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
  expect(violations('/api/v1/devices', 200, { devices: [{ mac: 'x' }] })).not.toEqual([]);
  expect(violations('/api/v1/reports/clients', 200, { wireless_clients: [] })).not.toEqual([]);
  expect(violations('/api/v1/status', 404, { type: 'about:blank', title: 'x', status: 404, detail: 'x', error: { code: 'unheard_of', message: 'x' } })).not.toEqual([]);
});

test('what has not changed is not sent again', async () => {
  const first = await probe.answer('/api/v1/schemas/ports.json');
  const text = await first.text();
  const tag = first.headers.get('etag') ?? '';
  const again = await probe.answer('/api/v1/schemas/ports.json', { 'if-none-match': tag });
  expect([again.status, again.headers.get('etag'), await again.text()]).toEqual([304, tag, '']);
  const changed = await probe.answer('/api/v1/schemas/ports.json', { 'if-none-match': '"another"' });
  expect([changed.status, changed.headers.get('etag'), await changed.text()]).toEqual([200, tag, text]);
});

test('the tag of devices changes with them', async () => {
  const texts = new Map<string, string>();
  for (let tag = ''; texts.size < 3; ) {
    const answer = await probe.answer('/api/v1/devices', { 'if-none-match': tag });
    const text = await answer.text();
    if (answer.status === 304) {
      expect([answer.headers.get('etag'), text]).toEqual([tag, '']);
      continue;
    }
    expect(answer.status).toBe(200);
    expect([...texts.values()]).not.toContain(text);
    tag = answer.headers.get('etag') ?? '';
    expect([...texts.keys()]).not.toContain(tag);
    texts.set(tag, text);
  }
});

test.each([
  ['/api/v1/reports/clients', '/api/v1/reports/clients', 400, 'missing_argument'],
  ['/api/v1/reports/clients?type=daily&period=1999-01-01', '/api/v1/reports/clients', 404, 'unknown_period'],
  ['/api/v1/reports/networks?type=hourly&period=1', '/api/v1/reports/networks', 400, 'unknown_type'],
  ['/api/v1/live/Nobody', '/api/v1/live/{topic}', 404, 'unknown_topic'],
  ['/api/v1/live/TrafficMonitor?interval=7m', '/api/v1/live/{topic}', 400, 'unknown_filter'],
  ['/api/v1/traffic?mac=x&interface=y', '/api/v1/traffic', 400, 'invalid_mac'],
  ['/api/v1/traffic?mac=02:19:56:00:00:01&interface=y', '/api/v1/traffic', 404, 'unknown_interface'],
  ['/api/v1/ports', '/api/v1/ports', 400, 'missing_argument'],
  ['/api/v1/radios?mac=x', '/api/v1/radios', 400, 'invalid_mac'],
  ['/api/v1/neighbours', '/api/v1/neighbours', 400, 'missing_argument'],
  ['/api/v1/clients?mac=02:00:00:00:00:99', '/api/v1/clients', 404, 'unknown_device'],
  ['/api/v1/schemas/x', '/api/v1/schemas/{name}', 404, 'unknown_schema'],
  ['/api/v1/nothing', '/api/v1/status', 404, 'not_found'],
])('%s is refused as it is described', async (target, path, status, code) => {
  const response = await probe.answer(target);
  expect(response.status).toBe(status);
  expect(response.headers.get('content-type')).toBe('application/problem+json');
  const problem = (await response.json()) as Json;
  expect(violations(path, status, problem)).toEqual([]);
  expect((problem['error'] as Json)['code']).toBe(code);
  if (code === 'not_found') {
    expect(problem['type']).toBe('about:blank');
    return;
  }
  const [file = '', place = ''] = (problem['type'] as string).split('#');
  const explained = (resolved(await probe.get(file), `#${place}`) as Json)['description'];
  expect(place).toBe(`/definitions/${code}`);
  expect(explained).toMatch(new RegExp(`^${status}: .+`));
});

test('the description that is served is the one for people', async () => {
  expect(await probe.get('/api/v1/openapi.json')).toEqual(openapi);
  for (const name of schemaFiles) expect(await probe.get(`/api/v1/schemas/${name}`)).toEqual(JSON.parse(document(`schemas/${name}`)));
  expect(await probe.get('/api/openapi.json')).toEqual(openapi);
});

test('every code of an error is explained, or says no more than its status', () => {
  const schema = JSON.parse(document('schemas/problem.json')) as Json;
  const codes = resolved(schema, '#/properties/error/properties/code/enum') as string[];
  const ofStatus = ['bad_request', 'error', 'forbidden', 'header_too_large', 'internal_error', 'method_not_allowed', 'misdirected', 'not_found', 'not_implemented', 'timeout', 'too_many_requests', 'unauthorized', 'unavailable', 'upgrade_required', 'uri_too_long', 'version_not_supported'];
  expect([...Object.keys(schema['definitions'] as Json), ...ofStatus].sort()).toEqual([...codes].sort());
});

test('the message of one device tells of no other', async () => {
  const mac = await accessPoint();
  const message = await probe.get(`/api/v1/live/TrafficMonitor?interval=1m&mac=${mac}`);
  expect(violationsOf('schemas/traffic_monitor.json', message)).toEqual([]);
  expect(Object.keys(((message['data'] as Json)['1m'] as Json)['traffic_data'] as Json)).toEqual([mac]);
  const health = await probe.get(`/api/v1/live/HealthMonitor?mac=${mac}`);
  expect(((health['data'] as Json)['status'] as { device: string }[]).map(({ device }) => device)).toEqual([mac]);
});

test('as many notifications are open as the health message counts', async () => {
  const told = (await probe.get('/api/v1/live/HealthMonitor'))['data'] as { status: { device: string }[] };
  let seen = 0;
  for (const { device } of told.status) {
    // One is as of the last pass, the other as of now: they agree at some time.
    await expect.poll(async () => {
      const all = (await probe.get(`/api/v1/notifications?mac=${device}`))['notifications'] as { severity: string; until: number | null }[];
      const open: Record<string, number> = { alert: 0, warning: 0, info: 0 };
      for (const { severity, until } of all) if (until === null) open[severity] = (open[severity] ?? 0) + 1;
      const [health] = ((await probe.get(`/api/v1/live/HealthMonitor?mac=${device}`))['data'] as { status: { notification: Json }[] }).status;
      seen += all.filter(({ until }) => until === null).length;
      return [open, health?.notification].map((counts) => JSON.stringify(counts, ['alert', 'warning', 'info'])).join();
    }, { timeout: 20_000 }).toMatch(/^(.+),\1$/);
  }
  expect(seen).toBeGreaterThan(0);
}, 60_000);

test('a large answer is compressed for those who take it', async () => {
  const large = await probe.answer('/api/v1/openapi.json', { 'accept-encoding': 'gzip' });
  expect(large.headers.get('content-encoding')).toBe('gzip');
  expect(large.headers.get('etag')).toMatch(/-gzip"$/);
  const plain = await probe.answer('/api/v1/openapi.json', { 'accept-encoding': 'gzip;q=0' });
  expect(plain.headers.get('content-encoding')).toBeNull();
  expect(await large.json()).toEqual(await plain.json());
});

test('reports tell the time zone in which they are meant', async () => {
  const { time_zone: zone } = await probe.get('/api/v1/status');
  expect(zone).toEqual({ name: 'UTC', offset: 0 });
  for (const path of ['/api/v1/reports/clients/periods', await concrete('/api/v1/reports/clients'), await concrete('/api/v1/reports/networks')]) {
    const { headers } = await probe.answer(path);
    expect(headers.get('vexora-time-zone')).toBe('UTC');
    expect(headers.get('vexora-utc-offset')).toBe('0');
  }
});

test.each([
  ['HealthMonitor', 'health_monitor'],
  ['TrafficMonitor?interval=1m', 'traffic_monitor'],
  ['SSIDClientCountMonitor?interval=1m', 'ssid_client_count_monitor'],
  ['DevicesClientCountMonitor?interval=1m', 'devices_client_count_monitor'],
  ['wireless_top_monitor?orderby=out', 'wireless_top_monitor'],
])('the kept message of %s follows %s', async (target, schema) => {
  expect(violationsOf(`schemas/${schema}.json`, await probe.get(`/api/v1/live/${target}`))).toEqual([]);
});
