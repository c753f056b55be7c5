import { describe, expect, test } from 'vitest';
import type { Device, HealthDevice, History } from '../src/messages/decode';
import type { Poll } from '../src/messages/generated/http';
import { journalTexts, knownSinceText, outageText, progressOf } from '../src/state/history';
import { deviceRows, levelOf, overallLevel } from '../src/state/health';
import { isStale, passesFrom, untilNext } from '../src/state/passes';
import { formatRoute, oneOf, parseRoute } from '../src/state/route';
import { compare, distinctKeys, formatSorting, parseSorting, search, sortRows } from '../src/state/sorting';
import { zoomOf, zoomText } from '../src/state/zoom';

const notification = { alert: 0, warning: 0, info: 0 };
const well = (device: string, more: Partial<HealthDevice> = {}): HealthDevice =>
  ({ device, hostname: device, deviceclass: 'Switch', actual_cpu: { value: 5, level: 2 }, uptime: { value: 9000, level: 2 }, notification, level: 2, ...more }) as HealthDevice;
const known = (mac: string, online = true): Device => ({ mac, hostname: mac, ip: '', type: 'Switch', model: '', version: '', online, wireless: false });

describe('the address bar', () => {
  test.each([
    ['', { page: 'overview', values: {} }],
    ['#/nowhere?x=1', { page: 'overview', values: { x: '1' } }],
    ['#/traffic?device=AA%3A01&view=1h', { page: 'traffic', values: { device: 'AA:01', view: '1h' } }],
    ['#client-report', { page: 'client-report', values: {} }],
  ])('%s', (hash, route) => expect(parseRoute(hash)).toEqual(route));

  test('holds any text, and nothing that is empty', () => {
    const values = { interface: '5Ghz - <b>&?#=\u202e', empty: '' };
    expect(parseRoute(formatRoute({ page: 'traffic', values }))).toEqual({ page: 'traffic', values: { interface: values.interface } });
    expect(formatRoute({ page: 'top', values: { by: '' } })).toBe('#/top');
  });

  test('gives the first of the values for one that is not allowed', () => {
    expect(oneOf('b', ['a', 'b'])).toBe('b');
    expect(oneOf('x', ['a', 'b'])).toBe('a');
    expect(oneOf(undefined, ['a', 'b'])).toBe('a');
  });

  test('holds a zoom', () => {
    expect(zoomOf({ page: 'traffic', values: zoomText([60, 120.4]) })).toEqual([60, 120]);
    expect(zoomOf({ page: 'traffic', values: zoomText(null) })).toBeNull();
    expect(zoomOf({ page: 'traffic', values: { from: '120', to: '60' } })).toBeNull();
    expect(zoomOf({ page: 'traffic', values: { from: 'x', to: '1' } })).toBeNull();
  });
});

describe('passes', () => {
  const status = (last: number | null, speed = 1) => ({ version: '', now: 1_000_000, speed, passes: { period: 60, last }, topics: [] });

  test('are counted down by the true time', () => {
    expect(passesFrom(status(980), 500)).toEqual({ period: 60_000, last: 500 - 20_000 });
    expect(untilNext(passesFrom(status(980), 500), 500)).toBe(40_000);
    expect(untilNext(passesFrom(status(980, 60), 500), 500)).toBeCloseTo(1000 - 20_000 / 60);
  });

  test('are due when they are late, and unknown before the first', () => {
    expect(untilNext(passesFrom(status(900), 0), 0)).toBe(0);
    expect(untilNext(passesFrom(status(null), 0), 0)).toBeNull();
  });

  test('leave things stale only after more than two have been missed', () => {
    const passes = { period: 60_000, last: 0 };
    expect(isStale(passes, 152_999)).toBe(false);
    expect(isStale(passes, 153_001)).toBe(true);
    expect(isStale({ period: 1000, last: null }, 1e9)).toBe(false);
  });
});

describe('the journal', () => {
  const at = (hour: number, minute: number, day = 22): number => new Date(2026, 10, day, hour, minute).getTime() / 1000;
  const history = (more: Partial<History>): History => ({ state: 'warming', known_since: null, outages: [], journal: 'on', ...more });

  test.each([
    [{ share: 0.429, seconds_left: 8 }, { percent: 42, text: '42 %, about 8 s left' }],
    [{ share: 0.999, seconds_left: 0 }, { percent: 99, text: '99 %, less than a second left' }],
    [{ share: 0.5, seconds_left: 150 }, { percent: 50, text: '50 %, about 2 min 30 s left' }],
    [{ share: 0, seconds_left: null }, { percent: 0, text: '0 %, the time left is not known yet' }],
    [{}, { percent: null, text: 'the time left is not known yet' }],
  ])('is read: %o', (more, expected) => expect(progressOf(history(more))).toEqual(expected));

  test('says since when figures are known', () => {
    expect(knownSinceText(history({ known_since: at(9, 5) }))).toBe('Figures are known since 2026-11-22 09:05.');
    expect(knownSinceText(history({}))).toBeNull();
  });

  test('that fails says what will be lost', () => expect(journalTexts.failing).toBe('History is not being written: it will be lost at the next restart.'));

  test('has outages, with dates unless they are of the day of the newest sample', () => {
    const data = { times: [at(8, 0), at(12, 0)], columns: [] };
    expect(outageText([at(11, 4), at(11, 27)], data)).toBe('The probe was off 11:04 to 11:27');
    expect(outageText([at(23, 50, 21), at(0, 10)], data)).toBe('The probe was off 2026-11-21 23:50 to 2026-11-22 00:10');
    expect(outageText([at(11, 4, 20), at(11, 27, 20)], data)).toBe('The probe was off 2026-11-20 11:04 to 2026-11-20 11:27');
  });
});

describe('health', () => {
  test('has levels by number', () => {
    expect([undefined, 0, 1, 2, 3, 4, 5].map(levelOf)).toEqual(['unknown', 'unknown', 'unknown', 'good', 'fair', 'bad', 'bad']);
  });

  test('of a device is the worst of its own, CPU, uptime and clients', () => {
    expect(overallLevel(well('a'), true)).toBe('good');
    expect(overallLevel(well('a', { actual_cpu: { value: 90, level: 4 } }), true)).toBe('bad');
    expect(overallLevel(well('a', { level: 3 }), true)).toBe('fair');
    expect(overallLevel(well('a', { rogue_aps: { value: 3, level: 4 } }), true)).toBe('good');
    expect(overallLevel(well('a', { level: 4 }), false)).toBe('offline');
    expect(overallLevel(null, true)).toBe('unknown');
  });

  test('puts the worst first', () => {
    const rows = deviceRows(
      [known('good'), known('new'), known('off', false), known('alert'), known('fair'), known('bad'), known('rogue')],
      [well('good'), well('off'), well('alert', { notification: { ...notification, alert: 1 } }), well('fair', { level: 3 }), well('bad', { level: 4 }), well('rogue', { rogue_aps: { value: 1, level: 4 } })],
    );
    expect(rows.map((row) => row.mac)).toEqual(['bad', 'off', 'fair', 'new', 'alert', 'rogue', 'good']);
  });

  const poll = {
    address: '192.0.2.7:161', name: '192.0.2.7', mac: '', online: false, clients: null, listed_clients: null, profile: '', last_answer: null,
    duration: 0, pdus: 1, timeouts: 1, failed_polls: 1, error: 'no reply', stale: [],
  };

  test('shows a device that never answered, and why', () => {
    expect(deviceRows([known('a')], [], [poll])).toMatchObject([
      { mac: '', name: '192.0.2.7', ip: '192.0.2.7:161', level: 'offline', health: null, trouble: 'no reply' },
      { mac: 'a', trouble: '' },
    ]);
  });

  test('has the number of clients that a polled device tells, and none where it does not', () => {
    const health = well('a', { clients: { value: 0, level: 2 } });
    expect(deviceRows([known('a')], [health])).toMatchObject([{ clients: { value: 0 } }]);
    expect(deviceRows([known('a')], [health], [{ ...poll, mac: 'a', clients: 18 }])).toMatchObject([{ clients: { value: 18, level: 2 } }]);
    expect(deviceRows([known('a')], [health], [{ ...poll, mac: 'a' }])).toMatchObject([{ clients: null, trouble: 'no reply' }]);
    expect(deviceRows([known('a')], [well('a', { clients: undefined })], [{ ...poll, mac: 'a', clients: 18 }])).toMatchObject([{ clients: null }]);
  });

  test('says of a number of clients whether the device lists them', () => {
    const listed = (poll: Poll): boolean | undefined =>
      deviceRows([known('a')], [well('a', { clients: { value: 0, level: 2 } })], [{ ...poll, mac: 'a' }])[0]?.clients?.isListed;
    expect(listed({ ...poll, clients: 18 })).toBe(false);
    expect(listed({ ...poll, clients: 18, listed_clients: 0 })).toBe(false);
    expect(listed({ ...poll, clients: 18, listed_clients: 17 })).toBe(true);
    expect(listed({ ...poll, clients: 0 })).toBe(true);
  });

  test('shows a device that only the health monitor remembers', () => {
    expect(deviceRows([], [well('ghost')])).toMatchObject([{ mac: 'ghost', type: 'Switch', level: 'good' }]);
  });
});

describe('rows', () => {
  test('have keys of their own, even where the probe tells the same one twice', () => {
    expect(distinctKeys(['a', 'b', 'a', 'c', 'a'])).toEqual(['a', 'b', 'a #2', 'c', 'a #3']);
  });

  test('are sorted, and what is not known comes last either way', () => {
    const rows = [3, null, 1, 2];
    expect(sortRows(rows, (row) => row, 'ascending')).toEqual([1, 2, 3, null]);
    expect(sortRows(rows, (row) => row, 'descending')).toEqual([3, 2, 1, null]);
    expect(compare(null, null, 'ascending')).toBe(0);
    expect(sortRows(['ap10', 'AP2', 'ap1'], (row) => row, 'ascending')).toEqual(['ap1', 'AP2', 'ap10']);
  });

  test('keep their order when they are equal', () => {
    const rows = [{ a: 1, b: 1 }, { a: 0, b: 2 }, { a: 1, b: 3 }];
    expect(sortRows(rows, (row) => row.a, 'descending').map((row) => row.b)).toEqual([1, 3, 2]);
  });

  test('are sorted by a column that there is', () => {
    const usual = { column: 'total', direction: 'descending' } as const;
    expect(parseSorting('-name', ['name'], usual)).toEqual({ column: 'name', direction: 'descending' });
    expect(parseSorting('gone', ['name'], usual)).toEqual(usual);
    expect(parseSorting(undefined, ['name'], usual)).toEqual(usual);
    expect(formatSorting(parseSorting('name', ['name'], usual))).toBe('name');
    expect(formatSorting(usual)).toBe('-total');
  });

  test('are found by all of the words, in any of the texts', () => {
    const rows = [['Anna’s phone', 'Office'], ['printer', 'Office'], ['(x)', 'Guest']];
    expect(search(rows, 'office  PHONE', (row) => row)).toEqual([rows[0]]);
    expect(search(rows, '(x', (row) => row)).toEqual([rows[2]]);
    expect(search(rows, ' ', (row) => row)).toEqual(rows);
    expect(search(rows, 'nobody', (row) => row)).toEqual([]);
  });
});
