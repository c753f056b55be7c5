import { describe, expect, test } from 'vitest';
import { bands, merged, outagesIn, recordBegin, sparkline } from '../src/charts/outages';
import { align, type ChartData } from '../src/charts/series';

const chart = (minutes: number[], ...columns: (number | null)[][]): ChartData => ({ times: minutes.map((minute) => minute * 60), columns });

describe('outages', () => {
  test('of a chart are those that reach into it, in whole minutes', () => {
    const data = chart([10, 20, 30]);
    expect(outagesIn([{ from: 633, to: 1233 }], data)).toEqual([[600, 1200]]);
    expect(outagesIn([{ from: 60, to: 600 }, { from: 1800, to: 2400 }], data)).toEqual([]);
    expect(outagesIn([{ from: 60, to: 660 }], data)).toEqual([[60, 660]]);
    expect(outagesIn([{ from: 60, to: 6000 }], chart([]))).toEqual([]);
  });

  test('are in the order of the time, and one where the clock was set back in between', () => {
    expect(merged([[50, 60], [10, 20], [15, 30], [30, 31]])).toEqual([[10, 31], [50, 60]]);
    const sent: [number, number][] = [[1, 5], [2, 9]];
    expect(merged(sent)).toEqual([[1, 9]]);
    expect(sent).toEqual([[1, 5], [2, 9]]);
  });

  test('leave the pass before and the one after outside', () => {
    const data = align([[[10, 1], [11, 1], [31, 2], [32, 2]]], '1m');
    const [outage] = outagesIn([{ from: 11 * 60 + 33, to: 31 * 60 + 33 }], data);
    expect(outage).toEqual([11 * 60, 31 * 60]);
    expect(data.columns).toEqual([[1, 1, null, 2, 2]]);
  });

  test('have a band, wide enough to be seen and not beyond the chart', () => {
    const data = chart([0, 100]);
    expect(bands([[600, 1200]], data, 100)).toEqual([{ x: 10, width: 10 }]);
    expect(bands([[-600, 600], [5400, 9000]], data, 100)).toEqual([{ x: 0, width: 10 }, { x: 90, width: 10 }]);
    expect(bands([[600, 601]], data, 100)).toEqual([{ x: 10, width: 1 }]);
    expect(bands([[600, 1200]], chart([5]), 100)).toEqual([]);
  });
});

describe('the record', () => {
  test('begins in the chart when it is younger than the view reaches back', () => {
    const data = chart([70, 100]);
    expect(recordBegin(71 * 60, data, '1m')).toBe(71 * 60);
    expect(recordBegin(70 * 60, data, '1m')).toBeNull();
    expect(recordBegin(60 * 60, data, '5m')).toBe(60 * 60);
    expect(recordBegin(101 * 60, data, '1m')).toBeNull();
    expect(recordBegin(null, data, '1m')).toBeNull();
    expect(recordBegin(undefined, data, '1m')).toBeNull();
    expect(recordBegin(60, chart([]), '1m')).toBeNull();
  });
});

describe('a small line', () => {
  const box = { width: 100, height: 20 };
  const line = (minutes: number[], column: (number | null)[], top: number, outages: [number, number][] = []): string =>
    sparkline(chart(minutes, column), column, top, box, outages);

  test('goes by the time', () => {
    expect(line([0, 5, 10], [0, 5, 10], 10)).toBe('M0.0 20.0L50.0 10.0L100.0 0.0');
    expect(line([0, 2, 10], [0, 5, 10], 10)).toBe('M0.0 20.0L20.0 10.0L100.0 0.0');
    expect(line([], [], 1)).toBe('');
  });

  test('is lifted over what is missing, and a sample alone is a dot', () => {
    expect(line([0, 1, 2], [1, null, 1], 1)).toBe('M0.0 0.0h0M100.0 0.0h0');
    expect(line([0, 1, 2, 4], [1, 1, null, 1], 1)).toBe('M0.0 0.0L25.0 0.0M100.0 0.0h0');
    expect(line([3], [0], 0)).toBe('M0.0 20.0h0');
  });

  test('is cut where the probe was off, also between two neighbours', () => {
    expect(line([0, 10], [0, 10], 10, [[120, 240]])).toBe('M0.0 20.0L20.0 16.0M40.0 12.0L100.0 0.0');
    expect(line([0, 10, 20], [10, 10, 10], 10, [[540, 660]])).toBe('M0.0 0.0L45.0 0.0M50.0 0.0M55.0 0.0L100.0 0.0');
    expect(line([0, 10, 20, 30], [5, 5, 5, 5], 10, [[300, 1500]])).toBe('M0.0 10.0L16.7 10.0M33.3 10.0M66.7 10.0M83.3 10.0L100.0 10.0');
    expect(line([0, 10], [0, 10], 10, [[600, 900]])).toBe('M0.0 20.0L100.0 0.0');
  });
});
