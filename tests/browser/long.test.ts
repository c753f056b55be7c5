// The views of hours and days. At 3600 times the pace of life an hour passes in a second; a month is made up.

import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, describe, expect, test } from 'vitest';
import { agree, closeContext, openBrowser, openPage } from './browser';
import { bodyOf, gatewayOf, keepAllOnline, minuteText, samplesShown, samplesTold, trafficOf } from './figures';
import { type Json, ProbeProcess } from './probe';

let browser: Browser;
let probe: ProbeProcess;
beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(['--simulated', '--speed', '3600']), openBrowser()]);
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});

/** What a chart has written, and from where to where. */
interface Mark {
  text: string;
  left: number;
  right: number;
  y: number;
}

/** Has every canvas of the page keep what was last written into it. */
async function watchMarks(page: Page): Promise<void> {
  await page.addInitScript(() => {
    const marks = new WeakMap<HTMLCanvasElement, Mark[]>();
    // eslint-disable-next-line @typescript-eslint/unbound-method -- both are applied to the context that they are called on
    const { clearRect, fillText } = CanvasRenderingContext2D.prototype;
    CanvasRenderingContext2D.prototype.clearRect = function (...box) {
      marks.set(this.canvas, []);
      clearRect.apply(this, box);
    };
    CanvasRenderingContext2D.prototype.fillText = function (text, x, y, ...rest) {
      const width = this.measureText(text).width;
      const left = this.textAlign === 'center' ? x - width / 2 : this.textAlign === 'right' ? x - width : x;
      // Charts move the origin while they write.
      const { e, f } = this.getTransform();
      marks.get(this.canvas)?.push({ text, left: left + e, right: left + e + width, y: Math.round(y + f) });
      fillText.call(this, text, x, y, ...rest);
    };
    Object.assign(window, { marksOf: (canvas: HTMLCanvasElement) => marks.get(canvas) ?? [] });
  });
}

/** The marks of the axis of time, which is the lowest, from left to right. */
async function timeMarks(page: Page): Promise<Mark[]> {
  const marks = await page.locator('.chart canvas').first().evaluate((canvas) => (window as unknown as { marksOf: (canvas: Element) => Mark[] }).marksOf(canvas));
  const lowest = Math.max(...marks.map((mark) => mark.y));
  return marks.filter((mark) => mark.y === lowest).sort((a, b) => a.left - b.left);
}

describe('the axis of time', () => {
  const steps: Record<string, number> = { '1m': 1, '1h': 60, '2h': 120, '1day': 1440 };
  const newest = Date.UTC(2026, 10, 21, 13, 7) / 60_000;

  /** A traffic message with a full view. */
  const fullView = (view: string, mac: string): Json => {
    const traffic = Array.from({ length: 30 }, (_, i) => ({ time: newest - (29 - i) * (steps[view] ?? 1), input: 1e6 * (i + 1), output: 5e5 }));
    return { name: 'TrafficMonitor', data: { [view]: { traffic_data: { [mac]: { wan0: { ifIndex: 1, traffic } } }, sid: ['latest'] } } };
  };

  test.each([
    ['1m', 1280, /^1[23]:\d[05]$/, '12:40'],
    ['1h', 1280, /^\d\d:00$|^21 Nov$/, '21 Nov'],
    ['2h', 1280, /^\d\d:00$|^2[01] Nov$/, '20 Nov'],
    ['2h', 360, /^\d\d:00$|^2[01] Nov$/, '20 Nov'],
    ['1day', 1280, /^\d+ (Oct|Nov)$/, '24 Oct'],
    ['1day', 360, /^\d+ (Oct|Nov)$/, '24 Oct'],
    ['1day', 3840, /^\d+ (Oct|Nov)$/, '24 Oct'],
  ] as const)('of the view %s can be read at %i pixels', async (view, width, form, expected) => {
    const { page, context, complaints } = await openPage(browser, probe.url, { viewport: { width, height: 900 } });
    const mac = await gatewayOf(probe);
    await watchMarks(page);
    await page.route('**/api/v1/live/TrafficMonitor**', (route) => route.fulfill({ json: fullView(view, mac) }));
    await page.routeWebSocket(/.*/, () => undefined); // nothing newer comes
    await page.goto(`${probe.url}/#/traffic?device=${mac}&view=${view}`);
    await page.locator('.chart canvas').waitFor();
    await expect.poll(async () => (await timeMarks(page)).length).toBeGreaterThan(1);
    const marks = await timeMarks(page);
    for (const mark of marks) expect(mark.text).toMatch(form);
    expect(marks.map((mark) => mark.text)).toContain(expected);
    for (const [i, mark] of marks.slice(1).entries()) expect(mark.left - (marks[i]?.right ?? 0), `between ${marks[i]?.text} and ${mark.text}`).toBeGreaterThan(4);
    expect(complaints).toEqual([]);
    await closeContext(context);
  });
});

// The day comes last: it is over by then.
describe.each([
  ['1h', 60, 2],
  ['2h', 120, 2],
  ['1day', 1440, 1],
])('the view %s', (view, minutes, least) => {
  test('has every mean of traffic', async () => {
    const mac = await gatewayOf(probe);
    await expect.poll(async () => (await trafficOf(probe, mac, view))['wan0']?.traffic.length ?? 0, { timeout: 40_000 }).toBeGreaterThanOrEqual(least);
    const samples = (await trafficOf(probe, mac, view))['wan0']?.traffic ?? [];
    for (const [i, { time }] of samples.slice(1).entries()) expect(time - (samples[i]?.time ?? 0)).toBeGreaterThanOrEqual(minutes);
    const { page, context, complaints } = await openPage(browser, probe.url);
    await keepAllOnline(page, probe);
    await page.goto(`${probe.url}/#/traffic?device=${mac}&view=${view}&interface=wan0`);
    await page.getByText('Show as a table').click();
    const rows = await agree(() => samplesShown(page, 'wan0'), () => samplesTold(probe, mac, view, 'wan0'));
    expect(rows.length).toBeGreaterThanOrEqual(least);
    expect(complaints).toEqual([]);
    await closeContext(context);
  });

  test('has every peak of clients', async () => {
    const { page, context, complaints } = await openPage(browser, probe.url);
    await keepAllOnline(page, probe);
    await page.goto(`${probe.url}/#/clients?view=${view}`);
    const card = page.locator('section').filter({ has: page.getByRole('heading', { name: 'By network' }) });
    await card.getByText('Show as a table').click();
    const shown = async (): Promise<string[]> =>
      card.locator('details tbody tr').evaluateAll((rows) => rows.map((row) => `${row.querySelector('th')?.textContent} ${row.querySelector('data')?.value}`).filter((row) => !row.endsWith(' ')));
    const told = async (): Promise<string[]> => {
      const { ssids_clients_counts: series } = await bodyOf(probe, 'SSIDClientCountMonitor', view);
      const all = (series as Record<string, Record<string, number>>)['ssid_client_count_all'] ?? {};
      return Object.keys(all).sort((a, b) => Number(a) - Number(b)).map((minute) => `${minuteText(Number(minute))} ${all[minute]}`);
    };
    expect((await agree(shown, told)).length).toBeGreaterThan(0);
    expect(complaints).toEqual([]);
    await closeContext(context);
  });
});
