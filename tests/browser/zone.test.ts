// Times are those of the probe, wherever the browser stands; the choices that hold for all pages; pages on paper.

import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, describe, expect, test } from 'vitest';
import { chartOf, closeContext, openBrowser, openPage } from './browser';
import { ProbeProcess, simulated } from './probe';

const pages = ['overview', 'traffic', 'clients', 'clients-now', 'top', 'client-report', 'guest-report', 'network-report'];
const newYork = { timezoneId: 'America/New_York' };

let browser: Browser;
let probe: ProbeProcess;
beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated, 0, '', 'Asia/Tokyo'), openBrowser()]);
  await probe.await('/api/v1/live/TrafficMonitor?interval=1m', (answer) => (JSON.stringify(answer).match(/"time"/g)?.length ?? 0) > 60);
  await probe.await('/api/v1/reports/networks/periods', (answer) => (answer['daily'] as string[]).length > 0);
  await probe.await('/api/v1/reports/clients/periods', (answer) => (answer['daily'] as string[]).length > 0);
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});

test('every page names the zone of the probe', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url, newYork);
  for (const hash of pages) {
    await page.goto(`${probe.url}/#/${hash}`);
    await page.locator('main h1').waitFor();
    await expect.poll(() => page.locator('[data-zone]').textContent()).toBe('Times are the probe’s: Asia/Tokyo, UTC+09:00.');
  }
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('charts and tables are in the probe’s zone, or in the browser’s where its user prefers that, and stay so', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url, newYork);
  await page.goto(`${probe.url}/#/traffic`);
  const hours = async (): Promise<number> => {
    const text = await page.locator('[data-interface]').evaluate((card) => `${card.getAttribute('data-pass')} ${card.querySelector('.readout')?.textContent}`);
    const [, pass, hour, minute] = /^(\d+) .*?(\d\d):(\d\d),/.exec(text) ?? [];
    return (Number(hour) * 60 + Number(minute) - (Number(pass) % 1440) + 2880) % 1440 / 60;
  };
  await page.locator('[data-interface]').waitFor();
  await expect.poll(hours).toBe(9);
  await page.getByLabel('Time zone').selectOption('browser');
  await expect.poll(hours).toBe(19); // five hours behind UTC: the clock of the demo is in November
  expect(await page.locator('[data-zone]').textContent()).toMatch(/this browser’s: America\/New_York/);
  await page.reload();
  await expect.poll(hours).toBe(19);
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('speeds are in bytes where the user prefers that, and stay so', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/traffic`);
  const speed = page.locator('[data-interface] .card-head .note');
  await expect.poll(() => speed.textContent()).toMatch(/bit\/s/);
  await page.getByLabel('Speeds in').selectOption('byte');
  await expect.poll(() => speed.textContent()).toMatch(/B\/s/);
  await page.reload();
  await expect.poll(() => speed.textContent()).toMatch(/B\/s/);
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('a file names its zone, its day and its units', async () => {
  const { page, context } = await openPage(browser, probe.url, newYork);
  await page.goto(`${probe.url}/#/network-report`);
  const [download] = await Promise.all([page.waitForEvent('download'), page.getByRole('button', { name: 'Save as CSV Access points' }).click()]);
  expect(download.suggestedFilename()).toMatch(/^access-points-day-\d{4}-\d\d-\d\d-Asia-Tokyo\.csv$/);
  const [header = '', ...rows] = readFileSync(await download.path(), 'utf8').replace('\ufeff', '').split('\r\n');
  expect(header).toBe('id,model,version,apname,clients_peak,clients_mean,traffic_peak_mbit_per_s,traffic_mean_mbit_per_s');
  expect(rows.length).toBeGreaterThan(1);
  for (const row of rows.filter(Boolean)) expect(row).not.toMatch(/\.\d{4}/);
  await closeContext(context);
});

describe('on paper', () => {
  test('a report has all of its columns and rows, its zone, and nothing to press', async () => {
    const { page, context } = await openPage(browser, probe.url);
    await page.goto(`${probe.url}/#/client-report`);
    await page.locator('tbody tr').first().waitFor();
    await page.emulateMedia({ media: 'print' });
    await page.setViewportSize({ width: 720, height: 1000 }); // A4, as a browser lays it out
    expect(await page.locator('button:not(.sort):visible, select:visible, input:visible, nav:visible').count()).toBe(0);
    const table = await page.locator('main table').evaluate((one) => ({
      heads: [...one.querySelectorAll('thead th')].map((head) => head.getBoundingClientRect()).filter((box) => box.width > 5 && box.height > 5).length,
      columns: one.querySelectorAll('tbody tr:first-child > *').length,
      right: one.getBoundingClientRect().right,
      display: getComputedStyle(one.querySelector('thead') as Element).display,
    }));
    expect(table.heads).toBe(11);
    expect(table.columns).toBe(11);
    expect(table.right).toBeLessThanOrEqual(720);
    expect(table.display).toBe('table-header-group');
    expect(await page.locator('[data-zone]').isVisible()).toBe(true);
    await page.setViewportSize({ width: 1280, height: 800 });
    const shown = await page.locator('main tbody tr .mac, main tbody tr th .sub').allTextContents();
    const pdf = await page.pdf({ width: '210mm', height: '140mm' }); // the width of A4, and low, so that there are several sheets
    const sheets = execFileSync('pdftotext', ['-layout', '-', '-'], { input: pdf, encoding: 'utf8' }).split('\f').filter((sheet) => sheet.trim() !== '');
    expect(sheets.length).toBeGreaterThan(1);
    const words = (text: string): string => text.replace(/\s+/g, '');
    for (const head of ['Name', 'Network', 'Upload', 'Download', 'Total']) expect(sheets[0]).toContain(head);
    const all = words(sheets.join(''));
    expect(shown.length).toBeGreaterThan(0);
    for (const mac of shown) expect(sheets.join('')).toContain(mac);
    expect(all).toContain('Timesaretheprobe’s');
    for (const button of ['SaveasCSV', 'Searchclients', 'Wallmode']) expect(all).not.toContain(button);
    await closeContext(context);
  });

  test.each([
    ['client-report', 'main tbody tr', /^ *[0-9A-F]{2}(:[0-9A-F]{2}){5}/m, /Name +Network .*Upload +Download/],
    ['device?device=02:19:56:00:00:01', '[data-part=interfaces] tbody tr', /^ *ge\d+ /m, /Interface +State +Link +In +Out +Peak +Course/],
    ['clients-now', 'main tbody tr', /^ *[0-9A-F]{2}(:[0-9A-F]{2}){5}/m, /Client +Device +Network +Since +Signal/],
  ])('every sheet of %s has the heads of its rows', async (hash, rows, aRow, heads) => {
    const { page, context } = await openPage(browser, probe.url);
    await page.goto(`${probe.url}/#/${hash}`);
    await expect.poll(() => page.locator(rows).count(), { timeout: 30_000 }).toBeGreaterThan(15);
    const pdf = await page.pdf({ width: '210mm', height: '140mm' });
    const sheets = execFileSync('pdftotext', ['-layout', '-', '-'], { input: pdf, encoding: 'utf8' }).split('\f').filter((sheet) => aRow.test(sheet));
    expect(sheets.length).toBeGreaterThan(1);
    for (const sheet of sheets) {
      expect(sheet).toMatch(heads);
      expect(sheet.search(heads)).toBeLessThan(sheet.search(aRow));
    }
    await closeContext(context);
  });
});

test.each([
  ['traffic?device=AA:BB:CC:DD:EE:FF', 'No such device'],
  ['device?device=AA:BB:CC:DD:EE:FF', 'No such device'],
  ['traffic?interface=ge24', 'Nothing moved here'],
  ['nonsense', 'There is no such page'],
])('a link to nowhere, %s, says so and shows nothing else', async (hash, text) => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/${hash}`);
  await page.getByText(text).waitFor();
  expect(await page.locator('main [data-interface], main .chart, main .tiles').count()).toBe(0);
  if (text === 'No such device') expect(await page.getByRole('combobox', { name: 'Device' }).locator('option:checked').textContent()).toBe('Choose a device');
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('a wall shows the pages in turn, larger and without navigation, in the colours of its link', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url, { colorScheme: 'light' });
  await page.goto(`${probe.url}/#/overview?wall=1&theme=dark`);
  await page.getByRole('heading', { name: 'Wireless clients', exact: true }).waitFor({ timeout: 20_000 });
  expect(page.url()).toContain('theme=dark');
  expect(await page.locator('nav').count()).toBe(0);
  expect(await page.evaluate(() => document.documentElement.dataset['theme'])).toBe('dark');
  expect(await page.evaluate(() => parseFloat(getComputedStyle(document.documentElement).fontSize))).toBeGreaterThanOrEqual(18);
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('a range is typed in and kept in the link, further back in the view that reaches so far', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/traffic?view=1m`);
  await page.locator('[data-interface] .chart canvas').waitFor();
  const to = await page.locator('input[name=to]').inputValue();
  const back = (minutes: number): string => new Date(Date.parse(`${to}Z`) - minutes * 60_000).toISOString().slice(0, 16);
  await page.locator('input[name=to]').fill(to); // a pass may have moved it meanwhile
  await page.locator('input[name=from]').fill(back(10));
  await page.getByRole('button', { name: 'Show', exact: true }).click();
  await expect.poll(() => page.url()).toMatch(/from=\d+&to=\d+/);
  const values = new URLSearchParams(page.url().split('?')[1]);
  expect(Number(values.get('to')) - Number(values.get('from'))).toBe(600);
  expect(values.get('view')).toBe('1m');
  await page.locator('input[name=from]').fill(back(90));
  await page.getByRole('button', { name: 'Show', exact: true }).click();
  await expect.poll(() => page.url()).toContain('view=5m');
  await page.reload();
  await expect.poll(() => page.locator('input[name=from]').inputValue()).toBe(back(90));
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('an interface tells the speed of its link and its use, and can be compared with the period before', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/traffic?view=1m`);
  await page.locator('[data-link]').waitFor();
  expect(await page.locator('[data-link]').textContent()).toMatch(/^Link [\d.]+ [MG]bit\/s, used at most: in [\d.]+%, out [\d.]+%$/);
  await page.getByLabel('Compare with the period before').check();
  await page.locator('[data-compared]').waitFor();
  await expect.poll(() => page.locator('.readout .key').count()).toBe(4);
  expect(page.url()).toContain('compare=before');
  expect(complaints).toEqual([]);
  await closeContext(context);
});

describe('the charts of clients', () => {
  const chart = (title: string): string => `section.card:has(h2:text-is("${title}"))`;
  const names = (page: Page, title: string): Promise<string[]> => page.locator(`${chart(title)} .readout bdi`).allTextContents();

  test('take a typed range and are compared with the period before', async () => {
    const { page, context, complaints } = await openPage(browser, probe.url);
    await page.goto(`${probe.url}/#/clients?view=1m`);
    await expect.poll(() => page.locator(`${chart('By device')} .chart canvas`).count()).toBe(1);
    const form = page.getByRole('form', { name: 'Range of Clients by network' });
    const to = await form.locator('input[name=to]').inputValue();
    await form.locator('input[name=to]').fill(to);
    await form.locator('input[name=from]').fill(new Date(Date.parse(`${to}Z`) - 300_000).toISOString().slice(0, 16));
    await form.getByRole('button', { name: 'Show', exact: true }).click();
    await expect.poll(() => page.url()).toMatch(/from=\d+&to=\d+/);
    const values = new URLSearchParams(page.url().split('?')[1]);
    expect(Number(values.get('to')) - Number(values.get('from'))).toBe(300);
    const [networks, devices] = [await names(page, 'By network'), await names(page, 'By device')];
    expect(devices.length).toBeGreaterThan(4);
    await page.locator(chart('By network')).getByLabel('Compare with the period before').check();
    expect(page.url()).toContain('compare=before');
    await expect.poll(() => names(page, 'By network')).toEqual([...networks, ...networks.map((name) => `${name}, before`)]);
    await expect.poll(() => names(page, 'By device')).toEqual([...devices, 'All, before']); // of so many only their sum
    for (const [title, lines] of [['By network', networks], ['By device', devices]] as const) {
      await page.locator(`${chart(title)} details summary`).click();
      await page.locator(`${chart(title)} details tbody tr`).first().waitFor();
      const rows = await chartOf(page, chart(title));
      expect(rows.length).toBeGreaterThan(6);
      const after = rows.slice(5).map((row) => row[lines.length + 1]);
      expect(after).toEqual(rows.slice(0, -5).map((row) => row[1])); // the sum, five minutes later
    }
    await page.reload();
    await expect.poll(() => names(page, 'By device')).toEqual([...devices, 'All, before']);
    expect(complaints).toEqual([]);
    await closeContext(context);
  });

  test('go over to the view that reaches back so far', async () => {
    const { page, context, complaints } = await openPage(browser, probe.url);
    await page.goto(`${probe.url}/#/clients?view=1m`);
    const form = page.getByRole('form', { name: 'Range of Clients by device' });
    const to = await form.locator('input[name=to]').inputValue();
    await form.locator('input[name=to]').fill(to);
    await form.locator('input[name=from]').fill(new Date(Date.parse(`${to}Z`) - 5_400_000).toISOString().slice(0, 16));
    await form.getByRole('button', { name: 'Show', exact: true }).click();
    await expect.poll(() => page.url()).toContain('view=5m');
    expect(complaints).toEqual([]);
    await closeContext(context);
  });
});

test('the page of a device without a device says what to do', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/device`);
  await page.getByText('Choose one in the list above').waitFor();
  await page.locator('main').getByRole('link', { name: 'To the overview' }).click();
  await page.getByRole('heading', { name: 'Overview' }).waitFor();
  expect(complaints).toEqual([]);
  await closeContext(context);
});

test('values of a chart are told with the keyboard', async () => {
  const { page, context, complaints } = await openPage(browser, probe.url);
  await page.goto(`${probe.url}/#/traffic?view=5m`);
  const readout = page.locator('[data-interface] .readout');
  await page.locator('[data-interface] .chart canvas').waitFor();
  await page.locator('[data-interface] .chart').focus();
  expect(await readout.textContent()).toMatch(/^Latest/);
  await page.keyboard.press('Home');
  await expect.poll(() => readout.textContent()).toMatch(/^At .*mean of 5 min/);
  expect(await readout.getAttribute('role')).toBe('status');
  await page.keyboard.press('Escape');
  await expect.poll(() => readout.textContent()).toMatch(/^Latest/);
  expect(complaints).toEqual([]);
  await closeContext(context);
});
