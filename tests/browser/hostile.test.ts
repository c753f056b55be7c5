// Names come from devices and from the air. Whatever they hold is text, on every page and in every file.

import { readFileSync } from 'node:fs';
import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { closeContext, openBrowser, openPage, type Watched } from './browser';
import { ProbeProcess, simulated } from './probe';

const markup = '<img src=x onerror="document.title=\'broken\';alert(1)">';
const names = {
  markup,
  script: '</script><script>alert(2)</script>',
  direction: 'abc\u202egnp.exe\u2066\u200f',
  quotes: `"'\`&quot;&lt;`,
  long: 'x'.repeat(500),
  formula: '=HYPERLINK("http://attacker.example","x")',
};
const hostile = Object.values(names);

let browser: Browser;
let probe: ProbeProcess;
beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
  await probe.await('/api/v1/reports/networks/periods', (answer) => (answer['daily'] as string[]).length > 0);
  await probe.await('/api/v1/reports/clients/periods', (answer) => (answer['daily'] as string[]).length > 0);
  await probe.await('/api/v1/live/wireless_top_monitor');
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});

const nameMembers = new Set(['hostname', 'name', 'username', 'network', 'networks', 'apname', 'model', 'version', 'ssid', 'security', 'type_frequency', 'device_name', 'user', 'interface', 'text']);
const mapsByName = new Set(['ssids_clients_counts', 'current_ssid_clients_counts']);

/** What the probe says, with every name in it replaced by a hostile one: a different one for each place in a list. */
function poisoned(value: unknown, turn = 0, key = ''): unknown {
  const name = hostile[turn % hostile.length] ?? '';
  if (Array.isArray(value)) return value.map((item, i) => poisoned(item, turn + i, key));
  if (typeof value === 'string') return nameMembers.has(key) ? name : value;
  if (typeof value !== 'object' || value === null) return value;
  return Object.fromEntries(
    Object.entries(value).map(([member, inner], i) => {
      const isName = (mapsByName.has(key) && member !== 'ssid_client_count_all') || (typeof inner === 'object' && inner !== null && 'traffic' in inner && 'ifIndex' in inner);
      return [isName ? `${hostile[i % hostile.length]}` : member, poisoned(inner, turn + i, member)];
    }),
  );
}

/** The topic stays what it is; all else may be anything. */
function poisonedText(text: string): string {
  const message = JSON.parse(text) as Record<string, unknown>;
  const result = poisoned(message) as Record<string, unknown>;
  if ('data' in message) {
    result['name'] = message['name'];
    const data = result['data'] as Record<string, unknown>;
    if (data['name']) data['name'] = message['name'];
  }
  return JSON.stringify(result);
}

async function poison(page: Page): Promise<void> {
  await page.route('**/api/v1/**', async (route) => {
    const response = await route.fetch();
    const body = await response.text();
    await route.fulfill({ response, body: response.ok() ? poisonedText(body) : body });
  });
  await page.routeWebSocket(/.*/, (socket) => {
    const server = socket.connectToServer();
    server.onMessage((message) => socket.send(poisonedText(String(message))));
  });
}

/** No name has become an element, run, or gone to another host. */
async function expectHarmless({ page, complaints }: Watched): Promise<void> {
  expect(await page.locator('#app img, #app script, #app iframe').count()).toBe(0);
  expect(await page.title()).not.toBe('broken');
  expect(complaints).toEqual([]);
  expect(await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth)).toBe(0);
}

const several = [names.markup, names.script, names.direction];

test.each([
  ['overview', several],
  ['traffic', [names.markup]],
  ['clients', [names.markup]],
  ['clients-now', [names.markup]],
  ['device?device=02:19:56:00:00:04', [names.markup]],
  ['top', several],
  ['client-report', several],
  ['network-report', several],
])('a hostile name is text on the page %s', async (hash, expected) => {
  const watched = await openPage(browser, probe.url);
  const { page } = watched;
  await poison(page);
  await page.goto(`${probe.url}/#/${hash}`);
  const shown = async (): Promise<string[]> => page.locator('main bdi').allTextContents();
  for (const name of expected) await expect.poll(shown, { timeout: 15_000 }).toContain(name);
  await page.waitForTimeout(1500); // a pass or two more come in
  await expectHarmless(watched);
  expect(await page.locator('main bdi').first().evaluate((name) => getComputedStyle(name).unicodeBidi)).toMatch(/isolate/);
  await closeContext(watched.context);
});

test.each(['overview', 'traffic', 'clients', 'clients-now', 'device?device=02:19:56:00:00:04', 'top', 'client-report', 'network-report'])('no name makes the page %s wider than a phone', async (hash) => {
  const watched = await openPage(browser, probe.url, { viewport: { width: 360, height: 740 } });
  const { page } = watched;
  await poison(page);
  await page.goto(`${probe.url}/#/${hash}`);
  const shown = async (): Promise<string[]> => page.locator('main bdi').allTextContents();
  await expect.poll(async () => (await shown()).some((name) => hostile.includes(name)), { timeout: 15_000 }).toBe(true);
  await expect.poll(() => page.locator('.loading').count()).toBe(0);
  const beyond = await page.evaluate(() => [...document.querySelectorAll('body *')].filter((one) => one.getBoundingClientRect().right > innerWidth + 1 && !one.closest('.tabs, .scroll, .hidden')).map((one) => `${one.tagName} ${one.className} ${(one.textContent ?? '').slice(0, 40)}`));
  expect(beyond).toEqual([]);
  await expectHarmless(watched);
  await closeContext(watched.context);
});

test.each([
  ['client-report', 'Save as CSV'],
  ['network-report', 'Save as CSV Access points'],
])('a hostile name is harmless in the file that %s saves', async (hash, button) => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await poison(page);
  await page.goto(`${probe.url}/#/${hash}`);
  const [download] = await Promise.all([page.waitForEvent('download'), page.getByRole('button', { name: button }).click()]);
  const csv = readFileSync(await download.path(), 'utf8');
  expect(csv).toContain(`"${names.markup.replaceAll('"', '""')}"`);
  expect(csv).toContain(`"'${names.formula.replaceAll('"', '""')}"`); // a quote in front: no formula
  for (const cell of csv.replace('\ufeff', '').split(/\r\n|,(?=(?:[^"]*"[^"]*")*[^"]*$)/)) expect(cell).not.toMatch(/^"?[=+@\t\r]|^"?-[^\d]/);
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('a hostile device name comes unharmed through the whole probe', async () => {
  const name = `${names.direction}${names.quotes}${names.markup}`;
  const toml = `[sources.this_machine]\nname = ${JSON.stringify(name)}\n`;
  const own = await ProbeProcess.start(['--live'], 0, toml);
  const watched = await openPage(browser, own.url);
  try {
    const devices = (await own.get('/api/v1/devices'))['devices'] as { hostname: string }[];
    expect(devices.map((device) => device.hostname)).toEqual([name]);
    await watched.page.goto(`${own.url}/#/overview`);
    await expect.poll(() => watched.page.locator('main bdi').allTextContents()).toEqual([name]);
    await expectHarmless(watched);
    await watched.page.goto(`${own.url}/#/traffic`);
    const option = await watched.page.locator('main').getByRole('option').first().textContent();
    expect(option).toContain(names.quotes);
    expect(option).not.toMatch(/[\u202e\u2066\u200f]/); // a list cannot isolate: the address behind the name would be turned around
  } finally {
    await closeContext(watched.context);
    await own.stop();
  }
});
