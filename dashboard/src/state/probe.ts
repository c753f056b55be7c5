// The one probe that this page talks to: its connection, its token, its passes.

import { Connection, type ConnectionState, type Filter, type Socket } from '../messages/connection';
import { decodeHealth, type History } from '../messages/decode';
import { decodeStatus, type ToldStatus } from '../messages/decode_http';
import { type Answer, apiPath, ask, fetchText, openSession } from '../messages/http';
import type { Json } from '../messages/check';
import type { Zone } from '../format/zone';
import { type DeviceLevels, levelsAfter } from './levels';
import { type Moment, type Passes, passesFrom } from './passes';
import { base } from './place';

export type Link = { kind: ConnectionState; until: Moment };

export interface ProbeState {
  link: Link;
  passes: Passes;
  /** Undefined: not asked yet. Null: the probe tells none, or was out of reach. */
  history: History | null | undefined;
  /** The probe asks for a token, or for another one. */
  needsToken: boolean;
  /** Of the probe; null: it tells none, or was out of reach. */
  zone: Zone | null;
  /** What the probe's clock showed, and how fast it runs; null: not known. */
  clock: { at: Moment; ms: number; speed: number } | null;
  /** Counts the passes that were heard of, some of them together where they come fast. */
  pass: number;
  /** Of every device, after the last pass. */
  levels: Map<string, DeviceLevels>;
}

/** Passes that come faster than this are counted together: each has the page ask which devices are there. */
const leastPassMs = 500;

const warmingEveryMs = 1000;
/** The journal may fail at any time; a page that hears of it half a minute later is early enough. */
const statusEveryMs = 30_000;
/** An outage is listed when the first pass after it is over; its messages come a little before. */
const passMs = 2000;

/** Whether the probe reads its journal and measures nothing yet. */
export const isWarming = (history: History | null | undefined): boolean => history?.state === 'warming';

export const now = (): Moment => performance.now();

/** What the probe's clock shows, in milliseconds since the epoch; the browser's, where that is not known. */
export function probeTime({ clock }: ProbeState, at: Moment): number {
  return clock ? clock.ms + (at - clock.at) * clock.speed : Date.now();
}

export class Probe {
  state: ProbeState = {
    link: { kind: 'connecting', until: 0 },
    passes: { period: 60_000, last: null },
    history: undefined,
    needsToken: false,
    zone: null,
    clock: null,
    pass: 0,
    levels: new Map(),
  };

  private newestLink = this.state.link;
  private statusTimer: ReturnType<typeof setTimeout> | undefined;
  private statusRead = 0;
  private passTimer: ReturnType<typeof setTimeout> | undefined;
  private passCounted = -leastPassMs;
  /** The probe has read its journal, or was started without one, and no pass has come since. */
  private awaitsPass = false;
  private readonly listeners = new Set<() => void>();
  private readonly connection = new Connection({
    openSocket: () => new WebSocket(this.socketUrl()) as Socket,
    schedule: (after, callback) => {
      const timer = setTimeout(callback, after);
      return () => clearTimeout(timer);
    },
    random: Math.random,
  });

  start(): void {
    void this.readStatus();
    this.connection.onState((kind, waitMs) => void this.onLink({ kind, until: now() + waitMs }));
    // A page that shows nothing live must hear of the passes all the same: this is the smallest message that each brings.
    this.subscribe('HealthMonitor', {}, (data) => this.onPass(data));
    this.connection.start();
    window.addEventListener('online', () => this.connection.retryNow());
  }

  retryNow(): void {
    this.connection.retryNow();
  }

  /** Logs in. What is wrong, in words; empty when the page may go on. */
  async useToken(token: string): Promise<string> {
    const complaint = await openSession(fetchText, token);
    if (complaint !== '') return complaint;
    this.change({ needsToken: false });
    this.connection.retryNow();
    void this.readStatus();
    return '';
  }

  onChange(listener: () => void): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  subscribe(topic: string, filter: Filter, listener: (data: Json) => void): () => void {
    return this.connection.subscribe(topic, filter, (data) => {
      this.change({ passes: { ...this.state.passes, last: now() } });
      listener(data);
    });
  }

  async ask<Value>(
    path: string,
    query: Record<string, string>,
    decode: (value: unknown) => Value | null,
  ): Promise<Answer<Value>> {
    const answer = await ask(fetchText, apiPath(path, query), decode);
    if (answer.kind === 'error' && answer.status === 401) this.change({ needsToken: true });
    return answer;
  }

  private async onLink(link: Link): Promise<void> {
    this.newestLink = link;
    // Pages ask for their figures when the link is open. They must know before whether the probe has any.
    if (link.kind === 'open') await this.readStatus();
    if (link !== this.newestLink) return;
    this.change({ link });
    if (link.kind === 'waiting') void this.readStatus(); // is it the token?
  }

  private onPass(data: Json): void {
    const devices = decodeHealth(data);
    const at = Math.floor(probeTime(this.state, now()) / 1000);
    if (devices) this.change({ levels: levelsAfter(this.state.levels, devices, at) });
    this.countPass();
    if (!this.state.history || isWarming(this.state.history)) return;
    if (!this.awaitsPass && now() - this.statusRead < statusEveryMs) return;
    this.awaitsPass = false;
    this.statusRead = now(); // passes that come faster than this must not put it off
    this.readStatusAfter(passMs);
  }

  private countPass(): void {
    clearTimeout(this.passTimer);
    const wait = this.passCounted + leastPassMs - now();
    if (wait > 0) {
      this.passTimer = setTimeout(() => this.countPass(), wait);
      return;
    }
    this.passCounted = now();
    this.change({ pass: this.state.pass + 1 });
  }

  private readStatusAfter(ms: number): void {
    clearTimeout(this.statusTimer);
    this.statusTimer = setTimeout(() => void this.readStatus(), ms);
  }

  private async readStatus(): Promise<void> {
    this.statusRead = now();
    const answer = await this.ask('status', {}, decodeStatus);
    if (answer.kind === 'value') this.takeStatus(answer.value);
    else if (this.state.history === undefined && answer.status !== 401) this.change({ history: null });
    const isThere = answer.kind === 'value' || this.newestLink.kind === 'open';
    if (isThere && isWarming(this.state.history)) this.readStatusAfter(warmingEveryMs);
  }

  private takeStatus(status: ToldStatus): void {
    const before = this.state.history;
    const told = status.history ?? null;
    const history = JSON.stringify(before) === JSON.stringify(told) ? before : told; // charts are drawn again for another one
    if (isWarming(history) || (history && status.passes.last === null)) this.awaitsPass = true;
    const passes = passesFrom(status, now());
    // The last pass of the journal may be days old, and nothing is late for that.
    const at = now();
    const clock = { at, ms: status.now, speed: status.speed };
    const zone = JSON.stringify(this.state.zone) === JSON.stringify(status.time_zone ?? null) ? this.state.zone : (status.time_zone ?? null);
    this.change({ history, zone, clock, passes: this.awaitsPass ? { ...passes, last: null } : passes });
  }

  /** The session's cookie goes with it. */
  private socketUrl(): string {
    return `${location.protocol === 'https:' ? 'wss' : 'ws'}://${location.host}${base}/`;
  }

  private change(change: Partial<ProbeState>): void {
    this.state = { ...this.state, ...change };
    for (const listener of [...this.listeners]) listener();
  }
}

export const probe = new Probe();
