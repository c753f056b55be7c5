// Every page shows what the HTTP interface tells.

import { readFileSync } from 'node:fs';
import type { Browser } from 'playwright-core';
import { afterAll, beforeAll, beforeEach, describe, expect, test } from 'vitest';
import { agree, openBrowser, orderOf, pageForEach, tableOf, type Watched } from './browser';
import { gatewayOf, keepAllOnline, samplesShown, samplesTold, trafficOf } from './figures';
import { type Json, ProbeProcess, simulated } from './probe';

let probe: ProbeProcess;
let browser: Browser;
let watched: Watched;

beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
  await probe.await('/api/v1/live/TrafficMonitor?interval=5m', (answer) => JSON.stringify(answer).includes('"input"'));
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});
pageForEach(() => ({ browser, url: probe.url }), (one) => {
  watched = one;
});

const open = async (hash: string): Promise<void> => {
  await watched.page.goto(`${probe.url}/#/${hash}`);
};
const text = (value: unknown): string => (value === null || value === undefined ? '' : String(value));

interface Figure {
  value: number;
  level: number;
}
interface Health {
  device: string;
  hostname: string;
  level?: number;
  actual_cpu: Figure;
  uptime: Figure;
  clients?: Figure;
  rogue_aps?: Figure;
  notification: { alert: number; warning: number; info: number };
}

const healthNow = async (): Promise<Health[]> => ((await probe.get('/api/v1/live/HealthMonitor'))['data'] as Json)['status'] as Health[];

describe('the overview', () => {
  const missing = '–';
  const cellsOf = (one: Health): Record<string, string> => ({
    device: one.hostname,
    cpu: String(one.actual_cpu.value),
    uptime: String(one.uptime.value),
    clients: one.clients ? String(one.clients.value) : missing,
    rogues: one.rogue_aps ? String(one.rogue_aps.value) : missing,
    notifications: [one.notification.alert, one.notification.warning, one.notification.info].join(' '),
  });

  test('shows the figures of every device', async () => {
    await open('overview');
    const shown = async (): Promise<Record<string, Record<string, string>>> => {
      const table = await tableOf(watched.page, 'main');
      return Object.fromEntries(Object.keys(table).sort().map((mac) => {
        const { device, cpu, uptime, clients, rogues, notifications } = table[mac] ?? {};
        return [mac, { device, cpu, uptime, clients, rogues, notifications } as Record<string, string>];
      }));
    };
    const told = async (): Promise<Record<string, Record<string, string>>> =>
      Object.fromEntries((await healthNow()).sort((a, b) => (a.device < b.device ? -1 : 1)).map((one) => [one.device, cellsOf(one)]));
    expect(Object.keys(await agree(shown, told))).toHaveLength(9);
  });

  test('puts the worst first', async () => {
    // The probe's own judgement, whatever CPU, uptime and clients would say: it has one of every simulated device.
    const rank = (one: Health, offline: Set<string>): number => {
      if (offline.has(one.device)) return 1;
      return { 4: 0, 3: 2, 2: 4 }[one.level ?? 0] ?? 3;
    };
    await open('overview');
    const told = async (): Promise<number[]> => {
      const devices = (await probe.get('/api/v1/devices'))['devices'] as { mac: string; online: boolean }[];
      const offline = new Set(devices.filter((device) => !device.online).map((device) => device.mac));
      return (await healthNow()).map((one) => rank(one, offline)).sort();
    };
    const titles = ['Bad', 'Offline', 'Fair', 'Unknown', 'Good'];
    const shown = async (): Promise<number[]> =>
      (await watched.page.locator('td[data-column=state] .badge').allTextContents()).map((title) => titles.indexOf(title));
    const ranks = await agree(shown, told);
    expect(ranks).not.toContain(-1);
  });

  test('adds up clients, rogue access points and alerts', async () => {
    await open('overview');
    const tile = async (key: string): Promise<string> => watched.page.locator(`[data-tile=${key}]`).evaluate((data) => (data as HTMLDataElement).value);
    const shown = async (): Promise<string[]> => [await tile('clients'), await tile('rogues'), await tile('alerts')];
    const told = async (): Promise<string[]> => {
      const devices = (await probe.get('/api/v1/devices'))['devices'] as { mac: string; online: boolean }[];
      const offline = new Set(devices.filter((device) => !device.online).map((device) => device.mac));
      const health = (await healthNow()).filter((one) => !offline.has(one.device));
      const sum = (value: (one: Health) => number | undefined): string => String(health.reduce((all, one) => all + (value(one) ?? 0), 0));
      return [sum((one) => one.clients?.value), sum((one) => one.rogue_aps?.value), sum((one) => one.notification.alert)];
    };
    await agree(shown, told);
  });

  test('is searched, sorted and linked to', async () => {
    await open('overview');
    await watched.page.getByPlaceholder('Search devices').fill('KITCHEN');
    await expect.poll(() => orderOf(watched.page, 'main')).toHaveLength(2);
    await watched.page.getByRole('button', { name: 'Device' }).click();
    expect(watched.page.url()).toContain('search=KITCHEN');
    expect(watched.page.url()).toContain('sort=device');
    const names = watched.page.locator('tbody th bdi');
    await expect.poll(() => names.allTextContents()).toEqual(['ap1-kitchen', 'ap2-kitchen']);
    await watched.page.reload();
    await expect.poll(() => names.allTextContents()).toEqual(['ap1-kitchen', 'ap2-kitchen']);
    await watched.page.getByRole('button', { name: 'Device' }).click();
    await expect.poll(() => names.allTextContents()).toEqual(['ap2-kitchen', 'ap1-kitchen']);
    await names.first().click();
    await watched.page.getByRole('heading', { name: 'ap2-kitchen' }).waitFor();
    await watched.page.locator('[data-part=interfaces] tbody tr').first().waitFor();
    await watched.page.locator('main').getByRole('link', { name: 'Traffic' }).click();
    await watched.page.getByRole('heading', { name: 'Traffic of ap2-kitchen' }).waitFor();
  });
});

describe('traffic', () => {
  beforeEach(() => keepAllOnline(watched.page, probe));

  test('is that of every interface, and the probe measures the same', async () => {
    const mac = await gatewayOf(probe);
    await open(`traffic?device=${mac}`);
    const shown = async (): Promise<string[][]> => {
      const table = await tableOf(watched.page, 'main');
      return Object.keys(table).sort().map((name) => [name, table[name]?.['in'] ?? '', table[name]?.['out'] ?? '']);
    };
    const told = async (): Promise<string[][]> =>
      Object.entries(await trafficOf(probe, mac, '1m')).sort(([a], [b]) => (a < b ? -1 : 1)).map(([name, { traffic }]) => [name, text(traffic.at(-1)?.input), text(traffic.at(-1)?.output)]);
    expect((await agree(shown, told)).length).toBeGreaterThan(1);
    const measured = async (): Promise<string[][]> =>
      Promise.all(Object.keys(await trafficOf(probe, mac, '1m')).sort().map(async (name) => {
        const answer = await probe.get(`/api/v1/traffic?mac=${mac}&interface=${encodeURIComponent(name)}`);
        return [name, text(answer['input']), text(answer['output'])];
      }));
    await agree(shown, measured);
  });

  test.each(['1m', '5m', '10m'])('has every sample of the view %s', async (view) => {
    const mac = await gatewayOf(probe);
    await probe.await(`/api/v1/live/TrafficMonitor?interval=${view}`, (answer) => JSON.stringify(answer).includes('"input"'));
    const name = Object.keys(await trafficOf(probe, mac, view))[0] ?? '';
    await open(`traffic?device=${mac}&view=${view}&interface=${name}`);
    await watched.page.getByText('Show as a table').click();
    const rows = await agree(() => samplesShown(watched.page, name), () => samplesTold(probe, mac, view, name));
    expect(rows.length).toBeGreaterThan(0);
    expect(await watched.page.locator('.chart canvas').count()).toBe(1);
  });

  test('has six views, and says so when one has nothing yet', async () => {
    await open('traffic');
    const views = watched.page.getByRole('group', { name: 'View' }).getByRole('radio');
    await views.first().waitFor();
    expect(await views.evaluateAll((all) => all.map((one) => (one as HTMLInputElement).value))).toEqual(['1m', '5m', '10m', '1h', '2h', '1day']);
    await views.last().check();
    expect(watched.page.url()).toContain('view=1day');
    await watched.page.getByText('No traffic', { exact: true }).waitFor();
  });

  test('is zoomed into, and the address bar holds it', async () => {
    await open('traffic?interface=wan0');
    const chart = watched.page.locator('.chart .u-over');
    const box = (await chart.boundingBox()) ?? { x: 0, y: 0, width: 0, height: 0 };
    await watched.page.mouse.move(box.x + box.width * 0.3, box.y + 50);
    await watched.page.mouse.down();
    await watched.page.mouse.move(box.x + box.width * 0.7, box.y + 60, { steps: 5 });
    await watched.page.mouse.up();
    await expect.poll(() => watched.page.url()).toMatch(/from=\d+&to=\d+/);
    const zoomed = watched.page.url();
    await watched.page.reload();
    const all = watched.page.getByRole('button', { name: 'All', exact: true });
    await expect.poll(() => all.isEnabled()).toBe(true);
    expect(watched.page.url()).toBe(zoomed);
    await watched.page.getByRole('button', { name: 'Zoom in' }).focus();
    await watched.page.keyboard.press('+');
    await expect.poll(() => watched.page.url()).not.toBe(zoomed);
    await watched.page.keyboard.press('0');
    await expect.poll(() => watched.page.url()).not.toContain('from=');
    expect(await all.isEnabled()).toBe(false);
  });
});

describe('clients', () => {
  beforeEach(() => keepAllOnline(watched.page, probe));

  test('are counted by network and by device, over time and now', async () => {
    await open('clients');
    const body = async (topic: string): Promise<Record<string, Record<string, Json>>> =>
      ((await probe.get(`/api/v1/live/${topic}?interval=1m`))['data'] as Json)['1m'] as Record<string, Record<string, Json>>;
    const names = new Map(((await probe.get('/api/v1/devices'))['devices'] as { mac: string; hostname: string }[]).map((one) => [one.mac, one.hostname]));
    const counts = async (title: string): Promise<string[]> =>
      Object.entries(await tableOf(watched.page, `section:has(> .card-head > h2:text-is("${title}"))`)).map(([key, cells]) => `${key}: ${cells['count']} ${cells['name']}`).sort();
    await agree(() => counts('Networks now'), async () =>
      Object.entries((await body('SSIDClientCountMonitor'))['current_ssid_clients_counts'] ?? {}).map(([ssid, one]) => `${ssid}: ${text(one['count'])} ${ssid}`).sort());
    await agree(() => counts('Devices now'), async () =>
      Object.entries((await body('DevicesClientCountMonitor'))['current_devices_counts'] ?? {})
        .flatMap(([mac, ssids]) => Object.entries(ssids).map(([ssid, one]) => `${mac} ${ssid}: ${text((one as Json)['count'])} ${names.get(mac)}`)).sort());
    const first = watched.page.locator('section').filter({ has: watched.page.getByRole('heading', { name: 'By network' }) });
    await first.getByText('Show as a table').click();
    const all = async (): Promise<string[]> => first.locator('details tbody tr').evaluateAll((rows) => rows.map((row) => row.querySelector('data')?.value ?? ''));
    const series = await agree(all, async () => Object.values((await body('SSIDClientCountMonitor'))['ssids_clients_counts']?.['ssid_client_count_all'] ?? {}).map(text));
    expect(series.length).toBeGreaterThan(0);
  });
});

test('lines of clients are chosen, down to none but the sum, and the address bar holds it', async () => {
  await open('clients');
  const lines = watched.page.getByRole('group', { name: 'Lines of Clients by network' }).locator('label:has(bdi)').getByRole('checkbox');
  await lines.first().waitFor();
  const checked = async (): Promise<boolean[]> => lines.evaluateAll((boxes) => boxes.map((box) => (box as HTMLInputElement).checked));
  expect(await checked()).not.toContain(false);
  for (const line of await lines.all()) await line.uncheck();
  await watched.page.reload();
  await lines.first().waitFor();
  expect(await checked()).not.toContain(true);
  await lines.first().check();
  expect((await checked()).filter(Boolean)).toHaveLength(1);
});

describe('the top', () => {
  test.each(['total', 'in', 'out', 'clients'])('is ordered by %s', async (by) => {
    const orderby = by === 'clients' ? 'total' : by;
    await probe.await(`/api/v1/live/wireless_top_monitor?orderby=${orderby}`);
    await open(`top?by=${by}&count=50`);
    const shown = async (): Promise<string[][]> =>
      watched.page.locator('[data-ranking]').evaluateAll((panels) =>
        panels.map((panel) => [...panel.querySelectorAll<HTMLElement>('li')].map((entry) => `${entry.dataset['key']}=${entry.querySelector('data')?.value}`)));
    type Entry = Record<string, string | number>;
    const told = async (): Promise<string[][]> => {
      const data = (await probe.get(`/api/v1/live/wireless_top_monitor?orderby=${orderby}`))['data'] as Record<string, Record<string, Entry[]>>;
      const part = by === 'clients' ? 'client' : 'traffic';
      return [data['access_points'], data['wireless_networks'], data['wireless_clients']]
        .map((ranking) => ranking?.[part])
        .filter((entries) => entries !== undefined)
        .map((entries) => entries.map((entry) => `${entry['id'] ?? entry['name']}=${entry[by]}`));
    };
    const panels = await agree(shown, told);
    expect(panels).toHaveLength(by === 'clients' ? 2 : 3);
    expect(panels[0]?.length).toBeGreaterThan(1);
    const values = (panels[0] ?? []).map((entry) => Number(entry.split('=').at(-1)));
    expect(values).toEqual([...values].sort((a, b) => b - a));
  });

  test('is searched, and who is found keeps the place among all', async () => {
    await open('top?by=total&count=5');
    const clients = watched.page.locator('[data-ranking=clients]');
    await clients.locator('li').nth(4).waitFor();
    const last = { name: await clients.locator('li bdi').nth(4).textContent(), rank: '5' };
    await watched.page.getByLabel('Search the rankings').fill(last.name ?? '');
    await expect.poll(async () => clients.locator('li').evaluateAll((entries) => entries.map((entry) => entry.querySelector('bdi')?.textContent))).toContain(last.name);
    expect(await clients.locator('li', { hasText: last.name ?? '' }).first().locator('.rank').textContent()).not.toBe('1');
    await watched.page.getByLabel('Search the rankings').fill('no such name');
    await expect.poll(() => clients.textContent()).toContain('Nobody matches');
  });
});

/** The rows of a CSV text, by a plain reading of RFC 4180. */
function parseCsv(csv: string): string[][] {
  const rows: string[][] = [];
  for (const line of csv.replace('\ufeff', '').split('\r\n').slice(0, -1)) {
    rows.push([...line.matchAll(/(?:^|,)(?:"((?:[^"]|"")*)"|([^,]*))/g)].map((cell) => (cell[1] ?? cell[2] ?? '').replaceAll('""', '"')));
  }
  return rows;
}

async function savedBy(button: string): Promise<string[][]> {
  const [download] = await Promise.all([watched.page.waitForEvent('download'), watched.page.getByRole('button', { name: button }).first().click()]);
  return parseCsv(readFileSync(await download.path(), 'utf8'));
}

describe('the client report', () => {
  type Row = Record<string, string | number>;
  const report = async (type: string): Promise<{ clients: Row[]; guests: Row[] }> => {
    const periods = await probe.await('/api/v1/reports/clients/periods', (answer) => (answer['daily'] as string[]).length > 0);
    const period = encodeURIComponent((periods[type] as string[])[0] ?? '');
    const answer = await probe.get(`/api/v1/reports/clients?type=${type}&period=${period}`);
    return { clients: answer['wireless_clients'] as Row[], guests: answer['wireless_guests'] as Row[] };
  };

  test.each([
    ['client-report', 'daily', 'clients'],
    ['client-report', 'weekly', 'clients'],
    ['guest-report', 'daily', 'guests'],
  ] as const)('%s, %s, has the rows that the probe has', async (page, type, kind) => {
    await report(type);
    const shown = async (): Promise<string[]> =>
      Object.entries(await tableOf(watched.page, 'main')).map(([key, cells]) => [key, cells['network'], cells['first_seen'], cells['data_rate'], cells['type_frequency']].join('|')).sort();
    const told = async (): Promise<string[]> =>
      (await report(type))[kind].map((row) => [`${row['mac']} ${row['network']} ${row['username']}`, row['network'], row['first_seen'], row['data_rate'], row['type_frequency']].join('|')).sort();
    await open(`${page}?type=${type}`);
    // The page asks for it once a minute, an hour of the probe's; a reload asks at once.
    const rows = await agree(async () => {
      await watched.page.reload();
      await watched.page.locator('main h2').waitFor();
      return shown();
    }, told);
    if (kind === 'clients') expect(rows.length).toBeGreaterThan(3);
  });

  test('is searched and sorted, and saved as it is shown', async () => {
    // The page is given what this test reads: in a moment more another client may have come.
    const { clients, guests } = await report('daily');
    const asked = /\/api\/v1\/reports\/clients\?/;
    await watched.page.route(asked, (route) => route.fulfill({ json: { wireless_clients: clients, wireless_guests: guests } }));
    await open('client-report?sort=-download');
    await expect.poll(() => orderOf(watched.page, 'main')).toHaveLength(clients.length);
    const wanted = String(clients[0]?.['hostname']);
    expect(wanted).not.toBe('');
    await watched.page.getByPlaceholder('Search clients').fill(wanted.toUpperCase());
    const found = clients.filter((row) => JSON.stringify([row['hostname'], row['mac'], row['network']]).includes(wanted)).length;
    await expect.poll(() => orderOf(watched.page, 'main')).toHaveLength(found);
    await watched.page.getByPlaceholder('Search clients').fill('');
    await expect.poll(() => orderOf(watched.page, 'main')).toHaveLength(clients.length);
    const [header, ...rows] = await savedBy('Save as CSV');
    expect(header).toEqual([
      'mac', 'hostname', 'username', 'network', 'type_frequency', 'data_rate_mbit_per_s', 'upload_bytes', 'download_bytes', 'total_bytes', 'first_seen', 'last_seen', 'time_online_seconds', 'online_percent',
    ]);
    const names = (list: (string | undefined)[]): (string | undefined)[] => [...list].sort();
    expect(names(rows.map((row) => row[0]))).toEqual(names(clients.map((row) => String(row['mac']))));
    const downloads = rows.map((row) => Number(row[7]));
    expect(downloads).toEqual([...downloads].sort((a, b) => b - a));
    expect(rows.every((row) => row.length === 13 && Number(row[6]) + Number(row[7]) === Number(row[8]))).toBe(true);
    await watched.page.unroute(asked);
  });

  test('has room for its columns, and no address is broken', async () => {
    await open('client-report');
    await watched.page.locator('tbody tr').first().waitFor();
    const room = await watched.page.locator('main .scroll').evaluate((table) => ({ has: table.clientWidth, needs: table.scrollWidth }));
    expect(room.needs).toBeLessThanOrEqual(room.has);
    const heights = await watched.page.locator('tbody .sub').evaluateAll((addresses) => addresses.map((one) => one.getBoundingClientRect().height / parseFloat(getComputedStyle(one).fontSize)));
    expect(Math.max(...heights)).toBeLessThan(2); // lines
  });

  test('says so when a period has no report any more', async () => {
    await open('client-report?period=2001-01-01');
    await watched.page.getByText('There is no report for this period').waitFor();
  });
});

describe('the network report', () => {
  test('has rogue access points, access points, networks and spectrum use', async () => {
    const periods = await probe.await('/api/v1/reports/networks/periods', (answer) => (answer['daily'] as string[]).length > 0);
    const path = `/api/v1/reports/networks?type=daily&period=${(periods['daily'] as string[]).at(-1)}`;
    type Load = { client_count: { peak: number; average: number }; traffic: { peak: number; average: number } };
    await open('network-report');
    await watched.page.locator('[data-section=spectrum]').waitFor();
    const loads = ['client_count.peak', 'client_count.average', 'traffic.peak', 'traffic.average'];
    const shown = async (): Promise<string[]> => {
      const section = async (id: string, columns: string[]): Promise<string[]> =>
        Object.entries(await tableOf(watched.page, `[data-section=${id}]`)).map(([key, cells]) => [id, key, ...columns.map((column) => cells[column])].join('|'));
      return [
        ...(await section('access-points', loads)),
        ...(await section('spectrum', loads)),
        ...(await section('networks', loads)),
        ...(await section('rogue-access-points', ['average_strength', 'total_time', 'channel'])),
      ].sort();
    };
    const figures = (load: Load): (number | null)[] => [load.client_count.peak, load.client_count.average, load.traffic.peak, load.traffic.average];
    const told = async (): Promise<string[]> => {
      const answer = await probe.get(path);
      return [
        ...Object.entries(answer['wireless_access_points'] as Record<string, Load>).map(([mac, load]) => ['access-points', mac, ...figures(load)].join('|')),
        ...Object.entries(answer['spectrum_usage'] as Record<string, Load>).map(([band, load]) => ['spectrum', band, ...figures(load)].join('|')),
        ...(answer['wireless_network'] as (Load & { name: string; security: string; guest: boolean })[]).map((one) => ['networks', `${one.name} ${one.security} ${one.guest ? 'guest' : ''}`, ...figures(one)].join('|')),
        ...(answer['rogue_ap'] as Record<string, string>[]).map((one) => ['rogue-access-points', one['mac'], one['average_strength'], one['total_time'], one['channel']].join('|')),
      ].sort();
    };
    // The page asks for it once a minute; a reload asks at once.
    const rows = await agree(async () => {
      await watched.page.reload();
      await watched.page.locator('[data-section=spectrum]').waitFor();
      return shown();
    }, told);
    for (const part of ['access-points', 'spectrum', 'networks', 'rogue-access-points']) expect(rows.some((row) => row.startsWith(part))).toBe(true);
  });

  test('of the network is searched', async () => {
    await open('network-report');
    const rogues = watched.page.locator('[data-section=rogue-access-points]');
    await rogues.locator('tbody tr').nth(1).waitFor();
    const all = await orderOf(watched.page, '[data-section=rogue-access-points]');
    await watched.page.getByLabel('Search the report').fill(all[0] ?? '');
    await expect.poll(() => orderOf(watched.page, '[data-section=rogue-access-points]')).toEqual([all[0]]);
    await expect.poll(() => rogues.locator('h2').textContent()).toContain(`1 of ${all.length}`);
    await expect.poll(() => watched.page.locator('[data-section=access-points]').textContent()).toContain('Nothing matches');
  });
});
