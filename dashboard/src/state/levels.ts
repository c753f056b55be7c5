// Levels that last: one changes when two passes in a row say so, so that a moment's load alarms nobody.

import type { HealthDevice } from '../messages/decode';

/** What is held of one level. */
export interface Held {
  level: number;
  /** Since when, in seconds since the epoch by the probe's clock. */
  since: number;
  /** It was so when it was first looked at: it may be older. */
  isFirst: boolean;
  /** What the last pass said, where that was another. */
  next?: { level: number; since: number };
}

/** What is held after a pass at `at` that says `level`. */
export function heldAfter(held: Held | undefined, level: number, at: number): Held {
  if (!held) return { level, since: at, isFirst: true };
  const { next, ...same } = held;
  if (level === held.level) return same;
  return next?.level === level ? { level, since: next.since, isFirst: false } : { ...same, next: { level, since: at } };
}

export type FigureName = 'own' | 'cpu' | 'uptime' | 'clients' | 'alerts';
export type DeviceLevels = Partial<Record<FigureName, Held>>;

function told(device: HealthDevice): Partial<Record<FigureName, number>> {
  return {
    own: device.level,
    cpu: device.actual_cpu.level,
    uptime: device.uptime.level,
    clients: device.clients?.level,
    alerts: device.notification.alert > 0 ? 4 : 2,
  };
}

/** The levels of all devices after a pass. What a pass no longer tells is forgotten. */
export function levelsAfter(before: Map<string, DeviceLevels>, devices: HealthDevice[], at: number): Map<string, DeviceLevels> {
  return new Map(
    devices.map((device) => {
      const held = before.get(device.device);
      const levels: DeviceLevels = {};
      for (const [name, level] of Object.entries(told(device)) as [FigureName, number | undefined][]) {
        if (level !== undefined) levels[name] = heldAfter(held?.[name], level, at);
      }
      return [device.device, levels];
    }),
  );
}
