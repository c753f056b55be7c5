// What is so at this moment: the page of a device, who is here, and what needs a person.

import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, describe, expect, test } from 'vitest';
import { agree, openBrowser, pageForEach } from './browser';
import { keepAllOnline } from './figures';
import { type Json, ProbeProcess, simulated } from './probe';

interface Port {
  interface: string;
  name: string;
  state: string;
  received: number | null;
}
interface Client {
  mac: string;
  hostname: string;
  device: string;
  device_name: string;
  ssid: string;
  signal: number | null;
}
interface Neighbour {
  bssid: string;
  ssid: string;
  signal: number | null;
  trusted: boolean;
  own_ssid: boolean;
}
interface Notification {
  mac: string;
  severity: string;
  text: string;
  until: number | null;
}

const accessPoint = '02:19:56:00:00:04';
const switchOfFloor = '02:19:56:00:00:01';
const locked = '02:19:56:00:00:02'; // it refuses its password, and says so in an alert

let probe: ProbeProcess;
let browser: Browser;
let page: Page;

beforeAll(async () => {
  [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
  await probe.await('/api/v1/live/TrafficMonitor?interval=1m', (answer) => (JSON.stringify(answer).match(/"time"/g)?.length ?? 0) > 60);
});
afterAll(async () => {
  await browser.close();
  await probe.stop();
});
pageForEach(() => ({ browser, url: probe.url }), async (one) => {
  page = one.page;
  await keepAllOnline(page, probe);
});

const open = (hash: string): Promise<unknown> => page.goto(`${probe.url}/#/${hash}`);
const listOf = async <One>(path: string, member: string): Promise<One[]> => (await probe.get(path))[member] as One[];

describe('the page of a device', () => {
  test('tells what it is and why it has its level', async () => {
    await open(`device?device=${accessPoint}`);
    const facts = page.locator('.facts');
    for (const title of ['Address', 'Model', 'Firmware', 'Uptime', 'CPU']) await facts.getByText(title, { exact: true }).waitFor();
    expect(await facts.textContent()).toMatch(/10\.20\.0\.5.*the probe’s own judgement|the probe’s own judgement.*10\.20\.0\.5/s);
  });

  test('lists every interface with its state, those that are down or idle too', async () => {
    await open(`device?device=${switchOfFloor}`);
    const rows = page.locator('[data-part=interfaces] tbody tr');
    await expect.poll(() => rows.count()).toBe(25);
    const ports = await listOf<Port>(`/api/v1/ports?mac=${switchOfFloor}`, 'ports');
    const titles: Record<string, string> = { up: 'Up', down: 'Down' };
    const told = Object.fromEntries(ports.map((port) => [port.name, titles[port.state]]));
    const shown = Object.fromEntries(await rows.evaluateAll((all) => all.map((row) => [(row as HTMLElement).dataset['key'] ?? '', row.querySelector('[data-column=state] span')?.textContent ?? ''] as const)));
    expect(shown).toEqual(told);
    const row = (name: string) => page.locator(`[data-part=interfaces] tr[data-key="${name}"]`);
    await expect.poll(() => row('ge1').locator('[data-column=speed]').textContent()).toBe('1 Gbit/s');
    await row('ge1').locator('.spark').waitFor();
    expect(await row('ge24').locator('[data-column=speed]').textContent()).toBe('–');
    expect(await row('ge24').locator('a').count()).toBe(0);
    expect(await row('console0').locator('[data-column=state]').textContent()).toBe('Upnot counted');
    expect(await rows.first().getAttribute('data-key')).toMatch(/console0|ge1/); // what is up comes first
    expect(await rows.last().getAttribute('data-key')).toBe('ge24');
  });

  test('tells radios with band and channel, and the networks on them', async () => {
    await open(`device?device=${accessPoint}`);
    const radios = await listOf<{ name: string; band: string; channel: number; ssids: { ssid: string }[] }>(`/api/v1/radios?mac=${accessPoint}`, 'radios');
    expect(radios).toHaveLength(2);
    for (const { name, band, channel, ssids } of radios) {
      const radio = page.locator(`[data-radio="${name}"]`);
      await radio.getByText(`${band.replace('GHz', ' GHz')}, channel ${channel}`).waitFor();
      expect(await radio.locator('li bdi').allTextContents()).toEqual(ssids.map(({ ssid }) => ssid));
    }
  });

  test('tells who is on it now', async () => {
    await open(`device?device=${accessPoint}`);
    const shown = async (): Promise<string[]> => page.locator('[data-part=clients] tbody tr').evaluateAll((rows) => rows.map((row) => (row as HTMLElement).dataset['key'] ?? '').sort());
    const told = async (): Promise<string[]> => (await listOf<Client>(`/api/v1/clients?mac=${accessPoint}`, 'clients')).map(({ mac }) => mac).sort();
    expect((await agree(shown, told)).length).toBeGreaterThan(0);
  });

  describe('tells which access points it hears now', () => {
    const part = () => page.locator('[data-part=neighbours-now]');
    const answer = (members: Json) => page.route('**/api/v1/neighbours**', (route) => route.fulfill({ json: { mac: accessPoint, online: true, ...members } }));
    const one = { bssid: '02:00:00:00:00:0A', ssid: 'Bakery', band: '5GHz', channel: 36, signal: -50, trusted: false, own_ssid: false };

    test('by signal, each with network, band and channel', async () => {
      await open(`device?device=${accessPoint}`);
      const shown = async (): Promise<string[]> => part().locator('tbody tr').evaluateAll((rows) => rows.map((row) => (row as HTMLElement).dataset['key'] ?? ''));
      const told = async (): Promise<string[]> => {
        const all = await listOf<Neighbour>(`/api/v1/neighbours?mac=${accessPoint}`, 'neighbours');
        const signals = all.map(({ signal }) => signal ?? -1000);
        expect(signals).toEqual([...signals].sort((a, b) => b - a));
        return all.map(({ bssid }) => bssid);
      };
      const macs = await agree(shown, told);
      expect(macs.length).toBeGreaterThan(2);
      const row = part().locator(`tr[data-key="${macs[0]}"]`);
      expect(await row.locator('[data-column=channel]').textContent()).toMatch(/^(2\.4|5) GHz, channel \d+$/);
      expect(await row.locator('[data-column=signal]').textContent()).toMatch(/^-\d\d dBm$/);
    });

    test('with one’s own marked, and no alarm about those of others', async () => {
      const names: [Partial<typeof one>, string][] = [
        [{ ssid: 'Office', trusted: true, own_ssid: true }, 'own'],
        [{ ssid: 'Office', own_ssid: true }, 'own name, not trusted'],
        [{ trusted: true }, 'trusted'],
        [{ ssid: '' }, 'another’s'],
      ];
      await answer({ neighbours: names.map(([members], i) => ({ ...one, ...members, bssid: `02:00:00:00:00:0${i}`, signal: -50 - i })) });
      await open(`device?device=${accessPoint}`);
      await expect.poll(() => part().locator('td[data-column=kind]').allTextContents()).toEqual(names.map(([, kind]) => kind));
      expect(await part().locator('[data-column=ssid] bdi').allTextContents()).toEqual(['Office', 'Office', 'Bakery', 'hidden']);
      expect(await part().locator('.bad, .badge, [data-severity]').count()).toBe(0);
    });

    test('and says so when there are none, when it is not known, and what of one is not', async () => {
      await answer({ neighbours: [] });
      await open(`device?device=${accessPoint}`);
      await part().getByText('Its latest scan has no access point.').waitFor();
      await page.unrouteAll();
      await answer({ neighbours: null });
      await page.reload();
      await part().getByText('The device does not tell which access points it hears.').waitFor();
      await page.unrouteAll();
      await answer({ neighbours: [{ ...one, band: null, channel: null, signal: null }] });
      await page.reload();
      await expect.poll(() => part().locator('tbody td').allTextContents()).toEqual(['another’s', '–', '–']);
    });
  });

  test('lists its notifications', async () => {
    await open(`device?device=${locked}`);
    const entry = page.locator('[data-part=notifications] li[data-severity=alert]').first();
    await entry.waitFor();
    expect(await entry.textContent()).toMatch(/^Alert The device refuses the password\. since /);
  });

  test('that nobody knows says so, and shows nothing else instead', async () => {
    await open('device?device=02:00:00:00:00:99');
    await page.getByText('No such device').waitFor();
    expect(await page.locator('main .card').count()).toBe(1);
    expect(await page.locator('[data-part]').count()).toBe(0);
  });
});

test('what a device has told of before, and tells no longer, is said to be old', async () => {
  const poll = {
    address: '192.0.2.1:161', name: 'ap', mac: accessPoint, online: true, clients: 4, listed_clients: 4, profile: 'generic', last_answer: 1, duration: 2, pdus: 3,
    timeouts: 1, failed_polls: 0, error: '', stale: [{ table: 'stations', age: 720 }, { table: 'neighbours', age: 90 }],
  };
  const { devices } = (await probe.get('/api/v1/devices')) as { devices: Json[] };
  await page.route('**/api/v1/devices', (route) => route.fulfill({ json: { devices: devices.map((one) => ({ ...one, online: true, absences: [] })), polls: [poll] } }));
  await open(`device?device=${accessPoint}`);
  await expect.poll(() => page.locator('[data-part=clients] [data-stale]').textContent()).toContain('has not answered this for 12m:');
  await expect.poll(() => page.locator('[data-part=neighbours-now] [data-stale]').textContent()).toContain('for 1m 30s:');
  expect(await page.locator('main [data-stale]').count()).toBe(2);
  await open('clients-now');
  await expect.poll(() => page.locator('main [data-stale]').textContent()).toContain('A device has not told who is there for up to 12m:');
});

test('a link to an idle interface says so, and shows no other in its place', async () => {
  await open(`traffic?device=${switchOfFloor}&interface=ge24`);
  await page.getByText('Nothing moved here').waitFor();
  expect(await page.locator('[data-interface]').count()).toBe(0);
});

test('the overview lists open alerts with their texts', async () => {
  await open('overview');
  const concern = page.locator(`[data-concern="${locked}"]`);
  await concern.locator('li[data-severity=alert]').first().waitFor();
  expect(await concern.textContent()).toMatch(/switch-floor-2.*Alert The device refuses the password\. since \d\d:\d\d/);
  const alerts = (await listOf<Notification>('/api/v1/notifications', 'notifications')).filter((one) => one.severity === 'alert' && one.until === null);
  expect(alerts.map(({ mac }) => mac)).toContain(locked);
  await concern.getByRole('link', { name: 'switch-floor-2' }).click();
  await page.getByRole('heading', { name: 'switch-floor-2' }).waitFor();
});

test('what a notification says is text, whatever it holds', async () => {
  const text = '<img src=x onerror="document.title=\'broken\'">\u202e evil';
  await page.route('**/api/v1/notifications**', (route) => route.fulfill({ json: { notifications: [{ mac: locked, hostname: '', severity: 'alert', text, since: 60, until: null }] } }));
  await open('overview');
  await expect.poll(() => page.locator('.concerns li[data-severity=alert] bdi').textContent()).toBe(text);
  await open(`device?device=${locked}`);
  await expect.poll(() => page.locator('[data-part=notifications] bdi').textContent()).toBe(text);
  expect(await page.locator('main img').count()).toBe(0);
  expect(await page.title()).not.toBe('broken');
});

describe('the clients of this moment', () => {
  const shown = async (): Promise<string[]> => page.locator('[data-part=clients-now] tbody tr').evaluateAll((rows) => rows.map((row) => (row as HTMLElement).dataset['key'] ?? '').sort());

  test('are all listed, each with device, network and signal', async () => {
    await open('clients-now');
    const told = async (): Promise<string[]> => (await listOf<Client>('/api/v1/clients', 'clients')).map(({ mac }) => mac).sort();
    const macs = await agree(shown, told);
    expect(macs.length).toBeGreaterThan(3);
    const row = page.locator(`tr[data-key="${macs[0]}"]`);
    expect(await row.locator('[data-column=device] a').getAttribute('href')).toMatch(/^#\/device\?device=02%3A19/);
    expect(await row.locator('[data-column=ssid]').textContent()).toMatch(/(Office|Staff|Welcome)[25](\.4)? GHz, channel \d+/);
    expect(await row.locator('[data-column=signal]').textContent()).toMatch(/^-\d\d dBm$/);
    expect(await row.locator('[data-column=since]').textContent()).toMatch(/\d\d:\d\d/);
  });

  test('are told by their address once where they have no name', async () => {
    const one = { mac: '02:29:56:00:00:99', hostname: '', user: '', device: accessPoint, device_name: 'ap', interface: 'wlan0', rate: 1, ssid: 'Office', band: '5GHz', channel: 36, since: 1_795_507_200, or_earlier: false, signal: -60, sent: 1, received: 1 };
    await page.route('**/api/v1/clients', (route) => route.fulfill({ json: { clients: [one, { ...one, mac: '02:29:56:00:00:9A', hostname: 'camera', user: 'guest-1' }] } }));
    await open('clients-now');
    await expect.poll(() => page.locator('[data-part=clients-now] tbody th').allTextContents()).toEqual(['02:29:56:00:00:99', 'cameraguest-1 · 02:29:56:00:00:9A']);
  });

  test('are searched by name, device and network', async () => {
    await open('clients-now');
    await expect.poll(async () => (await shown()).length).toBeGreaterThan(3);
    await page.getByPlaceholder('Search clients').fill('camera staff');
    await expect.poll(() => page.locator('[data-part=clients-now] tbody th bdi').first().textContent()).toBe('camera');
    expect(page.url()).toContain('search=camera+staff');
    await page.getByPlaceholder('Search clients').fill('nobody at all');
    await page.getByText('No client matches').waitFor();
  });

  test('are none where nobody is', async () => {
    await page.route('**/api/v1/clients', (route) => route.fulfill({ json: { clients: [] } }));
    await open('clients-now');
    await page.getByText('Nobody is connected').waitFor();
  });
});

test.each(['top', 'network-report'])('every access point on %s leads to its page', async (hash) => {
  await probe.await('/api/v1/reports/networks/periods', (answer: Json) => (answer['daily'] as string[]).length > 0);
  await open(hash);
  await page.locator(`main a[href*="device?device=${encodeURIComponent(accessPoint)}"]`).first().waitFor();
});
