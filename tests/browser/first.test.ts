// Before there are figures, where there are none, and where there are very many.

import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { openBrowser, pageForEach, type Watched } from './browser';
import { gatewayOf } from './figures';
import { type Json, ProbeProcess, simulated } from './probe';

let probe: ProbeProcess;
let browser: Browser;
let watched: Watched;
let page: Page;

beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
  await probe.await('/api/v1/live/TrafficMonitor?interval=1m', (answer) => JSON.stringify(answer).includes('"input"'));
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});
pageForEach(() => ({ browser, url: probe.url }), (one) => {
  watched = one;
  page = watched.page;
});

const refusal = (code: string): { status: number; json: Json } => ({ status: 404, json: { error: { code, message: 'no' } } });

/** Nothing comes over the websocket: what the page shows is what this test tells. */
const silence = (): Promise<void> => page.routeWebSocket(/.*/, () => undefined);

test('before the first pass nothing is claimed, but how long it has been waited for', async () => {
  await silence();
  await page.route('**/api/v1/status', async (route) => {
    const status = await probe.get('/api/v1/status');
    await route.fulfill({ json: { ...status, passes: { period: 60, last: null } } });
  });
  await page.route('**/api/v1/live/**', (route) => route.fulfill(refusal('nothing_yet')));
  await page.goto(`${probe.url}/#/overview`);
  await expect.poll(() => page.locator('tbody tr').count()).toBe(9);
  expect(await page.locator('[data-tile]').evaluateAll((tiles) => tiles.map((tile) => (tile as HTMLElement).dataset['tile']))).toEqual(['devices']);
  expect(await page.locator('.tile .waiting').first().textContent()).toMatch(/^waiting, \d+:\d\d$/);
  expect(await page.locator('.tiles .good, .concerns').count()).toBe(0);
  await page.goto(`${probe.url}/#/top`);
  await page.getByText('Nothing yet').waitFor();
});

test('an empty network says what to do next, and looks neither good nor bad', async () => {
  await silence();
  await page.route('**/api/v1/devices', (route) => route.fulfill({ json: { devices: [] } }));
  await page.route('**/api/v1/live/HealthMonitor', (route) => route.fulfill({ json: { name: 'HealthMonitor', data: { name: 'HealthMonitor', status: [] } } }));
  for (const hash of ['overview', 'traffic', 'device']) {
    await page.goto(`${probe.url}/#/${hash}`);
    await page.getByText('[[sources.snmp.devices]]').waitFor();
    expect(await page.locator('.tiles .good, .tiles .bad').count()).toBe(0);
  }
});

test('what never loaded does not say that it is loading when the probe is out of reach', async () => {
  await page.routeWebSocket(/.*/, (socket) => void socket.close());
  await page.route('**/api/v1/live/**', (route) => route.abort());
  await page.goto(`${probe.url}/#/top`);
  await page.getByText('Nothing was loaded').waitFor();
  expect(await page.locator('.loading').count()).toBe(0);
});

test('messages that are too large to be kept are waited for', async () => {
  await page.route('**/api/v1/live/TrafficMonitor**', (route) => route.fulfill(refusal('too_large')));
  await page.goto(`${probe.url}/#/traffic?device=${await gatewayOf(probe)}`);
  await page.locator('[data-interface] canvas').waitFor({ timeout: 20_000 });
  expect(await page.getByText('This cannot be shown').count()).toBe(0);
});

test('one of five hundred devices is found by its name', async () => {
  const { devices } = (await probe.get('/api/v1/devices')) as { devices: Json[] };
  const many = Array.from({ length: 500 }, (_, i) => ({ ...devices[0], mac: `02:00:00:00:${Math.floor(i / 256).toString(16).padStart(2, '0')}:${(i % 256).toString(16).padStart(2, '0')}`.toUpperCase(), hostname: `device-${i}` }));
  await page.route('**/api/v1/devices', (route) => route.fulfill({ json: { devices: many } }));
  await page.goto(`${probe.url}/#/traffic`);
  const field = page.getByRole('combobox', { name: 'Device' });
  await field.fill('device-417');
  await expect.poll(() => page.locator('datalist option').evaluateAll((all) => all.map((one) => (one as HTMLOptionElement).value))).toEqual(['device-417 (02:00:00:00:01:A1)']);
  await field.fill('device-417 (02:00:00:00:01:A1)');
  await page.getByRole('heading', { name: 'Traffic of device-417' }).waitFor();
  for (const width of [1280, 360]) {
    await page.setViewportSize({ width, height: 800 });
    expect(await field.evaluate((input) => input.scrollWidth - input.clientWidth), `name and address are cut at ${width} pixels`).toBeLessThanOrEqual(0);
  }
  expect(page.url()).toContain('device=02%3A00%3A00%3A00%3A01%3AA1');
});

test('of hundreds of lines the ten largest are drawn, and others are found by name', async () => {
  await silence();
  const minute = 29_920_000;
  const series = Object.fromEntries(Array.from({ length: 417 }, (_, i) => [`net-${i}`, { [minute]: i, [minute + 1]: i }]));
  const body = { '1m': { ssids_clients_counts: { ...series, ssid_client_count_all: { [minute]: 5, [minute + 1]: 5 } }, current_ssid_clients_counts: {}, sid: ['latest'] } };
  await page.route('**/api/v1/live/SSIDClientCountMonitor**', (route) => route.fulfill({ json: { name: 'SSIDClientCountMonitor', data: body } }));
  await page.goto(`${probe.url}/#/clients`);
  const lines = page.getByRole('group', { name: 'Lines of Clients by network' });
  const offered = async (): Promise<string[]> => lines.locator('.legend bdi').allTextContents();
  await expect.poll(offered).toEqual(Array.from({ length: 10 }, (_, i) => `net-${407 + i}`));
  // The sum of all of them would make each a flat line: it is drawn when it is asked for.
  const drawn = async (): Promise<string[]> => page.locator('section', { has: lines }).locator('.readout bdi').allTextContents();
  expect(await drawn()).not.toContain('All');
  const looks = await page.locator('section', { has: lines }).locator('.readout path').evaluateAll((keys) => keys.map((key) => `${key.getAttribute('stroke')} ${key.getAttribute('stroke-dasharray')}`));
  expect(new Set(looks).size).toBe(10);
  await lines.getByRole('checkbox', { name: 'All' }).check();
  await expect.poll(drawn).toContain('All');
  await lines.getByPlaceholder('Search 417 lines').fill('net-123');
  await expect.poll(offered).toEqual(['net-123']);
  await lines.getByRole('checkbox', { name: 'net-123' }).check();
  await lines.getByPlaceholder('Search 417 lines').fill('');
  await expect.poll(async () => (await offered()).includes('net-123')).toBe(true);
  await lines.getByRole('button', { name: 'None' }).click();
  await expect.poll(offered).toEqual([]);
});
