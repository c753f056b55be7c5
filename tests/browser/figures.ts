// Figures as the HTTP interface tells them, and as a page shows them.

import type { Page } from 'playwright-core';
import { chartOf } from './browser';
import type { Json, ProbeProcess } from './probe';

export interface Sample {
  time: number;
  input: number;
  output: number;
}

/** The body of a kept message: what stands under the name of its view. */
export async function bodyOf(probe: ProbeProcess, topic: string, view: string): Promise<Json> {
  const { data } = await probe.get(`/api/v1/live/${topic}?interval=${view}`);
  return (data as Record<string, Json>)[view] ?? {};
}

/** Interface -> its samples, of one device. */
export async function trafficOf(probe: ProbeProcess, mac: string, view: string): Promise<Record<string, { traffic: Sample[] }>> {
  const { traffic_data: devices } = await bodyOf(probe, 'TrafficMonitor', view);
  return ((devices as Json | undefined)?.[mac] ?? {}) as Record<string, { traffic: Sample[] }>;
}

export async function gatewayOf(probe: ProbeProcess): Promise<string> {
  return ((await probe.get('/api/v1/devices'))['devices'] as { mac: string }[])[0]?.mac ?? '';
}

const months = ['Jan', 'Feb', 'Mar', 'Apr', 'May', 'Jun', 'Jul', 'Aug', 'Sept', 'Oct', 'Nov', 'Dec'];

/** A minute since the epoch as a page in UTC has it where the day is clear, "14:05". */
export const timeText = (minutes: number): string => new Date(minutes * 60_000).toISOString().slice(11, 16);

/** Its day, "24 Nov 2026". */
export const dayText = (minutes: number): string => {
  const at = new Date(minutes * 60_000);
  return `${at.getUTCDate()} ${months[at.getUTCMonth()]} ${at.getUTCFullYear()}`;
};

/** A minute since the epoch, as a table of a page in UTC has it. */
export const minuteText = (minutes: number): string => `${dayText(minutes)}, ${timeText(minutes)}`;

/** The minute that such a text names. */
export const minuteOf = (text: string): number => Date.parse(`${text} UTC`) / 60_000;

/** The rows of a traffic chart's open table; without those that stand for a gap. */
export async function samplesShown(page: Page, name: string): Promise<string[][]> {
  return (await chartOf(page, `[data-interface="${name}"]`)).filter((row) => row[1] !== '');
}

export async function samplesTold(probe: ProbeProcess, mac: string, view: string, name: string): Promise<string[][]> {
  const samples = (await trafficOf(probe, mac, view))[name]?.traffic ?? [];
  return samples.map((one) => [minuteText(one.time), String(one.input), String(one.output)]);
}

/**
 * Tells the page that every device is there and always was. The simulated network takes some offline now and then, of
 * which the page leaves out what messages repeat: this is for tests that compare it with the messages.
 */
export async function keepAllOnline(page: Page, probe: ProbeProcess): Promise<void> {
  await page.route('**/api/v1/devices', async (route) => {
    const answer = await probe.get('/api/v1/devices').catch(() => null);
    if (!answer) return route.abort();
    const devices = (answer['devices'] as Json[]).map((one) => ({ ...one, online: true, absences: [] }));
    return route.fulfill({ json: { ...answer, devices } });
  });
}
