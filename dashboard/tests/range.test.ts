import { expect, test } from 'vitest';
import { coarserView, comparedLength, periodBefore, viewReaching } from '../src/charts/range';
import { setZone, wallText, wallTime } from '../src/format/zone';
import { linkText, linkTop } from '../src/state/link';

const hour = 3600;

test('a range is shown by the view that is open, or else by the finest that reaches back so far', () => {
  const latest = 1000 * hour;
  expect(viewReaching(latest - 600, latest, '1m')).toBe('1m');
  expect(viewReaching(latest - 600, latest, '1h')).toBe('1h');
  expect(viewReaching(latest - 2 * hour, latest, '1m')).toBe('5m');
  expect(viewReaching(latest - 20 * hour, latest, '5m')).toBe('1h');
  expect(viewReaching(0, latest, '1m')).toBe('1day');
  expect([coarserView('1m'), coarserView('1day')]).toEqual(['5m', null]);
  expect([comparedLength(null, '1m'), comparedLength([60, 360], '1m')]).toEqual([1800, 300]);
});

test('the period before stands at the times of the present one, and is nothing where no record reaches back', () => {
  const data = { times: [6000, 6060, 6120], columns: [[1, 2, 3]] };
  const fine = { data: { times: [5940, 6000, 6060, 6120], columns: [[9, 1, 2, 3]] }, view: '1m' as const };
  const coarse = { data: { times: [5700, 6000], columns: [[50, 60]] }, view: '5m' as const };
  expect(periodBefore(data, 60, [fine])).toEqual([[9, 1, 2]]);
  expect(periodBefore(data, 120, [fine, coarse])).toEqual([[60, 9, 1]]);
  expect(periodBefore(data, 400, [coarse])).toEqual([[50, 50, 60]]);
  expect(periodBefore(data, 3000, [fine, coarse])).toEqual([[null, null, null]]);
});

test('moments are chosen by the clocks of the zone that is shown, also where these were put forward', () => {
  setZone({ name: 'Europe/Berlin', offset: 3600 });
  const seconds = Date.UTC(2026, 10, 17, 7, 5) / 1000;
  expect(wallText(seconds)).toBe('2026-11-17T08:05');
  expect(wallTime('2026-11-17T08:05')).toBe(seconds);
  expect(wallTime('2026-03-29T03:30')).toBe(Date.UTC(2026, 2, 29, 1, 30) / 1000);
  expect(wallTime('2026-07-01T12:00')).toBe(Date.UTC(2026, 6, 1, 10) / 1000);
  expect([wallTime(''), wallTime('soon')]).toEqual([null, null]);
  setZone(null);
});

test('a link is told with its use, and drawn where the lines come near to it', () => {
  expect(linkText(125_000_000, [12_500_000, null])).toBe('Link 1 Gbit/s, used at most: in 10%, out –');
  expect(linkText(null, [1, 2])).toBe('');
  expect(linkText(0, [1, 2])).toBe('');
  expect([linkTop(1000, 100), linkTop(1000, 250), linkTop(null, 100)]).toEqual([null, 1000, null]);
});
