import { describe, expect, test } from 'vitest';
import type { Device, HealthDevice, History } from '../src/messages/decode';
import type { Poll } from '../src/messages/generated/http';
import { absenceText, basisText, journalTexts, knownSinceText, outageText, progressOf } from '../src/state/history';
import { concernsOf, deviceRows, levelOf, limitText, overallLevel, staleFor } from '../src/state/health';
import { type DeviceLevels, type Held, heldAfter, levelsAfter } from '../src/state/levels';
import { setZone } from '../src/format/zone';
import { isStale, passesFrom, untilNext } from '../src/state/passes';
import { formatRoute, nextOnWall, oneOf, parseRoute, wallSeconds } from '../src/state/route';
import { compare, distinctKeys, formatSorting, parseSorting, search, sortRows } from '../src/state/sorting';
import { settingsFrom } from '../src/state/settings';
import { zoomOf, zoomText } from '../src/state/zoom';

const notification = { alert: 0, warning: 0, info: 0 };
const well = (device: string, more: Partial<HealthDevice> = {}): HealthDevice =>
  ({ device, hostname: device, deviceclass: 'Switch', actual_cpu: { value: 5, level: 2 }, uptime: { value: 9000, level: 2 }, notification, level: 2, ...more }) as HealthDevice;
const known = (mac: string, online = true): Device => ({ mac, hostname: mac, ip: '', type: 'Switch', model: '', version: '', online, wireless: false, measured: null, absences: [] });

describe('the address bar', () => {
  test.each([
    ['', { page: 'overview', values: {} }],
    ['#/nowhere?x=1', { page: 'not-found', values: { x: '1' } }],
    ['#/device?device=AA', { page: 'device', values: { device: 'AA' } }],
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

describe('a wall', () => {
  test('shows each page for the seconds that its link names', () => {
    expect(wallSeconds(parseRoute('#/overview?wall=20'))).toBe(20);
    for (const text of ['', '?wall=0', '?wall=x', '?wall=-5']) expect(wallSeconds(parseRoute(`#/overview${text}`))).toBeNull();
    expect(nextOnWall(parseRoute('#/overview?wall=5&theme=dark&search=x'))).toEqual({ page: 'traffic', values: { wall: '5', theme: 'dark' } });
    expect(nextOnWall(parseRoute('#/top?wall=5')).page).toBe('overview');
  });
});

test('choices that were kept are taken, and what is none is not', () => {
  expect(settingsFrom((key) => ({ 'vexora-zone': 'browser', 'vexora-rates': 'furlong' })[key] ?? null)).toEqual({ zone: 'browser', rates: 'bit', theme: 'auto' });
  expect(settingsFrom(() => { throw new Error('not allowed'); })).toEqual({ zone: 'probe', rates: 'bit', theme: 'auto' });
});

describe('a report', () => {
  const zone = { name: 'Asia/Tokyo', offset: 32_400 };
  const at = (hour: number, minute: number, day = 22): number => Date.UTC(2026, 10, day, hour - 9, minute) / 1000;

  test('says what of its period it rests on, by the days of the probe', () => {
    expect(basisText('2026-11-21', at(9, 0, 1), at(8, 30), zone)).toBe('');
    expect(basisText('2026-11-22', at(9, 0, 1), at(8, 30), zone)).toBe('Not over yet: up to 22 Nov 2026, 08:30.');
    expect(basisText('2026-11-22', at(7, 15), at(8, 30), zone)).toBe('The record begins 22 Nov 2026, 07:15, 1h 15m up to now.');
    expect(basisText('2026-11-15/2026-11-21', at(7, 15, 18), at(8, 30), zone)).toBe('The record begins 18 Nov 2026, 07:15.');
    expect(basisText('2026-11-21', null, at(8, 30), zone)).toBe('');
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
    [{ share: 0.429, seconds_left: 8 }, { percent: 42, text: '42%, about 8s left' }],
    [{ share: 0.999, seconds_left: 0 }, { percent: 99, text: '99%, less than a second left' }],
    [{ share: 0.5, seconds_left: 150 }, { percent: 50, text: '50%, about 2m 30s left' }],
    [{ share: 0, seconds_left: null }, { percent: 0, text: '0%, the time left is not known yet' }],
    [{}, { percent: null, text: 'the time left is not known yet' }],
  ])('is read: %o', (more, expected) => expect(progressOf(history(more))).toEqual(expected));

  test('says since when figures are known', () => {
    expect(knownSinceText(history({ known_since: at(9, 5) }))).toBe('Figures are known since 22 Nov 2026, 09:05.');
    expect(knownSinceText(history({}))).toBeNull();
  });

  test('that fails says what will be lost', () => expect(journalTexts.failing).toBe('History is not being written: it will be lost at the next restart.'));

  test('has outages, with dates unless they are of the day of the newest sample', () => {
    const data = { times: [at(8, 0), at(12, 0)], columns: [] };
    expect(outageText([at(11, 4), at(11, 27)], data)).toBe('The probe was off 11:04–11:27');
    expect(outageText([at(23, 50, 21), at(0, 10)], data).replace(/\s/g, ' ')).toBe('The probe was off 21 Nov 2026, 23:50 – 22 Nov 2026, 00:10');
    expect(absenceText([at(11, 4), at(11, 27)], data)).toBe('The device was offline 11:04–11:27');
    expect(absenceText([at(11, 4), at(12, 0)], data)).toBe('The device is offline since 11:04');
    expect(outageText([at(11, 4, 20), at(11, 27, 20)], data)).toBe('The probe was off 20 Nov 2026, 11:04–11:27');
  });
});

describe('health', () => {
  test('has levels by number', () => {
    expect([undefined, 0, 1, 2, 3, 4, 5].map(levelOf)).toEqual(['unknown', 'unknown', 'unknown', 'good', 'fair', 'bad', 'bad']);
  });

  test('of a device is what the probe judges, and not the worst of its figures', () => {
    const busy = { value: 90, level: 4 } as const;
    expect(overallLevel(well('a'), true)).toBe('good');
    expect(overallLevel(well('a', { actual_cpu: busy, uptime: busy, clients: busy }), true)).toBe('good');
    expect(overallLevel(well('a', { level: 3 }), true)).toBe('fair');
    expect(overallLevel(well('a', { rogue_aps: { value: 3, level: 4 } }), true)).toBe('good');
    expect(overallLevel(well('a', { level: 4 }), false)).toBe('offline');
    expect(overallLevel(null, true)).toBe('unknown');
    expect(overallLevel(well('a', { level: undefined, actual_cpu: busy }), true)).toBe('bad');
  });

  test('changes its level after two passes, both ways', () => {
    const held = new Map<string, DeviceLevels>();
    let after = levelsAfter(held, [well('a')], 60);
    expect(after.get('a')?.own).toEqual({ level: 2, since: 60, isFirst: true });
    after = levelsAfter(after, [well('a', { level: 4 })], 120);
    expect(after.get('a')?.own?.level).toBe(2);
    after = levelsAfter(after, [well('a')], 180);
    after = levelsAfter(after, [well('a', { level: 4 })], 240);
    expect(after.get('a')?.own?.level).toBe(2);
    after = levelsAfter(after, [well('a', { level: 4 })], 300);
    expect(after.get('a')?.own).toEqual({ level: 4, since: 240, isFirst: false });
    expect(overallLevel(well('a'), true, after.get('a'))).toBe('bad');
    after = levelsAfter(after, [well('a')], 360);
    expect(after.get('a')?.own?.level).toBe(4);
    after = levelsAfter(after, [well('a')], 420);
    expect(after.get('a')?.own).toEqual({ level: 2, since: 360, isFirst: false });
    expect(levelsAfter(after, [], 480).size).toBe(0);
  });

  test('a level on its way to another that goes to a third begins anew', () => {
    let held: Held | undefined;
    for (const [at, level] of [[1, 2], [2, 3], [3, 4], [4, 3]] as const) held = heldAfter(held, level, at);
    expect(held).toMatchObject({ level: 2, next: { level: 3, since: 4 } });
  });

  test('says from where on and since when a figure is not good', () => {
    setZone({ name: '', offset: 0 });
    const held = { level: 4, since: 3600, isFirst: false };
    expect(limitText('cpu', 4, held, 7200)).toBe('80% or more since 01:00');
    expect(limitText('cpu', 4, { ...held, isFirst: true }, 7200)).toBe('80% or more already at 01:00');
    expect(limitText('uptime', 4, held, 7200)).toBe('started in the last 5 min');
    expect(limitText('clients', 4, undefined, 7200)).toBe('more than 48');
    expect(limitText('cpu', 2, held, 7200)).toBe('');
    setZone(null);
  });

  test('names the devices that need a person, and why', () => {
    setZone({ name: '', offset: 0 });
    const alert = { ...notification, alert: 2 };
    const away = { ...known('off', false), measured: 3600 };
    const health = [well('good', { actual_cpu: { value: 99, level: 4 } }), well('off', { notification: alert }), well('alert', { notification: alert }), well('bad', { level: 4 })];
    const rows = deviceRows([known('good'), away, known('alert'), known('bad')], health, [], levelsAfter(new Map(), health, 7200));
    expect(concernsOf(rows, 7300).map(({ row, reasons }) => [row.mac, ...reasons])).toEqual([
      ['bad', 'judged bad already at 02:00 (when this page first looked)'],
      ['off', 'offline since 01:00'],
      ['alert', '2 open alerts already at 02:00 (when this page first looked)'],
    ]);
    const told = { mac: 'alert', hostname: '', severity: 'alert' as const, text: 'a disk is full', until: null };
    const since = new Map([['alert', [{ ...told, since: 6600 }, { ...told, since: 5400 }]]]);
    expect(concernsOf(rows, 7300, since).at(-1)?.reasons).toEqual(['2 open alerts since 01:30']);
    setZone(null);
  });

  test('tells what the probe knows to have begun from what this page found when it was opened', () => {
    setZone({ name: '', offset: 0 });
    const health = [well('bad', { level: 4, notification: { ...notification, alert: 1 } })];
    const rows = deviceRows([known('bad')], health, [], levelsAfter(new Map(), health, 7200));
    const told = new Map([['bad', [{ mac: 'bad', hostname: '', severity: 'alert' as const, text: 'a disk is full', since: 3600, until: null }]]]);
    expect(concernsOf(rows, 7300, told)[0]?.reasons.join(', ')).toBe('judged bad already at 02:00 (when this page first looked), an open alert since 01:00');
    setZone(null);
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

  test('tells how old the rows of a table are that is not answered', () => {
    const stale = [{ table: 'stations' as const, age: 60 }, { table: 'ssids' as const, age: 90 }];
    expect(staleFor({ ...poll, stale }, ['stations', 'ssids'])).toBe(90);
    expect(staleFor({ ...poll, stale }, ['stations'])).toBe(60);
    expect([staleFor({ ...poll, stale }, ['interfaces']), staleFor(undefined, ['stations'])]).toEqual([0, 0]);
  });

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
