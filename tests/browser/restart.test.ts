// A probe that is killed and started again with its journal: everything here is real, the outage included.

import { copyFileSync, mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Browser, Locator } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { closeContext, openBrowser, openPage } from './browser';
import { gatewayOf, minuteOf, minuteText, type Sample, samplesShown, trafficOf } from './figures';
import { type Json, ProbeProcess } from './probe';

const root = fileURLToPath(new URL('../..', import.meta.url));
const isRenewing = Boolean(process.env['VEXORA_IMAGES']);
const name = 'wan0';
/** Half an hour goes by in three seconds; the probe that comes after it is to be looked at, a pass a second. */
const fast = ['--simulated', '--speed', '600'];
const slow = ['--simulated', '--speed', '60'];
const offMs = 10_000; // of true time: ten minutes of the second probe's
const gigabit = 1e9 / 8;

let browser: Browser;
let state: string;
beforeAll(async () => {
  state = mkdtempSync(join(tmpdir(), 'vexora-state-'));
  browser = await openBrowser();
});
afterAll(async () => {
  await browser.close();
  rmSync(state, { recursive: true, force: true });
});

const outagesOf = async (probe: ProbeProcess): Promise<{ from: number; to: number }[]> =>
  ((await probe.get('/api/v1/status'))['history'] as { outages: { from: number; to: number }[] }).outages;

/**
 * A probe whose first pass comes `offMs` after its start: its time goes on while it is halted, as that of a machine
 * that is off. On a busy machine the halt may come after that pass, and is no outage then: another probe is started.
 * `said`: the texts of `link` from the halt's end to the first pass.
 */
async function startAfterOutage(port: number, configuration: string, link: Locator): Promise<{ probe: ProbeProcess; said: string[] }> {
  for (;;) {
    const said: string[] = [];
    const probe = await ProbeProcess.start(slow, port, configuration);
    probe.signal('SIGSTOP');
    await new Promise((resolve) => setTimeout(resolve, offMs));
    probe.signal('SIGCONT');
    let passes: Json = {};
    do {
      passes = (await probe.get('/api/v1/status'))['passes'] as Json;
      said.push((await link.textContent()) ?? '');
    } while (passes['last'] === null);
    if ((await outagesOf(probe)).length > 0) return { probe, said };
    await probe.stop();
  }
}

const rowOf = (one: Sample): string[] => [minuteText(one.time), String(one.input), String(one.output)];

test('what a killed probe knew is in the charts of the next one, with a gap where none was running', async () => {
  const configuration = `[journal]\nenabled = true\nstate_directory = "${state}"\n`;
  const killed = await ProbeProcess.start(fast, 0, configuration);
  const mac = await gatewayOf(killed);
  await expect.poll(async () => (await trafficOf(killed, mac, '1m'))[name]?.traffic.length ?? 0, { timeout: 30_000 }).toBeGreaterThan(25);
  const { page, context, complaints } = await openPage(browser, killed.url);
  await page.goto(`${killed.url}/#/traffic?device=${mac}&view=1m&interface=${name}`);
  await page.locator('[data-interface] canvas').waitFor();
  const before = (await trafficOf(killed, mac, '1m'))[name]?.traffic ?? [];
  killed.signal('SIGKILL');
  await killed.stop();
  await page.getByText('The probe cannot be reached').waitFor();

  const link = page.locator('.link');
  const { probe, said } = await startAfterOutage(killed.port, configuration, link);
  try {
    expect(said).not.toContain('Stale');

    const band = page.locator('[data-interface] .u-under .off');
    await band.waitFor({ state: 'attached', timeout: 40_000 });
    await expect.poll(() => link.textContent()).toBe('Live');
    await page.locator('[data-interface] .marks').getByText('The probe was off').waitFor();
    const outages = await outagesOf(probe);
    const [off] = outages;
    expect(outages.length).toBe(1);
    expect((off?.to ?? 0) - (off?.from ?? 0)).toBeGreaterThanOrEqual((offMs / 1000) * 60 * 0.9);

    await page.waitForTimeout(6000); // for some passes to the right of the gap
    expect(await band.count()).toBe(1);
    expect((await band.boundingBox())?.width).toBeGreaterThan(50);
    await page.locator('[data-interface] details summary').click();
    const shown = await samplesShown(page, name);
    const times = new Set(shown.map(([time]) => time));
    const kept = before.map(rowOf).filter(([time = '']) => times.has(time));
    expect(kept.length).toBeGreaterThan(5);
    expect(shown).toEqual(expect.arrayContaining(kept));
    const [from, to] = [(off?.from ?? 0) / 60, (off?.to ?? 0) / 60].map(Math.floor) as [number, number];
    expect(shown.filter(([time = '']) => from < minuteOf(time) && minuteOf(time) < to)).toEqual([]);
    expect(shown.filter(([time = '']) => minuteOf(time) > to).length).toBeGreaterThan(3);
    // The mean over the outage, and no burst of all that the device has ever counted.
    expect(Math.max(...shown.flatMap(([, input, output]) => [Number(input), Number(output)]))).toBeLessThan(gigabit);

    await page.locator('[data-interface] details summary').click();
    mkdirSync(join(root, 'build/images'), { recursive: true });
    const picture = join(root, 'build/images/outage.png');
    await page.locator('[data-interface]').screenshot({ path: picture });
    if (isRenewing) copyFileSync(picture, join(root, 'docs/images/outage-light.png'));
  } finally {
    await closeContext(context);
    await probe.stop();
  }
  expect(complaints).toEqual([]);
});
