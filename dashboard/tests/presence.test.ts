import { afterEach, beforeEach, describe, expect, test } from 'vitest';
import { figuresOf } from '../src/charts/series';
import { setZone } from '../src/format/zone';
import type { CountSeries, Device, DeviceCounts } from '../src/messages/decode';
import { absencesIn, deviceCountsOf, isMeasured, measuredOnly, offlineText, presenceOf, presencesOf, ssidCountsOf } from '../src/state/presence';

const device = (mac: string, more: Partial<Device> = {}): Device => ({
  mac, hostname: mac, ip: '', type: 'AccessPoint', model: '', version: '', online: true, wireless: true, measured: 660, absences: [], ...more,
});

describe('a device that is offline', () => {
  beforeEach(() => setZone({ name: '', offset: 0 }));
  afterEach(() => setZone(null));
  const away = presenceOf(device('a', { online: false, measured: 11 * 60 + 21 }));

  test('is so since it was measured', () => {
    expect(offlineText(away, 900)).toBe('offline since 00:11');
    expect(offlineText(away, 86_400)).toBe('offline since 1 Jan 1970, 00:11');
    expect(offlineText(presenceOf(device('a', { online: false, measured: null })), 900)).toBe('offline');
    expect(presenceOf(device('a')).away).toEqual([]);
  });

  test('has no samples after that, but the times of them', () => {
    expect([10, 11, 12, 500].map((minute) => isMeasured(away, minute))).toEqual([true, true, false, false]);
    const data = { times: [600, 660, 720, 780], columns: [[5, 6, 6, 6], [1, 2, 2, 2]] };
    const known = measuredOnly(data, away);
    expect(known).toEqual({ times: data.times, columns: [[5, 6, null, null], [1, 2, null, null]] });
    expect(figuresOf(known.columns[0] ?? [])).toEqual({ latest: 6, peak: 6, mean: 5.5 });
    expect(absencesIn(away, data)).toEqual([[660, 780]]);
  });

  test('that is back has no samples in between, and those of its readings on both sides', () => {
    const back = presenceOf(device('a', { absences: [{ from: 11 * 60 + 21, to: 14 * 60 + 21 }] }));
    const data = { times: [600, 660, 720, 780, 840], columns: [[1, 2, 2, 2, 3]] };
    expect(measuredOnly(data, back).columns).toEqual([[1, 2, null, null, 3]]);
    expect(absencesIn(back, data)).toEqual([[660, 840]]);
    expect(absencesIn(back, { times: [900, 960], columns: [] })).toEqual([]);
    expect(measuredOnly(data, presenceOf(device('a')))).toBe(data);
  });
});

describe('clients who moved on from a device that went offline', () => {
  // Two access points; five of a's clients go to b when a goes offline after minute 11, and a repeats them.
  const counts = (all: CountSeries): DeviceCounts => ({
    series: new Map<string, CountSeries>([['a', [[10, 5], [11, 5], [12, 5], [13, 5]]], ['b', [[10, 1], [11, 1], [12, 6], [13, 6]]]]),
    all,
    current: new Map([['a', new Map([['Office', 3], ['Guest', 2]])], ['b', new Map([['Office', 4], ['Guest', 2]])]]),
  });
  const told = counts([[10, 6], [11, 6], [12, 11], [13, 11]]);
  const presences = presencesOf([device('a', { online: false, measured: 11 * 60 }), device('b')]);

  test('are counted once, by device', () => {
    const { series, all } = deviceCountsOf(told, presences);
    expect(series.get('a')).toEqual([[10, 5], [11, 5]]);
    expect(series.get('b')).toEqual([[10, 1], [11, 1], [12, 6], [13, 6]]);
    expect(all).toEqual([[10, 6], [11, 6], [12, 6], [13, 6]]);
  });

  test('are counted once, by network', () => {
    const bySsid = { series: new Map<string, CountSeries>([['Office', [[11, 4], [12, 7]]], ['Guest', [[11, 2], [12, 4]]]]), all: [[11, 6], [12, 11]] as CountSeries, current: new Map([['Office', 7], ['Guest', 4]]) };
    expect(ssidCountsOf(bySsid, told, presences)).toEqual({
      series: new Map([['Office', [[11, 4], [12, 4]]], ['Guest', [[11, 2], [12, 2]]]]),
      all: [[11, 6], [12, 6]],
      current: new Map([['Office', 4], ['Guest', 2]]),
    });
    expect(ssidCountsOf(bySsid, told, new Map())).toEqual(bySsid);
  });

  test('are counted once in the sum of the networks when it is back, too', () => {
    const bySsid = { series: new Map<string, CountSeries>([['Office', [[11, 6], [12, 11], [13, 11]]]]), all: [[11, 6], [12, 11], [13, 11]] as CountSeries, current: new Map([['Office', 6]]) };
    const back = presencesOf([device('a', { absences: [{ from: 11 * 60, to: 13 * 60 }] }), device('b')]);
    const { all, current } = ssidCountsOf(bySsid, told, back);
    expect(all).toEqual([[11, 6], [12, 6], [13, 11]]);
    expect(current).toEqual(bySsid.current);
  });
});
