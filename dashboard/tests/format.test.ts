import { afterEach, describe, expect, test, vi } from 'vitest';
import { csvName, rounded, toCsv } from '../src/format/csv';
import { formatBytes, formatDuration, formatList, formatMark, formatMegabits, formatMinute, formatNumber, formatPace, formatPercent, formatPeriod, formatRate, formatSince, formatStopwatch, inUnit, momentParts, rateUnit, setRateKind, withoutDirection } from '../src/format/format';
import { texts } from '../src/texts';
import { inZone, offsetText, setZone, wallDate, zoneSlug, zoneText } from '../src/format/zone';

/** With plain spaces: which ones stand around a dash differs from one set of languages to the next. */
const plain = (text: string): string => text.replace(/\s/g, ' ');

describe('numbers', () => {
  test.each([
    [0, '0 bit/s'],
    [1, '8 bit/s'],
    [124, '992 bit/s'],
    [125, '1 kbit/s'],
    [12_345, '98.8 kbit/s'],
    [124_999, '1 Mbit/s'],
    [154_321, '1.23 Mbit/s'],
    [125_000_000, '1 Gbit/s'],
    [2 ** 64, '147,573,953 Tbit/s'],
    [null, '–'],
    [Number.NaN, '–'],
    [Infinity, '–'],
  ])('%f bytes a second are %s', (speed, text) => expect(formatRate(speed)).toBe(text));

  test.each([
    [0, '0 B'],
    [999, '999 B'],
    [1000, '1 kB'],
    [1536, '1.54 kB'],
    [1_073_741_824, '1.07 GB'],
  ])('%f bytes are %s', (bytes, text) => expect(formatBytes(bytes)).toBe(text));

  test('speeds are told in bytes where the user prefers that', () => {
    setRateKind('byte');
    expect([125, 125_000_000, 0].map(formatRate)).toEqual(['125 B/s', '125 MB/s', '0 B/s']);
    setRateKind('bit');
    expect(formatRate(125)).toBe('1 kbit/s');
  });

  test('an axis has one unit, fit for its top', () => {
    const unit = rateUnit(125_000);
    expect(unit.name).toBe('Mbit/s');
    expect([0, 62_500, 125_000].map((value) => inUnit(value, unit))).toEqual(['0', '0.5', '1']);
  });

  test('megabits, counts and percents', () => {
    expect(formatMegabits(1)).toBe('1.05 Mbit/s');
    expect(formatMegabits(0.5)).toBe('524 kbit/s');
    expect(formatMegabits(null)).toBe('–');
    expect(formatNumber(1234567)).toBe('1,234,567');
    expect(formatNumber(1234.5678, 4)).toBe('1,234.5678');
    expect(formatNumber(-67.4)).toBe('-67');
    expect(formatPercent(1.05, 1)).toBe('1.1%');
    expect(formatPercent(null)).toBe('–');
  });
});

describe('times', () => {
  test.each([
    [0, '0s'],
    [59.4, '59s'],
    [60, '1m'],
    [303, '5m 3s'],
    [3600, '1h'],
    [3601, '1h'],
    [90_061, '1d 1h'],
    [-1, '–'],
    [null, '–'],
  ])('%f seconds are %s', (seconds, text) => expect(formatDuration(seconds)).toBe(text));

  test('a minute is told in the time of the user', () => {
    const minute = new Date(2026, 10, 5, 7, 4).getTime() / 60_000;
    expect(formatMinute(minute)).toBe('07:04');
    expect(formatMinute(minute, true)).toBe('5 Nov 2026, 07:04');
  });

  test('a mark on an axis is the time, and at midnight the day', () => {
    const minute = new Date(2026, 10, 5, 23, 59).getTime() / 60_000;
    expect([minute, minute + 1, minute + 2].map(formatMark)).toEqual(['23:59', '6 Nov', '00:01']);
  });

  test.each([
    [60_000, 'a pass every 1m'],
    [1000, 'a pass every 1s'],
    [60_000 / 61, '1.02 passes a second'],
    [400, '2.5 passes a second'],
    [100, '10 passes a second'],
    [60_000 / 3600, '60 passes a second'],
  ])('with %f ms between two passes there is %s', (period, text) => expect(formatPace(period)).toBe(text));

  test('a week is told by its first and last day', () => {
    expect(plain(formatPeriod('2026-11-15/2026-11-21'))).toBe('15 – 21 Nov 2026');
    expect(formatPeriod('2026-11-15')).toBe('15 Nov 2026');
    expect(plain(formatPeriod('2026-11-29/2026-12-05'))).toBe('29 Nov – 5 Dec 2026');
    expect(formatPeriod('some time')).toBe('some time');
  });
});

test('the moments of reports are told as other moments, and what is none stays as it is', () => {
  expect(momentParts('2026-11-05 07:14:35')).toEqual(['5 Nov 2026', '07:14:35']);
  expect(momentParts('never')).toEqual(['never']);
});

test('several texts in a row are a list', () => expect(formatList(['a', 'b', 'c'])).toBe('a, b, c'));

test('in another language numbers, times and lists are as that has them', async () => {
  vi.resetModules();
  vi.doMock('../src/texts', () => ({ texts: { ...texts, locale: 'de-DE' } }));
  const german = await import('../src/format/format');
  const { setZone: setGermanZone } = await import('../src/format/zone');
  setGermanZone({ name: '', offset: 0 });
  const at = Date.UTC(2026, 10, 5, 7, 4) / 60_000;
  expect([german.formatNumber(1_234_567), german.formatNumber(1.25, 2), german.formatPercent(11.9, 1), german.formatRate(154_321), german.formatBytes(1536)]).toEqual(['1.234.567', '1,25', '11,9\u00a0%', '1,23 Mbit/s', '1,54 kB']);
  expect([german.formatDuration(303), german.formatPace(400)]).toEqual(['5 Min., 3 Sek.', '2,5 passes a second']);
  expect([german.formatMinute(at, true), german.formatMark(at), german.formatMark(at - 424)]).toEqual(['05.11.2026, 07:04', '07:04', '5. Nov.']);
  expect([german.formatSpan(at, at + 60, at), german.formatSpan(at - 1440, at, at), german.formatPeriod('2026-11-15/2026-11-21')].map(plain)).toEqual(['07:04–08:04 Uhr', '04.11.2026, 07:04 – 05.11.2026, 07:04', '15.–21.11.2026']);
  expect([german.formatSince(at * 60, at * 60 + 86_400), german.momentParts('2026-11-05 07:14:35')]).toEqual(['05.11.2026, 07:04', ['05.11.2026', '07:14:35']]);
  expect(german.formatList(['a', 'b', 'c'])).toBe('a, b und c');
  expect(german.dayKey(at * 60_000)).toBe('2026-11-05');
  vi.doUnmock('../src/texts');
  vi.resetModules();
});

describe('a time zone', () => {
  afterEach(() => setZone(null));
  const at = Date.UTC(2026, 10, 5, 22, 30) / 1000;

  test('is that of the probe, whatever the browser’s', () => {
    setZone({ name: 'Asia/Tokyo', offset: 32_400 });
    expect(formatMinute(at / 60, true)).toBe('6 Nov 2026, 07:30');
    expect(zoneText(at * 1000)).toBe('Asia/Tokyo, UTC+09:00');
    expect(wallDate(at * 1000).getHours()).toBe(7);
    setZone({ name: 'America/New_York', offset: 0 });
    expect(formatMinute(at / 60, true)).toBe('5 Nov 2026, 17:30');
  });

  test('has the offset of each moment, also across the change of the clocks', () => {
    setZone({ name: 'Europe/Berlin', offset: 3600 });
    const change = Date.UTC(2026, 9, 25, 1, 0) / 60_000;
    expect([change - 1, change].map((minute) => formatMinute(minute))).toEqual(['02:59', '02:00']);
  });

  test('without a name, or with one that the browser does not know, has the offset that is told', () => {
    setZone({ name: '', offset: -12_600 });
    expect(formatMinute(at / 60)).toBe('19:00');
    expect(zoneText(at * 1000)).toBe('UTC−03:30');
    setZone({ name: 'Nowhere/Atlantis', offset: 3600 });
    expect(formatMinute(at / 60)).toBe('23:30');
    expect(offsetText(0)).toBe('UTC');
  });

  test('may be another for what is done in between', () => {
    setZone({ name: '', offset: 0 });
    expect(inZone({ name: '', offset: 3600 }, () => formatMinute(at / 60))).toBe('23:30');
    expect(formatMinute(at / 60)).toBe('22:30');
  });

  test('tells a moment without the date when it was today', () => {
    setZone({ name: '', offset: 7200 });
    expect(formatSince(at, at + 3600)).toBe('00:30');
    expect(formatSince(at - 7200, at)).toBe('5 Nov 2026, 22:30');
  });

  test('is a part of a file’s name', () => {
    expect(csvName('clients', '2026-11-15', zoneSlug({ name: 'Europe/Berlin', offset: 3600 }))).toBe('clients-day-2026-11-15-Europe-Berlin.csv');
    expect(csvName('networks', '2026-11-15/2026-11-21', zoneSlug({ name: '', offset: -12_600 }))).toBe('networks-week-2026-11-15_2026-11-21-UTC-03-30.csv');
  });
});

test('a time that goes by', () => expect([0, 42.9, 727, -3].map(formatStopwatch)).toEqual(['0:00', '0:42', '12:07', '0:00']));
test('numbers of a file have no more digits than they are worth', () => expect([rounded(0.1 + 0.2, 1), rounded(null, 1), rounded(12.34567, 3)]).toEqual([0.3, null, 12.346]));

test('a name that cannot be isolated loses the marks that would turn its surroundings around', () => {
  expect(withoutDirection('a\u202egnp\u202c\u2066\u2069\u200f\u061cשלום')).toBe('agnpשלום');
});

describe('comma-separated values', () => {
  test('begin with a mark and end every line', () => {
    expect(toCsv(['a', 'b'], [['x', 1], ['', null]])).toBe('\ufeffa,b\r\nx,1\r\n,\r\n');
  });

  test.each(['=1+1', '+1', '-1', '@x', '\tx', '\rx', '\nx', '\uff1d1', '\uff0b1', '\uff0d1', '\uff20x'])('hold no formula: %j', (text) => {
    const cell = toCsv([], [[text]]).slice('\ufeff\r\n'.length).trimEnd().replace(/^"|"$/g, '');
    expect(cell).toBe(`'${text}`);
  });

  test('quote what would end a cell', () => {
    expect(toCsv([], [['a,b', 'say "x"', 'two\nlines', ' x', 'a;b']])).toBe('\ufeff\r\n"a,b","say ""x""","two\nlines"," x","a;b"\r\n');
  });

  test('keep numbers numbers, and leave out what is none', () => {
    expect(toCsv([], [[-67.5, 0, Number.NaN, Infinity]])).toBe('\ufeff\r\n-67.5,0,,\r\n');
  });

  test('keep a hostile name as it is', () => {
    expect(toCsv([], [['<img src=x onerror=alert(1)>\u202eevil']])).toBe('\ufeff\r\n<img src=x onerror=alert(1)>\u202eevil\r\n');
  });
});
