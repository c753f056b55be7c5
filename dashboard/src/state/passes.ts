// When the next pass comes, and whether what is shown is still news.

import type { ToldStatus } from '../messages/decode_http';

/** Milliseconds of the page's own monotonic clock. */
export type Moment = number;

export interface Passes {
  /** True time between two passes, in milliseconds. */
  period: number;
  /** When the last one was; null: not known, or there was none. */
  last: Moment | null;
}

const missedPasses = 2.5;
const patience = 3000;

/** `now`: when the status came. */
export function passesFrom(status: ToldStatus, now: Moment): Passes {
  const { last, period } = status.passes;
  const ago = last === null ? null : Math.max(0, status.now - last * 1000) / status.speed;
  return { period: (period * 1000) / status.speed, last: ago === null ? null : now - ago };
}

/** Milliseconds until the next pass; 0 when it is due; null when that cannot be told. */
export function untilNext(passes: Passes, now: Moment): number | null {
  return passes.last === null ? null : Math.max(0, passes.last + passes.period - now);
}

/** Nothing has come for so long that what is shown may no longer hold. */
export function isStale(passes: Passes, now: Moment): boolean {
  return passes.last !== null && now - passes.last > passes.period * missedPasses + patience;
}
