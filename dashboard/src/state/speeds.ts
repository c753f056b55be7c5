// Speeds of those who are ranked by what they have moved.

import type { RankedTraffic } from '../messages/decode';

/** The speed of everybody who is in both rankings, the greatest first; a counter that went back says nothing. */
export function speedsOf(before: RankedTraffic[], after: RankedTraffic[], seconds: number, order: 'total' | 'in' | 'out'): RankedTraffic[] {
  const known = new Map(before.map((one) => [one.id, one]));
  return after
    .flatMap((one) => {
      const earlier = known.get(one.id);
      if (!earlier || one.in < earlier.in || one.out < earlier.out) return [];
      return [{ ...one, in: (one.in - earlier.in) / seconds, out: (one.out - earlier.out) / seconds, total: (one.total - earlier.total) / seconds }];
    })
    .sort((left, right) => right[order] - left[order]);
}
