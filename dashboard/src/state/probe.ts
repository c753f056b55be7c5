// The one probe that this page talks to: its connection, its token, its passes.

import { Connection, type ConnectionState, type Filter, type Socket } from '../messages/connection';
import { decodeStatus } from '../messages/decode_http';
import { type Answer, apiPath, ask, fetchText } from '../messages/http';
import type { Json } from '../messages/check';
import { type Moment, type Passes, passesFrom } from './passes';

export type Link = { kind: ConnectionState; until: Moment };

export interface ProbeState {
  link: Link;
  passes: Passes;
  /** The probe asks for a token, or for another one. */
  needsToken: boolean;
}

const tokenKey = 'vexora-token';

function readToken(): string {
  try {
    return sessionStorage.getItem(tokenKey) ?? '';
  } catch {
    return ''; // storage is switched off
  }
}

export const now = (): Moment => performance.now();

export class Probe {
  state: ProbeState = {
    link: { kind: 'connecting', until: 0 },
    passes: { period: 60_000, last: null },
    needsToken: false,
  };

  private token = readToken();
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
    this.connection.onState((kind, waitMs) => {
      this.change({ link: { kind, until: now() + waitMs } });
      if (kind !== 'connecting') void this.readStatus(); // open: where are the passes? waiting: is it the token?
    });
    // A page that shows nothing live must hear of the passes all the same: this is the smallest message that each brings.
    this.subscribe('HealthMonitor', {}, () => undefined);
    this.connection.start();
    window.addEventListener('online', () => this.connection.retryNow());
  }

  retryNow(): void {
    this.connection.retryNow();
  }

  useToken(token: string): void {
    this.token = token;
    try {
      sessionStorage.setItem(tokenKey, token);
    } catch {
      // then it lasts as long as the page
    }
    this.change({ needsToken: false });
    this.connection.retryNow();
    void this.readStatus();
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
    const answer = await ask(fetchText, this.token, apiPath(path, query), decode);
    if (answer.kind === 'error' && answer.status === 401) this.change({ needsToken: true });
    return answer;
  }

  private async readStatus(): Promise<void> {
    const answer = await this.ask('status', {}, decodeStatus);
    if (answer.kind === 'value') this.change({ passes: passesFrom(answer.value, now()) });
  }

  /** A browser's WebSocket cannot set headers, so the token stands in the address. */
  private socketUrl(): string {
    const query = this.token ? `?token=${encodeURIComponent(this.token)}` : '';
    return `${location.protocol === 'https:' ? 'wss' : 'ws'}://${location.host}/${query}`;
  }

  private change(change: Partial<ProbeState>): void {
    this.state = { ...this.state, ...change };
    for (const listener of [...this.listeners]) listener();
  }
}

export const probe = new Probe();
