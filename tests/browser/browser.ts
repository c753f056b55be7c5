// The browser, and what a test asks of a page.

import { type Browser, type BrowserContext, type BrowserContextOptions, chromium, type Page } from 'playwright-core';
import { afterEach, beforeEach, expect } from 'vitest';

export async function openBrowser(): Promise<Browser> {
  return chromium.launch({
    executablePath: process.env['CHROMIUM'] ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-dev-shm-usage'],
  });
}

export interface Watched {
  page: Page;
  context: BrowserContext;
  /** What a sound page never has: errors of scripts, requests to other hosts, broken rules of the content policy. */
  complaints: string[];
}

export async function openPage(browser: Browser, base: string, options: BrowserContextOptions = {}): Promise<Watched> {
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, timezoneId: 'UTC', ...options });
  const complaints: string[] = [];
  const host = new URL(base).host;
  context.on('request', (request) => {
    const url = new URL(request.url());
    if (!['data:', 'blob:'].includes(url.protocol) && url.host !== host) complaints.push(`a request to ${request.url()}`);
  });
  context.setDefaultTimeout(10_000);
  const page = await context.newPage();
  page.on('pageerror', (error) => complaints.push(error.message));
  page.on('dialog', (dialog) => {
    complaints.push(`a dialog: ${dialog.message()}`);
    void dialog.dismiss();
  });
  page.on('console', (message) => {
    // The browser itself tells of every answer that is an error, and of every connection that is lost.
    if (message.type() === 'error' && !/Failed to load resource|WebSocket connection/.test(message.text())) complaints.push(message.text());
  });
  return { page, context, complaints };
}

/** Closes it with its pages; a request that a test answers in the probe's place may be on its way still. */
export async function closeContext(context: BrowserContext): Promise<void> {
  await Promise.all(context.pages().map((page) => page.unrouteAll({ behavior: 'ignoreErrors' })));
  await context.close();
}

/** Gives each test of a file a page of its own, and closes it afterwards: nothing may have gone wrong on it. */
export function pageForEach(opens: () => { browser: Browser; url: string }, prepare: (watched: Watched) => Promise<void> | void): void {
  let watched: Watched;
  beforeEach(async () => {
    const { browser, url } = opens();
    watched = await openPage(browser, url);
    await prepare(watched);
  });
  afterEach(async () => {
    await closeContext(watched.context);
    expect(watched.complaints).toEqual([]);
  });
}

/** The exact values behind the cells of a table, by row and column; a cell of text gives its text. */
export async function tableOf(page: Page, selector: string): Promise<Record<string, Record<string, string>>> {
  return page.locator(selector).evaluate((root) => {
    const rows: Record<string, Record<string, string>> = {};
    for (const row of root.querySelectorAll<HTMLElement>('tbody tr[data-key]')) {
      const cells: Record<string, string> = {};
      for (const cell of row.querySelectorAll<HTMLElement>('[data-column]')) {
        const values = [...cell.querySelectorAll('data')].map((data) => data.value);
        const names = [...cell.querySelectorAll('bdi')].map((name) => name.textContent);
        cells[cell.dataset['column'] ?? ''] = values.length > 0 ? values.join(' ') : (names[0] ?? cell.textContent ?? '');
      }
      rows[row.dataset['key'] ?? ''] = cells;
    }
    return rows;
  });
}

/** The keys of a table's rows, from top to bottom. */
export async function orderOf(page: Page, selector: string): Promise<string[]> {
  return page.locator(`${selector} tbody tr[data-key]`).evaluateAll((rows) => rows.map((row) => (row as HTMLElement).dataset['key'] ?? ''));
}

/** The open table of a chart: for each time in order, the exact values. */
export async function chartOf(page: Page, selector: string): Promise<string[][]> {
  return page.locator(`${selector} details table tbody tr`).evaluateAll((rows) =>
    rows.map((row) => [row.querySelector('th')?.textContent ?? '', ...[...row.querySelectorAll('data')].map((data) => data.value)]),
  );
}

/**
 * Waits until what the page shows is what the probe tells. Passes go on meanwhile, so both are read again and again, and
 * only a pair that was read within one pass counts.
 */
export async function agree<Value>(shown: () => Promise<Value>, told: () => Promise<Value>): Promise<Value> {
  let last: { shown: Value; told: Value } | null = null;
  const deadline = Date.now() + 20_000;
  while (Date.now() < deadline) {
    const before = await told();
    const now = await shown();
    const after = await told();
    if (JSON.stringify(before) !== JSON.stringify(after)) continue;
    if (JSON.stringify(now) === JSON.stringify(after)) return now;
    last = { shown: now, told: after };
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  expect(last?.shown).toEqual(last?.told);
  throw new Error('the probe told something else each time');
}
