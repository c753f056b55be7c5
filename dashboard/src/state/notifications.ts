// What devices have to say, in the order in which people want it.

import type { Notification } from '../messages/decode_now';
import { texts as t } from '../texts';

const ranks: Record<Notification['severity'], number> = { alert: 0, warning: 1, info: 2 };

export const severityTitles: Record<Notification['severity'], string> = { alert: t.severity.alert, warning: t.severity.warning, info: t.severity.info };

/** What is open, the most urgent first, then the newest; what holds no longer after that. */
export function inOrder(notifications: Notification[]): Notification[] {
  return [...notifications].sort(
    (left, right) =>
      Number(left.until !== null) - Number(right.until !== null) ||
      (left.until !== null ? (right.until ?? 0) - left.until : ranks[left.severity] - ranks[right.severity] || right.since - left.since),
  );
}

/** The open alerts of each device. */
export function alertsByDevice(notifications: Notification[]): Map<string, Notification[]> {
  const alerts = new Map<string, Notification[]>();
  for (const one of inOrder(notifications)) {
    if (one.severity !== 'alert' || one.until !== null) continue;
    alerts.set(one.mac, [...(alerts.get(one.mac) ?? []), one]);
  }
  return alerts;
}
