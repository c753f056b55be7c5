// A centre: all sites on one page, and each site's own pages below its name.

import { type ChildProcess, spawn } from 'node:child_process';
import { dirname } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Browser } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { findingsOf } from './axe';
import { openBrowser, orderOf, pageForEach, tableOf, type Watched } from './browser';
import { violationsOf } from './schemas';

const script = fileURLToPath(new URL('../../script/lib/fleet.sh', import.meta.url));
const program = process.env['VEXORA_PROBE'] ?? fileURLToPath(new URL('../../build/release/bin/vexora-probe', import.meta.url));

/** Three sites, a server and a centre, at sixty times the pace of life. */
class Fleet {
  private constructor(private readonly child: ChildProcess, readonly url: string) {}

  static async start(): Promise<Fleet> {
    const child = spawn(script, [dirname(program), '0'], { stdio: ['ignore', 'pipe', 'pipe'] });
    const port = await new Promise<string>((resolve, reject) => {
      let output = '';
      const read = (chunk: Buffer): void => {
        output += chunk.toString();
        const found = /serving on port (\d+)/.exec(output);
        if (found?.[1]) resolve(found[1]);
      };
      child.stdout.on('data', read);
      child.stderr.on('data', read);
      child.on('error', reject);
      child.on('exit', (code) => reject(new Error(`the fleet ended with ${code}:\n${output}`)));
    });
    return new Fleet(child, `http://127.0.0.1:${port}`);
  }

  async stop(): Promise<void> {
    const over = new Promise((resolve) => this.child.once('exit', resolve));
    this.child.kill('SIGTERM');
    await over;
  }
}

let browser: Browser;
let fleet: Fleet;
let watched: Watched;
beforeAll(async () => {
  [fleet, browser] = await Promise.all([Fleet.start(), openBrowser()]);
});
afterAll(async () => {
  await browser.close();
  await fleet.stop();
});
pageForEach(() => ({ browser, url: fleet.url }), async (opened) => {
  watched = opened;
  await watched.page.goto(fleet.url);
  await expect.poll(async () => (await orderOf(watched.page, '[data-part=sites]')).sort()).toEqual(['harbour', 'north', 'south']);
});

test('all sites stand on one page, with what they have', async () => {
  const { page } = watched;
  await expect.poll(async () => Object.fromEntries(Object.entries(await tableOf(page, '[data-part=sites]')).map(([name, row]) => [name, row['devices']]))).toEqual({
    harbour: '40', north: '9', south: '14',
  });
  await expect.poll(() => page.locator('[data-tile=sites]').textContent()).toBe('3');
  await expect.poll(() => page.locator('[data-tile=devices]').textContent()).toBe('63');
  await expect.poll(async () => Number(await page.locator('[data-tile=clients]').getAttribute('value'))).toBeGreaterThan(0);
});

test.each(['sites', 'search', 'targets'])('what a centre answers for %s is as its schema has it', async (name) => {
  const answer: unknown = await (await fetch(`${fleet.url}/api/v1/${name}?text=ap`)).json();
  expect(violationsOf(`schemas/centre/${name}.json`, answer)).toEqual([]);
  expect(JSON.stringify(answer)).toContain('north');
});

test('a search finds devices of all sites and leads to their page', async () => {
  const { page } = watched;
  await page.locator('input[type=search]').fill('gateway');
  await expect.poll(async () => (await tableOf(page, '[data-part=found]'))['north device 02:19:56:00:00:00']?.['name']).toBe('gateway');
  await page.locator('[data-part=found] tr[data-key="north device 02:19:56:00:00:00"] a').click();
  await expect.poll(() => page.url()).toBe(`${fleet.url}/sites/north/#/device?device=02%3A19%3A56%3A00%3A00%3A00`);
  await expect.poll(() => page.locator('main h1').textContent()).toContain('gateway');
  await expect.poll(() => page.locator('.link').textContent()).toBe('Live');
});

test('a site has its own pages, which are live', async () => {
  const { page } = watched;
  await page.locator('[data-part=sites] tr[data-key=south] a').click();
  await expect.poll(() => page.url()).toBe(`${fleet.url}/sites/south/`);
  await expect.poll(() => page.locator('.link').textContent()).toBe('Live');
  await expect.poll(() => page.locator('[data-site]').textContent()).toBe('south');
  await expect.poll(() => page.title()).toContain('south');
  await expect.poll(() => page.locator('[data-tile=devices]').textContent()).toBe('14');
  // A longer view and a report, which the site itself has to be asked for.
  await page.goto(`${fleet.url}/sites/south/#/traffic?view=5m`);
  await expect.poll(() => page.locator('main h1').textContent()).toContain('Traffic');
  await expect.poll(() => page.locator('figure canvas').count()).toBeGreaterThan(0);
  await page.goto(`${fleet.url}/sites/south/#/network-report`);
  await expect.poll(() => page.locator('main table').count()).toBeGreaterThan(0);
  await page.locator('header a[href="/"]').click();
  await expect.poll(() => page.url()).toBe(`${fleet.url}/`);
});

test.each([360, 768, 1280, 2560])('the page of all sites suits a width of %i', async (width) => {
  const { page } = watched;
  await page.setViewportSize({ width, height: 800 });
  await page.locator('input[type=search]').fill('ap');
  await page.locator('[data-part=found] tbody tr').first().waitFor();
  expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBeLessThanOrEqual(width);
  expect(await findingsOf(page)).toEqual([]);
});
