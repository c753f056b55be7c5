import { describe, expect, test } from 'vitest';
import { toCsv } from '../src/format/csv';
import { formatBytes, formatDuration, formatMark, formatMegabits, formatMinute, formatNumber, formatPace, formatPercent, formatPeriod, formatRate, inUnit, rateUnit, withoutDirection } from '../src/format/format';

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
    [2 ** 64, '147573953 Tbit/s'],
    [null, '–'],
    [Number.NaN, '–'],
    [Infinity, '–'],
  ])('%f bytes a second are %s', (speed, text) => expect(formatRate(speed)).toBe(text));

  test.each([
    [0, '0 B'],
    [1023, '1023 B'],
    [1024, '1 KiB'],
    [1536, '1.5 KiB'],
    [1_073_741_824, '1 GiB'],
  ])('%f bytes are %s', (bytes, text) => expect(formatBytes(bytes)).toBe(text));

  test('an axis has one unit, fit for its top', () => {
    const unit = rateUnit(125_000);
    expect(unit.name).toBe('Mbit/s');
    expect([0, 62_500, 125_000].map((value) => inUnit(value, unit))).toEqual(['0', '0.5', '1']);
  });

  test('megabits, counts and percents', () => {
    expect(formatMegabits(1)).toBe('1.05 Mbit/s');
    expect(formatMegabits(0.5)).toBe('524 kbit/s');
    expect(formatMegabits(null)).toBe('–');
    expect(formatNumber(1234567)).toBe('1\u202f234\u202f567');
    expect(formatNumber(1234.5678, 4)).toBe('1\u202f234.5678');
    expect(formatNumber(-67.4)).toBe('-67');
    expect(formatPercent(1.05, 1)).toBe('1.1 %');
    expect(formatPercent(null)).toBe('–');
  });
});

describe('times', () => {
  test.each([
    [0, '0 s'],
    [59.4, '59 s'],
    [60, '1 min'],
    [303, '5 min 3 s'],
    [3600, '1 h'],
    [3601, '1 h'],
    [90_061, '1 d 1 h'],
    [-1, '–'],
    [null, '–'],
  ])('%f seconds are %s', (seconds, text) => expect(formatDuration(seconds)).toBe(text));

  test('a minute is told in the time of the user', () => {
    const minute = new Date(2026, 10, 5, 7, 4).getTime() / 60_000;
    expect(formatMinute(minute)).toBe('07:04');
    expect(formatMinute(minute, true)).toBe('2026-11-05 07:04');
  });

  test('a mark on an axis is the time, and at midnight the day', () => {
    const minute = new Date(2026, 10, 5, 23, 59).getTime() / 60_000;
    expect([minute, minute + 1, minute + 2].map(formatMark)).toEqual(['23:59', '6 Nov', '00:01']);
  });

  test.each([
    [60_000, 'a pass every 1 min'],
    [1000, 'a pass every 1 s'],
    [60_000 / 61, '1.02 passes a second'],
    [400, '2.5 passes a second'],
    [100, '10 passes a second'],
    [60_000 / 3600, '60 passes a second'],
  ])('with %f ms between two passes there is %s', (period, text) => expect(formatPace(period)).toBe(text));

  test('a week is told by its first and last day', () => {
    expect(formatPeriod('2026-11-15/2026-11-21')).toBe('2026-11-15 to 2026-11-21');
    expect(formatPeriod('2026-11-15')).toBe('2026-11-15');
  });
});

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
