import { describe, expect, test } from 'vitest';
import { decodeClientReport, decodeDeviceList, decodeDevices, decodeHistory, decodeNetworkReport, decodePeriods, decodeStatus } from '../src/messages/decode_http';
import { apiPath, ask, openSession } from '../src/messages/http';

const device = { mac: 'AA', hostname: 'gw', ip: '', type: 'Router', model: '', version: '', online: false, wireless: false, measured: 90, absences: [{ from: 10, to: 40 }] };
const poll = {
  address: '192.0.2.1:161', name: 'switch', mac: 'AA', online: true, clients: 4, listed_clients: 4, profile: 'generic', last_answer: 1,
  duration: 2, pdus: 3, timeouts: 0, failed_polls: 0, error: '', stale: [],
};
const row = {
  mac: 'AA', hostname: '', username: '', network: 'Office', type_frequency: '802.11ac (5GHz)', data_rate: 1, upload: 5, download: 7,
  total: 12, first_seen: '2026-11-15 07:14:35', last_seen: '2026-11-15 07:14:35', time_online: 60, online_time: 50.5,
};
const load = { client_count: { peak: 1, average: 0.5 }, traffic: { peak: null, average: null } };
const rogue = { mac: 'AA', networks: '<hidden>', first_seen: '', last_seen: '', total_time: 300, channel: '6 (2.4GHz)', average_strength: null };

describe('answers', () => {
  test('leave out devices of which too little is told', () => {
    expect(decodeDevices({ devices: [device, { ...device, online: 1 }, null, { mac: 'x' }] })).toEqual([device]);
    expect(decodeDevices([])).toBeNull();
  });

  test('tell when a device was measured and away, where the probe tells that', () => {
    const told = (more: object): unknown[] => {
      const [one] = decodeDevices({ devices: [{ ...device, ...more }] }) ?? [];
      return [one?.measured, one?.absences];
    };
    expect(told({ measured: undefined, absences: undefined })).toEqual([null, []]);
    expect(told({ online: true })[0]).toBeNull();
    expect(told({ measured: 0, absences: [{ from: 5, to: 5 }, null, { from: 5, to: 6, more: 1 }] })).toEqual([null, [{ from: 5, to: 6 }]]);
  });

  test('tell the time zone, where the probe tells it', () => {
    const status = { version: '1', now: 1, speed: 1, passes: { period: 60, last: null }, topics: [] };
    const zone = { name: 'Asia/Tokyo', offset: 32_400 };
    expect(decodeStatus({ ...status, time_zone: zone })?.time_zone).toEqual(zone);
    expect(decodeStatus({ ...status, time_zone: { name: 5 } })).toEqual(status);
  });

  test('tell how devices are polled, where any are', () => {
    expect(decodeDeviceList({ devices: [device] })).toEqual({ devices: [device], polls: [] });
    expect(decodeDeviceList({ devices: [], polls: [poll, { ...poll, clients: null, listed_clients: null }, { ...poll, error: 5 }, { ...poll, stale: [{ table: 'stations' }] }, null] })).toEqual({
      devices: [],
      polls: [poll, { ...poll, clients: null, listed_clients: null }],
    });
    expect(decodeDeviceList({ polls: [poll] })).toBeNull();
  });

  test('list periods with the newest first, however the probe lists them', () => {
    expect(decodePeriods({ daily: ['2026-11-14', '2026-11-15', 3], weekly: ['2026-11-15/2026-11-21', '2026-11-08/2026-11-14'] })).toEqual({
      daily: ['2026-11-15', '2026-11-14'],
      weekly: ['2026-11-15/2026-11-21', '2026-11-08/2026-11-14'],
    });
    expect(decodePeriods({})).toBeNull();
  });

  test('tell the status before and after the first pass', () => {
    const status = { version: '1', now: 1, speed: 1, passes: { period: 60, last: null }, topics: [] };
    expect(decodeStatus(status)).toEqual(status);
    expect(decodeStatus({ ...status, passes: { period: 60 } })).toBeNull();
    expect(decodeStatus(null)).toBeNull();
  });

  test('tell of the journal, where the probe keeps one', () => {
    const history = { state: 'ready', known_since: 60, outages: [{ from: 100, to: 400 }], journal: 'on' };
    const status = { version: '1', now: 1, speed: 1, passes: { period: 60, last: null }, topics: [] };
    expect(decodeStatus({ ...status, history })).toEqual({ ...status, history });
    expect(decodeStatus({ ...status, history: 'odd' })).toEqual(status);
    expect(decodeHistory({ ...history, known_since: null })?.known_since).toBeNull();
    expect(decodeHistory({ ...history, outages: [{ from: 400, to: 100 }, null, { from: '1', to: 2 }, ...history.outages] })).toEqual(history);
    for (const odd of [{ state: 'cold' }, { journal: true }, { known_since: '60' }, { outages: null }]) expect(decodeHistory({ ...history, ...odd })).toBeNull();
  });

  test('tell how far the journal has been read, as far as that is known', () => {
    const warming = { state: 'warming', share: 0.42, seconds_left: 8, known_since: 60, outages: [], journal: 'on' };
    expect(decodeHistory(warming)).toEqual(warming);
    expect(decodeHistory({ ...warming, seconds_left: null })?.seconds_left).toBeNull();
    expect(decodeHistory({ ...warming, seconds_left: -1, share: 1.5 })).toMatchObject({ seconds_left: null, share: 1 });
    expect(decodeHistory({ ...warming, share: 'x' })).not.toHaveProperty('share');
  });

  test('keep the sound rows of a client report', () => {
    const report = { wireless_clients: [row, { ...row, upload: '5' }], wireless_guests: [{ ...row, online_time: null }], expire: false };
    expect(decodeClientReport(report)).toEqual({ wireless_clients: [row], wireless_guests: [{ ...row, online_time: null }], expire: false });
    expect(decodeClientReport({ wireless_clients: [] })).toBeNull();
  });

  test('keep the sound parts of a network report, with numbers that are none as null', () => {
    const point = { ...load, apname: 'ap', model: '', version: '' };
    const network = { ...load, name: 'Office', guest: false, security: 'None' };
    expect(
      decodeNetworkReport({
        rogue_ap: [rogue, { ...rogue, seen_by: { BB: 'ap' } }, { ...rogue, seen_by: { BB: 1 } }, 3],
        wireless_access_points: { AA: point, BB: {} },
        wireless_network: [network, { ...network, guest: 'no' }],
        spectrum_usage: { '5GHz': load, '6GHz': 1 },
      }),
    ).toEqual({
      rogue_ap: [{ ...rogue, seen_by: {} }, { ...rogue, seen_by: { BB: 'ap' } }],
      expire: false,
      wireless_access_points: { AA: point },
      wireless_network: [network],
      spectrum_usage: { '5GHz': load },
    });
    expect(decodeNetworkReport({ rogue_ap: [] })).toBeNull();
  });
});

describe('asking', () => {
  const answering = (status: number, text: string) => () => Promise.resolve({ status, text });
  const number = (value: unknown): number | null => (typeof value === 'number' ? value : null);

  test('encodes what it asks for', () => {
    expect(apiPath('reports/clients', { type: 'weekly', period: '2026-11-15/2026-11-21' })).toBe('/api/v1/reports/clients?type=weekly&period=2026-11-15%2F2026-11-21');
    expect(apiPath('status')).toBe('/api/v1/status');
  });

  test('says of a wrong token only that it is wrong, and of all else what the probe says', async () => {
    const refusing = (status: number) => () => Promise.resolve({ status, text: '{"error":{"code":"x","message":"Refused: an explanation."}}' });
    expect(await openSession(refusing(401), 'wrong')).toBe('That is not its token.');
    expect(await openSession(refusing(429), 'wrong')).toBe('Refused: an explanation.');
  });

  test('shows the token when it opens a session, and never again', async () => {
    const seen: [string, Record<string, string>][] = [];
    const fetcher = (path: string, headers: Record<string, string>) => {
      seen.push([path, headers]);
      return Promise.resolve({ status: 200, text: '1' });
    };
    expect(await openSession(fetcher, 'secret')).toBe('');
    await ask(fetcher, '/', number);
    expect(seen).toEqual([
      ['/api/v1/session', { Authorization: 'Bearer secret' }],
      ['/', {}],
    ]);
  });

  test.each([
    [200, '7', { kind: 'value', value: 7 }],
    [200, '"x"', { kind: 'error', status: 200, code: 'malformed', message: 'The answer of the probe cannot be read.' }],
    [200, 'NaN', { kind: 'error', status: 200, code: 'malformed', message: 'The answer of the probe cannot be read.' }],
    [404, '{"error":{"code":"nothing_yet","message":"Wait."}}', { kind: 'error', status: 404, code: 'nothing_yet', message: 'Wait.' }],
    [502, '<html>', { kind: 'error', status: 502, code: 'error', message: 'The probe does not answer.' }],
    [0, '', { kind: 'error', status: 0, code: 'unreachable', message: 'The probe does not answer.' }],
  ])('takes %i %s for what it is', async (status, text, expected) => {
    expect(await ask(answering(status, text), '/', number)).toEqual(expected);
  });
});
