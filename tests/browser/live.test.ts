// The page lives with the probe: through passes, silence, restarts and a token.

import type { Browser } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { closeContext, openBrowser, openPage } from './browser';
import { type Json, ProbeProcess, simulated } from './probe';

let browser: Browser;
beforeAll(async () => {
  browser = await openBrowser();
});
afterAll(() => browser.close());

test('shows each pass, says when none comes, and comes back after a restart of the probe', async () => {
  let probe = await ProbeProcess.start(simulated);
  const { page, complaints, context } = await openPage(browser, probe.url);
  try {
    await page.goto(`${probe.url}/#/traffic`);
    const state = page.locator('.link');
    const pass = async (): Promise<number> => Number(await page.locator('[data-interface]').getAttribute('data-pass'));
    await page.locator('[data-interface]').waitFor({ timeout: 20_000 });
    expect(await state.textContent()).toBe('Live');
    expect(await page.locator('.countdown').textContent()).toContain('a pass every 1s');

    // Without a reload, and without a word to the page.
    const before = await pass();
    await expect.poll(pass, { timeout: 10_000 }).toBeGreaterThan(before + 1);

    probe.signal('SIGSTOP');
    await expect.poll(() => state.textContent(), { timeout: 15_000 }).toBe('Stale');
    await page.getByText('What you see may be out of date').waitFor();
    const held = await pass();
    probe.signal('SIGCONT');
    await expect.poll(() => state.textContent(), { timeout: 10_000 }).toBe('Live');
    await expect.poll(pass, { timeout: 10_000 }).toBeGreaterThan(held);

    const { port } = probe;
    await probe.stop();
    await expect.poll(() => state.textContent(), { timeout: 10_000 }).not.toBe('Live');
    await page.getByText('The probe cannot be reached').waitFor();
    await page.getByRole('button', { name: 'Try now' }).waitFor();
    expect(await page.locator('[data-interface]').count()).toBe(1); // what was seen stays

    const lost = await pass();
    probe = await ProbeProcess.start(simulated, port);
    await expect.poll(() => state.textContent(), { timeout: 40_000 }).toBe('Live');
    await expect.poll(pass, { timeout: 20_000 }).not.toBe(lost);
    const back = await pass();
    await expect.poll(pass, { timeout: 10_000 }).toBeGreaterThan(back);
    expect(complaints).toEqual([]);
  } finally {
    await closeContext(context);
    await probe.stop();
  }
});

test('hears of the passes on the reports, too, which show nothing live', async () => {
  const probe = await ProbeProcess.start(simulated);
  const passes = async (): Promise<number> => Number(((await probe.get('/api/v1/status'))['passes'] as { last: number | null }).last) / 60;
  const context = await browser.newContext();
  try {
    await probe.await('/api/v1/live/HealthMonitor');
    const states = await Promise.all(['client-report', 'guest-report', 'network-report'].map(async (hash) => {
      const page = await context.newPage();
      await page.goto(`${probe.url}/#/${hash}`);
      return page.locator('.link');
    }));
    const shown = async (): Promise<(string | null)[]> => Promise.all(states.map((state) => state.textContent()));
    await expect.poll(shown, { timeout: 15_000 }).toEqual(['Live', 'Live', 'Live']);
    const begin = await passes();
    await expect.poll(passes, { timeout: 25_000 }).toBeGreaterThan(begin + 8); // after six, silence is called stale
    expect(await shown()).toEqual(['Live', 'Live', 'Live']);
  } finally {
    await closeContext(context);
    await probe.stop();
  }
});

test('has figures at once, without waiting for the next pass', async () => {
  const probe = await ProbeProcess.start(['--simulated', '--speed', '6']); // a pass every ten seconds
  const { page, context } = await openPage(browser, probe.url);
  try {
    await page.goto(`${probe.url}/#/overview`);
    await page.getByText('waiting for the first pass').waitFor();
    await expect.poll(() => page.locator('tbody tr').count()).toBe(9); // the devices are known before
    expect(await page.locator('[data-column=cpu] data').count()).toBe(0);
    await page.locator('[data-column=cpu] data').first().waitFor({ timeout: 20_000 });
    await page.waitForTimeout(500); // the pass is over; the next is far away
    const passes = async (): Promise<unknown> => ((await probe.get('/api/v1/status'))['passes'] as Json)['last'];
    const pass = await passes();
    await page.reload();
    await page.locator('[data-column=cpu] data').first().waitFor();
    expect(await passes()).toBe(pass);
    await expect.poll(() => page.locator('.countdown').textContent()).toMatch(/next in \d+s/);
  } finally {
    await closeContext(context);
    await probe.stop();
  }
});

test('offers a device that came after the page was opened', async () => {
  const probe = await ProbeProcess.start(simulated);
  const { page, context, complaints } = await openPage(browser, probe.url);
  try {
    const { devices } = (await probe.get('/api/v1/devices')) as { devices: unknown[] };
    let known = 2;
    await page.route('**/api/v1/devices', (route) => route.fulfill({ json: { devices: devices.slice(0, known) } }));
    await page.clock.install();
    await page.goto(`${probe.url}/#/traffic`);
    const options = page.locator('main').getByRole('option');
    await expect.poll(() => options.count()).toBe(2);
    known = 3;
    await page.clock.fastForward('00:31');
    await expect.poll(() => options.count()).toBe(3);
    expect(complaints).toEqual([]);
  } finally {
    await closeContext(context);
    await probe.stop();
  }
});

test('asks for the token of a probe that has one, and keeps the session', async () => {
  const probe = await ProbeProcess.start(simulated, 0, '[server]\ntoken = "open & sesame"\n');
  const { page, context, complaints } = await openPage(browser, probe.url);
  try {
    expect((await probe.answer('/api/v1/devices')).status).toBe(401);
    expect((await probe.answer('/healthz')).status).toBe(200);
    await page.goto(probe.url);
    await page.getByRole('heading', { name: 'The probe asks for its token' }).waitFor();
    await page.getByLabel('Token').fill('guessed');
    await page.keyboard.press('Enter');
    await page.getByText('That is not its token.').waitFor();
    await page.getByLabel('Token').fill('open & sesame');
    await page.keyboard.press('Enter');
    await page.locator('tbody tr').first().waitFor();
    await expect.poll(() => page.locator('.link').textContent(), { timeout: 15_000 }).toBe('Live');
    await page.reload();
    await page.locator('tbody tr').first().waitFor();
    expect(page.url()).not.toContain('sesame');
    expect(await page.evaluate(() => document.cookie + JSON.stringify({ ...sessionStorage, ...localStorage }))).not.toMatch(/sesame|vexora_session/);
    expect(complaints).toEqual([]);
  } finally {
    await closeContext(context);
    await probe.stop();
  }
});
