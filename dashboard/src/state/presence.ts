// Which devices are there. Messages repeat the newest figures of one that is offline: what nobody measured is left out.

import type { ChartData, Column, Range } from '../charts/series';
import type { CountSeries, Device, DeviceCounts, SsidCounts } from '../messages/decode';
import { formatSince } from '../format/format';
import { texts as t } from '../texts';

export interface Presence {
  isOnline: boolean;
  /** When its figures were read, in seconds since the epoch; null: never, or that is not told. */
  measured: number | null;
  /** When it was offline, as far as that is known; the one that lasts still ends at infinity. */
  away: Range[];
}

const there: Presence = { isOnline: true, measured: null, away: [] };

export function presenceOf(device: Device | undefined): Presence {
  if (!device) return there;
  const measured = device.measured ?? null;
  const away = device.absences.map(({ from, to }): Range => [from, to]);
  if (!device.online && measured !== null) away.push([measured, Infinity]);
  return { isOnline: device.online, measured, away };
}

/** "offline since 11:04" */
export function offlineText({ measured }: Presence, now: number): string {
  return measured === null ? t.health.offline : t.health.offlineSince(formatSince(measured, now));
}

/** "since 11:04"; empty where that is not told. */
export const sinceMeasured = ({ measured }: Presence, now: number): string => (measured === null ? '' : t.health.since(formatSince(measured, now)));

const minuteOf = (seconds: number): number => Math.floor(seconds / 60);

/** Whether the sample of this minute was measured: it has the time of its pass without the seconds. */
export function isMeasured({ away }: Presence, minute: number): boolean {
  return !away.some(([from, to]) => minute > minuteOf(from) && minute < minuteOf(to));
}

/** A chart without the values that nobody measured; the times stay, so that one sees for how long. */
export function measuredOnly(data: ChartData, presence: Presence): ChartData {
  if (presence.away.length === 0) return data;
  const isKnown = data.times.map((time) => isMeasured(presence, time / 60));
  const columns = data.columns.map((column): Column => column.map((value, i) => (isKnown[i] ? value : null)));
  return { times: data.times, columns };
}

/** Those of a chart's absences that reach into it; one that lasts ends with the chart. */
export function absencesIn({ away }: Presence, { times }: ChartData): Range[] {
  const [begin, end] = [times[0] ?? 0, times.at(-1) ?? 0];
  return away.map(([from, to]): Range => [minuteOf(from) * 60, Math.min(minuteOf(to) * 60, end)]).filter(([from, to]) => from < end && to > begin && to > from);
}

export type Presences = Map<string, Presence>;

export const presencesOf = (devices: Device[]): Presences => new Map(devices.map((device) => [device.mac, presenceOf(device)]));

/** Minute -> the clients that devices which were offline repeated. */
function repeatedAt({ series }: DeviceCounts, presences: Presences): Map<number, number> {
  const repeated = new Map<number, number>();
  for (const [mac, one] of series) {
    const presence = presences.get(mac) ?? there;
    for (const [minute, count] of one) if (!isMeasured(presence, minute)) repeated.set(minute, (repeated.get(minute) ?? 0) + count);
  }
  return repeated;
}

const lessThese = (series: CountSeries, left: Map<number, number>): CountSeries =>
  series.map(([minute, count]) => [minute, Math.max(0, count - (left.get(minute) ?? 0))]);

/** Without the samples of devices that were offline; their clients may be with others since, who count them. */
export function deviceCountsOf(counts: DeviceCounts, presences: Presences): DeviceCounts {
  const series = new Map([...counts.series].map(([mac, one]): [string, CountSeries] => {
    const presence = presences.get(mac) ?? there;
    return [mac, one.filter(([minute]) => isMeasured(presence, minute))];
  }));
  return { series, all: lessThese(counts.all, repeatedAt(counts, presences)), current: counts.current };
}

/** The clients that devices which are offline repeat: network -> since when, and how many. */
function repeatedBy({ current }: DeviceCounts, presences: Presences): Map<string, [Presence, number][]> {
  const repeated = new Map<string, [Presence, number][]>();
  for (const [mac, ssids] of current) {
    const presence = presences.get(mac) ?? there;
    if (presence.isOnline) continue;
    for (const [ssid, count] of ssids) repeated.set(ssid, [...(repeated.get(ssid) ?? []), [{ ...presence, away: presence.away.slice(-1) }, count]]);
  }
  return repeated;
}

/**
 * Counts by network without those of devices that are offline, their sum also without those that were. Messages don't
 * tell what a device that is back had repeated in each network: in its line that stays.
 */
export function ssidCountsOf(counts: SsidCounts, byDevice: DeviceCounts, presences: Presences): SsidCounts {
  const repeated = repeatedBy(byDevice, presences);
  const leftAt = (which: [Presence, number][], minute: number): number =>
    which.reduce((sum, [presence, count]) => sum + (isMeasured(presence, minute) ? 0 : count), 0);
  const without = (series: CountSeries, which: [Presence, number][]): CountSeries =>
    series.map(([minute, count]) => [minute, Math.max(0, count - leftAt(which, minute))]);
  const now = (ssid: string, count: number): number => Math.max(0, count - (repeated.get(ssid) ?? []).reduce((sum, [, one]) => sum + one, 0));
  return {
    series: new Map([...counts.series].map(([ssid, one]) => [ssid, without(one, repeated.get(ssid) ?? [])])),
    all: lessThese(counts.all, repeatedAt(byDevice, presences)),
    current: new Map([...counts.current].map(([ssid, count]) => [ssid, now(ssid, count)])),
  };
}
