// For everybody: with a keyboard, with a reader of the screen, on a phone and on a wall. And a picture of every page.

import { copyFileSync, existsSync, mkdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, describe, expect, test } from 'vitest';
import { findingsOf } from './axe';
import { closeContext, openBrowser, openPage } from './browser';
import { type Json, ProbeProcess, simulated } from './probe';

const root = fileURLToPath(new URL('../..', import.meta.url));
const images = join(root, 'build/images');
/** VEXORA_IMAGES=1 renews the pictures that the documents show, with histories that are full. */
const isRenewing = Boolean(process.env['VEXORA_IMAGES']);
const pages = ['overview', 'traffic?interface=wan0', 'clients', 'clients-now', 'top', 'client-report', 'guest-report', 'network-report', 'device?device=02:19:56:00:00:08', 'nonsense'];
const nameOf = (page: string): string => page.split('?')[0] ?? page;

let browser: Browser;
let probe: ProbeProcess;
beforeAll(async () => {
  const probeOfPictures = (): Promise<ProbeProcess> => ProbeProcess.start(['--simulated', '--speed', '240']);
  [probe, browser] = await Promise.all([isRenewing ? probeOfPictures() : ProbeProcess.start(simulated), openBrowser()]);
  mkdirSync(images, { recursive: true });
  await probe.await('/api/v1/reports/networks/periods', (answer) => (answer['daily'] as string[]).length > 0);
  await probe.await('/api/v1/live/TrafficMonitor?interval=1m', (answer) => (JSON.stringify(answer).match(/"time"/g)?.length ?? 0) > (isRenewing ? 800 : 60));
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});

/** Waits until the page shows something, and not that it is loading. */
async function settle(page: Page): Promise<void> {
  await page.locator('main h1').waitFor();
  await expect.poll(() => page.locator('.loading').count()).toBe(0);
  await expect.poll(() => page.locator('.link').textContent()).toBe('Live');
}

async function takePicture(page: Page, name: string): Promise<void> {
  const picture = join(images, `${name}.png`);
  const shown = join(root, 'docs/images', `${name}.png`);
  await page.screenshot({ path: picture });
  if (isRenewing && existsSync(shown)) copyFileSync(picture, shown);
}

/** Those on which a page of ours is looked at: a phone, a tablet on end, a tablet, two screens, a wall. */
const widths = { light: [360, 768, 1024, 1280, 1440, 2560], dark: [360, 1280, 2560] };

/** Nothing is wrong with what is shown at any of these widths: for readers of the screen, and for the eye. */
async function expectSound(page: Page, at: number[]): Promise<void> {
  for (const width of at) {
    await page.setViewportSize({ width, height: 900 });
    expect(await findingsOf(page), `at ${width} pixels`).toEqual([]);
    expect(await page.evaluate(() => document.documentElement.scrollWidth), `at ${width} pixels`).toBeLessThanOrEqual(width);
    const cut = await page.locator('main .scroll').evaluateAll((all) => all.filter((one) => one.scrollWidth > one.clientWidth).map((one) => one.getAttribute('aria-label')));
    expect(cut, `at ${width} pixels`).toEqual([]);
  }
}

describe.each(['light', 'dark'] as const)('in %s colours', (colorScheme) => {
  test.each(pages)('%s has no finding of axe at any width, and its picture is taken', async (hash) => {
    // The tool is put into the page from outside, past the content policy; the policy itself is another test's.
    const { page, context, complaints } = await openPage(browser, probe.url, { colorScheme, bypassCSP: true });
    await page.goto(`${probe.url}/#/${hash}`);
    await settle(page);
    await page.waitForTimeout(300);
    await takePicture(page, `${nameOf(hash)}-${colorScheme}`);
    await expectSound(page, widths[colorScheme]);
    expect(complaints).toEqual([]);
    await closeContext(context);
  });

  const offline = (devices: Json[]): Json[] => devices.map((one, i) => (i % 2 === 0 ? { ...one, online: false, measured: 1_795_507_200 } : one));
  test.each([
    ['devices that are offline', offline],
    ['no device', () => []],
  ] as const)('%s have no finding of axe either', async (_, devicesOf) => {
    const { page, context, complaints } = await openPage(browser, probe.url, { colorScheme, bypassCSP: true });
    await page.route('**/api/v1/devices', async (route) => {
      const answer = await probe.get('/api/v1/devices');
      await route.fulfill({ json: { ...answer, devices: devicesOf(answer['devices'] as Json[]) } });
    });
    for (const hash of ['overview', 'traffic', 'clients', 'device?device=02:19:56:00:00:08']) {
      await page.goto(`${probe.url}/#/${hash}`);
      await settle(page);
      await expectSound(page, [360, 1280]);
    }
    expect(complaints).toEqual([]);
    await closeContext(context);
  });

  test('what is shown while the probe is out of reach has no finding of axe either', async () => {
    const { page, context } = await openPage(browser, probe.url, { colorScheme, bypassCSP: true });
    await page.routeWebSocket(/.*/, (socket) => void socket.close());
    await page.route('**/api/v1/live/**', (route) => route.abort());
    await page.goto(`${probe.url}/#/top`);
    await page.getByText('Nothing was loaded').first().waitFor();
    await expectSound(page, [360, 1280]);
    await closeContext(context);
  });
});

describe.each([
  ['a phone', { width: 360, height: 740 }],
  ['a wall', { width: 3840, height: 2160 }],
])('on %s', (where, viewport) => {
  test.each(pages)('%s is as wide as the screen', async (hash) => {
    const { page, context } = await openPage(browser, probe.url, { viewport });
    await page.goto(`${probe.url}/#/${hash}`);
    await settle(page);
    expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBeLessThanOrEqual(viewport.width);
    if (where === 'a phone') await takePicture(page, `${nameOf(hash)}-phone`);
    const size = await page.evaluate(() => parseFloat(getComputedStyle(document.body).fontSize));
    expect(size).toBeGreaterThanOrEqual(where === 'a phone' ? 13 : 18);
    await closeContext(context);
  });
});

test('everything is reached with the keyboard', async () => {
  const { page, context } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/overview`);
  await settle(page);
  const focused = (): Promise<string> => page.evaluate(() => document.activeElement?.textContent ?? '');
  await page.keyboard.press('Tab');
  expect(await focused()).toBe('Skip to the content');
  await page.keyboard.press('Enter');
  expect(await page.evaluate(() => document.activeElement?.id)).toBe('content');
  await page.getByRole('link', { name: 'Clients', exact: true }).focus();
  await page.keyboard.press('Enter');
  await page.getByRole('heading', { name: 'Wireless clients' }).waitFor();
  expect(await page.evaluate(() => document.activeElement?.id)).toBe('content');
  await page.getByRole('radio', { name: '30 minutes' }).focus();
  await page.keyboard.press('ArrowRight');
  await expect.poll(() => page.url()).toContain('view=5m');
  await page.goto(`${probe.url}/#/client-report`);
  const header = page.getByRole('columnheader', { name: 'Upload' });
  await header.getByRole('button').focus();
  await page.keyboard.press('Enter');
  await expect.poll(() => header.getAttribute('aria-sort')).toBe('descending');
  await page.keyboard.press('Enter');
  await expect.poll(() => header.getAttribute('aria-sort')).toBe('ascending');
  await closeContext(context);
});

test('the colours are chosen, and stay', async () => {
  const { page, context } = await openPage(browser, probe.url, { colorScheme: 'light' });
  await page.goto(probe.url);
  const ground = (): Promise<string> => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
  await settle(page);
  expect(await ground()).toBe('rgb(244, 246, 248)');
  await page.getByRole('button', { name: /^Colours/ }).click();
  await page.getByRole('button', { name: /^Colours: light/ }).click();
  await expect.poll(ground).toBe('rgb(14, 19, 24)');
  await page.reload();
  await expect.poll(ground).toBe('rgb(14, 19, 24)');
  await closeContext(context);
});

test('the page is served with a policy that lets nothing foreign in', async () => {
  const response = await probe.answer('/');
  expect(response.headers.get('content-security-policy')).toMatch(/default-src 'none'.*script-src 'self'/);
  expect(response.headers.get('x-content-type-options')).toBe('nosniff');
  expect(response.headers.get('etag')).toMatch(/^".+"$/);
  expect((await probe.answer('/', { 'if-none-match': response.headers.get('etag') ?? '' })).status).toBe(304);
  const script = /src="(\/assets\/[^"]+\.js)"/.exec(await response.text())?.[1] ?? '';
  const asset = await probe.answer(script, { 'accept-encoding': 'gzip' });
  expect(asset.headers.get('content-encoding')).toBe('gzip');
  expect(asset.headers.get('cache-control')).toContain('immutable');
  const source = readFileSync(join(root, 'dashboard/dist', script), 'utf8');
  expect(await asset.text()).toBe(source);
  expect(source).not.toMatch(/\beval\(|new Function\(/);
});

