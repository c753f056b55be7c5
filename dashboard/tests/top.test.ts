import { expect, test } from 'vitest';
import { speedsOf } from '../src/state/speeds';

const entry = (id: string, into: number, out: number) => ({ id, name: id, in: into, out, total: into + out });

test('speeds are those between two passes, the greatest first, and of nobody whose counter began anew', () => {
  const before = [entry('old', 9_000_000, 0), entry('busy', 100, 100), entry('restarted', 500, 500)];
  const after = [entry('old', 9_000_060, 0), entry('busy', 700, 160), entry('restarted', 1, 1), entry('new', 5, 5)];
  expect(speedsOf(before, after, 60, 'total')).toEqual([{ id: 'busy', name: 'busy', in: 10, out: 1, total: 11 }, { id: 'old', name: 'old', in: 1, out: 0, total: 1 }]);
});
