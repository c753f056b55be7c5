// A device that is offline looks offline on every page: the probe goes on repeating its newest figures.

import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { agree, openBrowser, pageForEach, type Watched } from './browser';
import { bodyOf, minuteText, samplesShown, timeText, trafficOf } from './figures';
import { type Json, ProbeProcess, simulated } from './probe';

interface Device {
  mac: string;
  hostname: string;
  online: boolean;
  wireless: boolean;
  measured: number | null;
  absences: { from: number; to: number }[];
}

let probe: ProbeProcess;
let browser: Browser;
let watched: Watched;
let page: Page;
/** What the page is told of the one device in place of what the probe tells. */
let told: Partial<Device>;
let mac = '';
let hostname = '';

const devicesOf = async (): Promise<Device[]> => (await probe.get('/api/v1/devices'))['devices'] as Device[];

beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
  const { data } = await probe.await('/api/v1/live/DevicesClientCountMonitor?interval=1m', (answer) => JSON.stringify(answer).includes('"count"'));
  const current = (data as Record<string, Json>)['1m']?.['current_devices_counts'] as Record<string, Record<string, { count: number }>>;
  mac = Object.keys(current).find((one) => Object.values(current[one] ?? {}).some(({ count }) => count > 0)) ?? '';
  hostname = (await devicesOf()).find((one) => one.mac === mac)?.hostname ?? '';
  await probe.await('/api/v1/live/TrafficMonitor?interval=1m', (answer) => {
    const view = (answer['data'] as Record<string, Json>)['1m']?.['traffic_data'] as Record<string, Record<string, { traffic: unknown[] }>>;
    return Object.values(view[mac] ?? {}).some(({ traffic }) => traffic.length > 6);
  });
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});
pageForEach(() => ({ browser, url: probe.url }), async (one) => {
  watched = one;
  told = {};
  page = watched.page;
  await page.route('**/api/v1/devices', async (route) => {
    const answer = await probe.get('/api/v1/devices').catch(() => null);
    if (!answer) return route.abort();
    const devices = (answer['devices'] as Device[]).map((one) => (one.mac === mac ? { ...one, ...told } : { ...one, online: true, absences: [] }));
    return route.fulfill({ json: { ...answer, devices } });
  });
});

/** The busiest interface of the device, and the times of its samples. */
async function interfaceOf(): Promise<{ name: string; times: number[] }> {
  const traffic = Object.entries(await trafficOf(probe, mac, '1m')).sort(([, a], [, b]) => b.traffic.length - a.traffic.length);
  return { name: traffic[0]?.[0] ?? '', times: traffic[0]?.[1].traffic.map((one) => one.time) ?? [] };
}

test('its line ends when it was measured last, and says since when', async () => {
  const { name, times } = await interfaceOf();
  const last = times.at(-4) ?? 0;
  told = { online: false, measured: last * 60 + 20 };
  await page.goto(`${probe.url}/#/traffic?device=${mac}&interface=${encodeURIComponent(name)}`);
  await page.locator('.offline-note').waitFor();
  expect(await page.locator('.offline-note').textContent()).toContain(`offline since ${timeText(last)}`);
  await page.locator('[data-interface] details summary').click();
  const shown = async (): Promise<string> => (await samplesShown(page, name)).at(-1)?.[0] ?? '';
  await expect.poll(shown).toBe(minuteText(last));
  await page.locator('[data-interface] .marks').getByText(`The device is offline since ${timeText(last)}`).waitFor();
  expect(await page.locator('[data-interface] .u-under .away').count()).toBe(1);
  expect(await page.locator('tbody .stale').count()).toBeGreaterThan(1);
  const spark = page.locator('.spark').first();
  expect(await spark.locator('rect.away').count()).toBe(1);
});

test('that is back has a gap in its line', async () => {
  const { name, times } = await interfaceOf();
  const [from, to] = [times.at(-5) ?? 0, times.at(-2) ?? 0];
  told = { online: true, absences: [{ from: from * 60 + 20, to: to * 60 + 20 }] };
  await page.goto(`${probe.url}/#/traffic?device=${mac}&interface=${encodeURIComponent(name)}`);
  await page.locator('[data-interface] .marks').getByText('The device was offline').waitFor();
  await page.locator('[data-interface] details summary').click();
  const shown = new Set((await samplesShown(page, name)).map(([time]) => time));
  expect([from, from + 1, to - 1, to].map((minute) => shown.has(minuteText(minute)))).toEqual([true, false, false, true]);
  expect(await page.locator('.offline-note').count()).toBe(0);
});

test('is in no tile and no sum of the overview, and needs attention, as soon as a pass has come', async () => {
  await page.goto(`${probe.url}/#/overview`);
  const row = page.locator(`tr[data-key="${mac}"]`);
  const badge = row.locator('.badge');
  await row.waitFor();
  await expect.poll(() => badge.textContent()).not.toBe('Offline');
  const measured = Number((await devicesOf()).find((one) => one.mac === mac)?.measured);
  told = { online: false, measured };
  await expect.poll(() => badge.textContent()).toBe('Offline'); // within ten seconds, not thirty
  expect(await row.locator('td[data-column=state]').textContent()).toContain(`since ${timeText(measured / 60)}`);
  expect(await row.locator('.stale').count()).toBeGreaterThanOrEqual(4);
  expect(await page.locator(`[data-concern="${mac}"]`).textContent()).toContain(`${hostname}offline since ${timeText(measured / 60)}`);
  const tile = async (): Promise<string> => page.locator('[data-tile=clients]').evaluate((data) => (data as HTMLDataElement).value);
  const others = async (): Promise<string> => {
    const status = ((await probe.get('/api/v1/live/HealthMonitor'))['data'] as Json)['status'] as { device: string; clients?: { value: number } }[];
    return String(status.filter((one) => one.device !== mac).reduce((sum, one) => sum + (one.clients?.value ?? 0), 0));
  };
  await agree(tile, others);
  told = {};
  await expect.poll(() => badge.textContent()).not.toBe('Offline');
});

test('its clients are in no sum of the clients’ page', async () => {
  told = { online: false, measured: Number((await devicesOf()).find((one) => one.mac === mac)?.measured) };
  await page.goto(`${probe.url}/#/clients`);
  await page.locator('[data-offline="1"]').waitFor();
  const card = (title: string) => page.locator('section').filter({ has: page.getByRole('heading', { name: title, exact: true }) });
  const sums = async (): Promise<number[]> => Promise.all(['Devices now', 'Networks now'].map(async (title) => Number(await card(title).locator('.card-head data').evaluate((data) => (data as HTMLDataElement).value))));
  const expected = async (): Promise<number[]> => {
    const { current_devices_counts: current } = await bodyOf(probe, 'DevicesClientCountMonitor', '1m');
    const sum = Object.entries(current as Record<string, Record<string, { count: number }>>).filter(([one]) => one !== mac)
      .flatMap(([, ssids]) => Object.values(ssids)).reduce((all, { count }) => all + count, 0);
    return [sum, sum];
  };
  await agree(sums, expected);
  expect(await card('Devices now').getByText('offline since').count()).toBeGreaterThan(0);
});

test('the top says since when it is offline', async () => {
  const measured = Number((await devicesOf()).find((one) => one.mac === mac)?.measured);
  told = { online: false, measured };
  await page.goto(`${probe.url}/#/top?count=50`);
  const entry = page.locator(`[data-ranking=access-points] li[data-key="${mac}"]`);
  await entry.getByText(`offline since ${timeText(measured / 60)}`).waitFor();
  expect(await entry.locator('.stale').count()).toBe(1);
  expect(await page.locator('[data-ranking=access-points] .stale').count()).toBe(1);
});

test('the page of the device dates its figures', async () => {
  told = { online: false, measured: Number((await devicesOf()).find((one) => one.mac === mac)?.measured) };
  await page.goto(`${probe.url}/#/device?device=${mac}`);
  await page.locator('.offline-note').waitFor();
  await page.locator('[data-part=interfaces] .stale').first().waitFor();
  await page.locator('[data-part=networks] .stale').first().waitFor();
  expect(await page.locator('.facts .stale').count()).toBeGreaterThan(2);
});
