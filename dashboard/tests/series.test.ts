import { describe, expect, test } from 'vitest';
import { align, busiest, drawn, figuresOf, inSight, largest, loneSamples, shifted, trafficData, zoomed } from '../src/charts/series';

describe('series', () => {
  test('stand over the times of all of them, with nothing where there is no sample', () => {
    expect(align([[[10, 1], [11, 2]], [[11, 5], [12, 6]]], '1m')).toEqual({ times: [600, 660, 720], columns: [[1, 2, null], [null, 5, 6]] });
  });

  test('are broken where samples are missing', () => {
    expect(align([[[10, 1], [14, 2]]], '1m')).toEqual({ times: [600, 660, 840], columns: [[1, null, 2]] });
    expect(align([[[10, 1], [15, 2], [20, 3]]], '5m').columns).toEqual([[1, 2, 3]]);
  });

  test('are not broken by a pass that took its time', () => {
    expect(align([[[10, 1], [12, 2]]], '1m').columns).toEqual([[1, 2]]);
    expect(align([[[0, 1], [61, 2]]], '1h').columns).toEqual([[1, 2]]);
  });

  test('are none of nothing', () => expect(align([[], []], '1m')).toEqual({ times: [], columns: [[], []] }));

  test('of an interface are its input and its output', () => {
    const one = { ifIndex: 1, traffic: [{ time: 1, input: 3, output: 4 }, { time: 2, input: 5, output: 6 }] };
    expect(trafficData(one, '1m')).toEqual({ times: [60, 120], columns: [[3, 5], [4, 6]] });
  });

  test('have figures', () => {
    expect(figuresOf([1, null, 5, 3])).toEqual({ latest: 3, peak: 5, mean: 3 });
    expect(figuresOf([null])).toEqual({ latest: null, peak: null, mean: null });
    expect(largest([[1, null], [7]])).toBe(7);
    expect(largest([])).toBe(0);
  });

  test('are chosen by their newest sample', () => {
    const series = new Map<string, [number, number][]>([['b', [[1, 9], [2, 1]]], ['c', [[2, 4]]], ['a', [[2, 1]]], ['none', []]]);
    expect(busiest(series, 3)).toEqual(['c', 'a', 'b']);
  });

  test('are drawn as chosen, none if so, and the busiest where nothing is chosen or nothing chosen is left', () => {
    const series = new Map<string, [number, number][]>([['b', [[2, 1]]], ['c', [[2, 4]]]]);
    expect(drawn(series, ['b', 'gone'], 1)).toEqual(['b']);
    expect(drawn(series, [], 1)).toEqual([]);
    expect(drawn(series, null, 1)).toEqual(['c']);
    expect(drawn(series, ['gone'], 1)).toEqual(['c']);
  });

  test('have samples that stand alone', () => {
    expect(loneSamples([1, null, 2, 3, null, 4])).toEqual([0, 5]);
    expect(loneSamples([null, 0, null])).toEqual([1]);
    expect(loneSamples([])).toEqual([]);
  });
});

describe('a zoom', () => {
  test('halves and doubles around its middle', () => {
    expect(zoomed([0, 1000], 0.5, [0, 1000])).toEqual([250, 750]);
    expect(zoomed([400, 600], 2, [0, 1000])).toEqual([300, 700]);
  });
  test('ends where all is seen', () => expect(zoomed([250, 750], 2, [0, 1000])).toBeNull());
  test('stays within what there is', () => expect(zoomed([0, 200], 2, [0, 1000])).toEqual([0, 300]));
  test('is a minute at least', () => expect(zoomed([100, 180], 0.5, [0, 1000])).toEqual([120, 180]));
  test('moves as far as there is something', () => {
    expect(shifted([100, 300], 0.5, [0, 1000])).toEqual([200, 400]);
    expect(shifted([100, 300], -1, [0, 1000])).toEqual([0, 200]);
    expect(shifted([700, 900], 1, [0, 1000])).toEqual([800, 1000]);
  });
  test('ends when the last of it has left the view', () => {
    expect(inSight([100, 300], [299, 1000])).toEqual([100, 300]);
    expect(inSight([100, 300], [300, 1000])).toBeNull();
    expect(inSight([1000, 1200], [300, 1000])).toBeNull();
    expect(inSight(null, [300, 1000])).toBeNull();
  });
});
