// A probe that keeps a journal: pages while it is read, charts with the times in which the probe was off.
// What the probe tells of its journal is made up here, all the rest is real.

import axe from 'axe-core';
import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { closeContext, openBrowser, openPage, pageForEach, type Watched } from './browser';
import { dayText, gatewayOf, minuteText, timeText, trafficOf } from './figures';
import { type Json, ProbeProcess, simulated } from './probe';

const pages = ['overview', 'traffic', 'clients', 'clients-now', 'top', 'client-report', 'guest-report', 'network-report'];
const warming = { state: 'warming', share: 0.428, seconds_left: 8, known_since: Date.UTC(2026, 9, 22, 9, 5) / 1000, outages: [], journal: 'on' };
const ready = { state: 'ready', known_since: warming.known_since, outages: [], journal: 'on' };

let probe: ProbeProcess;
let browser: Browser;
let watched: Watched;
let page: Page;
let asked = 0;
let history: Json;

/** Has the page hear of this journal, and everything else from the probe. */
async function stubStatus(of: Page, from: ProbeProcess): Promise<void> {
  await of.route('**/api/v1/status', async (route) => {
    asked += 1;
    const status = await from.get('/api/v1/status').catch(() => null);
    await (status ? route.fulfill({ json: { ...status, history } }) : route.abort());
  });
}

beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
  await probe.await('/api/v1/live/TrafficMonitor?interval=1m', (answer) => (JSON.stringify(answer).match(/"time"/g)?.length ?? 0) > 60);
  await probe.await('/api/v1/reports/networks/periods', (answer) => (answer['daily'] as string[]).length > 0);
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});
pageForEach(() => ({ browser, url: probe.url }), async (one) => {
  watched = one;
  page = watched.page;
  asked = 0;
  history = ready;
  await stubStatus(page, probe);
});

test.each(pages)('%s shows how far the journal has been read, and its figures when it has been', async (hash) => {
  history = warming;
  await page.goto(`${probe.url}/#/${hash}`);
  const bar = page.getByRole('progressbar', { name: 'Reading the journal' });
  await bar.waitFor();
  expect(await bar.evaluate((one: HTMLProgressElement) => [one.value, one.max, one.getAttribute('aria-valuetext')])).toEqual([42, 100, '42%, about 8s left']);
  await page.getByText('Reading the journal: 42%, about 8s left').waitFor();
  await page.getByText('Figures are known since 22 Oct 2026, 09:05.').waitFor();
  await expect.poll(() => page.locator('.link').textContent()).toBe('Reading the journal');
  expect(await page.locator('main table, main .tiles, main .blank, main .chart, main ol').count()).toBe(0);
  expect(await page.locator('.countdown, .banner').count()).toBe(0);
  expect(await page.locator('main [role=status], main [aria-live]').count()).toBe(0); // nothing that speaks every second

  history = { ...warming, share: 0.5, seconds_left: null };
  await page.getByText('Reading the journal: 50%, the time left is not known yet').waitFor();
  history = ready;
  await bar.waitFor({ state: 'detached' });
  await page.locator('main h1').waitFor();
  await page.locator('main .card').first().waitFor();
  await expect.poll(() => page.locator('.link').textContent()).toBe('Live');
  expect(await page.locator('main .warming').count()).toBe(0);
});

test.each(['light', 'dark'] as const)('the progress has no serious finding of axe in %s colours, and is asked for once a second', async (colorScheme) => {
  history = { ...warming, journal: 'failing' };
  const own = await openPage(browser, probe.url, { colorScheme, bypassCSP: true });
  await stubStatus(own.page, probe);
  await own.page.goto(probe.url);
  await own.page.getByRole('progressbar').waitFor();
  const [before, begin] = [asked, Date.now()];
  await own.page.waitForTimeout(3000);
  expect(asked - before).toBeGreaterThanOrEqual(1);
  expect(asked - before).toBeLessThanOrEqual((Date.now() - begin) / 1000 + 1); // on a busy machine three seconds may be more
  await own.page.evaluate(axe.source);
  const findings = await own.page.evaluate(async () => {
    const { violations } = await (window as unknown as { axe: typeof axe }).axe.run(document, { resultTypes: ['violations'] });
    return violations.map(({ id, impact, nodes }) => ({ id, impact, where: nodes.map((node) => node.html) }));
  });
  expect(findings.filter(({ impact }) => impact === 'serious' || impact === 'critical')).toEqual([]);
  await closeContext(own.context);
});

test('a page that was open takes back what it showed when the probe comes back and reads its journal', async () => {
  let own = await ProbeProcess.start(simulated);
  const { page: opened, context } = await openPage(browser, own.url);
  try {
    await stubStatus(opened, own);
    await opened.goto(own.url);
    await opened.locator('tbody tr').first().waitFor();
    history = warming;
    await own.stop();
    await opened.getByText('The probe cannot be reached').waitFor();
    expect(await opened.locator('tbody tr').count()).toBe(9);
    own = await ProbeProcess.start(simulated, own.port);
    await opened.getByRole('progressbar').waitFor({ timeout: 40_000 });
    expect(await opened.locator('tbody tr').count()).toBe(0);
    history = ready;
    await opened.locator('tbody tr').first().waitFor();
  } finally {
    await closeContext(context);
    await own.stop();
  }
});

/** How many pixels of the lines' colours the chart has behind the band of an outage and to the left of it. */
async function inkOf(): Promise<{ within: number; before: number }> {
  // In one go: the next pass moves everything.
  return page.locator('[data-interface] .chart').evaluate((box) => {
    const canvas = box.querySelector('canvas') as HTMLCanvasElement;
    const at = canvas.getBoundingClientRect();
    const band = (box.querySelector('.u-under .off') as HTMLElement).getBoundingClientRect();
    const under = (box.querySelector('.u-under') as HTMLElement).getBoundingClientRect();
    const scale = canvas.width / at.width;
    const ink = (left: number, width: number): number => {
      const x = Math.round((left - at.left) * scale);
      const { data } = (canvas.getContext('2d') as CanvasRenderingContext2D).getImageData(x, 0, Math.round(width * scale), Math.round((under.bottom - at.top) * scale));
      let count = 0;
      // A strong colour is a line: the grid is a pale grey.
      for (let i = 0; i < data.length; i += 4) if ((data[i + 3] ?? 0) > 200 && Math.abs((data[i] ?? 0) - (data[i + 2] ?? 0)) > 80) count += 1;
      return count;
    };
    return { within: ink(band.left + 2, band.width - 4), before: ink(under.left, band.left - under.left) };
  });
}

test('charts are cut where the probe was off, and say so; the record’s beginning, too', async () => {
  const mac = await gatewayOf(probe);
  const traffic = await trafficOf(probe, mac, '1m');
  const name = Object.keys(traffic)[0] ?? '';
  const times = (traffic[name]?.traffic ?? []).map((sample) => sample.time);
  const [begin, from, to] = [times.at(-5) ?? 0, times.at(-4) ?? 0, times.at(-2) ?? 0];
  history = { ...ready, known_since: begin * 60 + 20, outages: [{ from: from * 60 + 33, to: to * 60 + 33 }, { from: 60, to: 6000 }] };
  await page.goto(`${probe.url}/#/traffic?device=${mac}&interface=${encodeURIComponent(name)}`);
  const band = page.locator('[data-interface] .u-under .off');
  await band.waitFor({ state: 'attached' });
  expect(await band.count()).toBe(1);
  const text = `The probe was off ${timeText(from)}–${timeText(to)}`;
  const key = page.locator('[data-interface] .marks li');
  expect((await key.allTextContents())[0]).toContain('The probe was off');
  if (dayText(from) === dayText(to + 5)) expect((await key.allTextContents())[0]).toBe(text);
  expect((await key.allTextContents())[1]).toBe(`The record begins ${minuteText(begin)}`);
  expect(await page.locator('[data-interface] .chart').getAttribute('aria-label')).toContain('The probe was off');
  expect(await page.locator('[data-interface] .u-under .begin').count()).toBe(1);

  expect((await band.boundingBox())?.width).toBeGreaterThan(10);
  const ink = await inkOf();
  expect(ink.within).toBe(0);
  expect(ink.before).toBeGreaterThan(100);

  const over = (await page.locator('[data-interface] .u-over').boundingBox()) ?? { x: 0, y: 0, width: 0, height: 0 };
  const now = await band.boundingBox();
  await page.mouse.move((now?.x ?? over.x) + (now?.width ?? 0) / 2, over.y + over.height / 2);
  await expect.poll(() => page.locator('[data-interface] .u-over').getAttribute('title')).toContain('The probe was off');

  const small = page.locator(`tr[data-key="${name}"] .spark`);
  expect(await small.locator('rect.off').count()).toBe(1);
  expect(await small.locator('rect.off title').textContent()).toContain('The probe was off');
  expect((await small.locator('path.in').getAttribute('d'))?.match(/M/g)?.length).toBeGreaterThan(1);
});

test('charts of a probe without outages have no marks', async () => {
  await page.goto(`${probe.url}/#/traffic`);
  await page.locator('[data-interface] canvas').waitFor();
  expect(await page.locator('.u-under .off, .u-under .begin, .marks, rect.off').count()).toBe(0);
});

test('the overview says whether history is written down, and every page when that fails', async () => {
  await page.goto(probe.url);
  const note = page.locator('[data-journal]');
  await note.waitFor();
  expect(await note.textContent()).toBe('History is written down, so that a restart does not lose it. Figures are known since 22 Oct 2026, 09:05.');
  history = { ...ready, journal: 'off', known_since: null };
  await page.reload();
  await expect.poll(() => note.textContent()).toBe('History is not written down: it begins anew with each start of the probe.');
  history = { ...ready, journal: 'failing' };
  for (const hash of pages) {
    await page.goto(`${probe.url}/?${hash}#/${hash}`);
    const alert = page.getByRole('alert');
    await alert.waitFor();
    expect(await alert.textContent()).toBe('History is not being written: it will be lost at the next restart.');
  }
});

test('a probe that tells nothing of a journal is shown as ever', async () => {
  await page.unroute('**/api/v1/status');
  await page.route('**/api/v1/status', async (route) => {
    await route.fulfill({ json: { ...(await probe.get('/api/v1/status')), history: undefined } });
  });
  await page.goto(probe.url);
  await page.locator('tbody tr').first().waitFor();
  expect(await page.locator('[data-journal], [role=alert], main progress').count()).toBe(0);
});
