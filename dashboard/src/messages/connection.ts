// The websocket: subscribes, reconnects by itself, subscribes again. Everything of the browser is handed in, so that it
// is tested without one.

import { decodeEnvelope, sidsOf } from './decode';
import { isRecord, type Json, parseJson } from './check';

export type ConnectionState = 'connecting' | 'open' | 'waiting';

/** What of a WebSocket is used. */
export interface Socket {
  onopen: (() => void) | null;
  onmessage: ((event: { data: unknown }) => void) | null;
  onclose: (() => void) | null;
  send(text: string): void;
  close(): void;
}

export interface Surroundings {
  openSocket(): Socket;
  /** Calls back once, after so many milliseconds. Returns what cancels it. */
  schedule(after: number, callback: () => void): () => void;
  /** From 0 to 1. */
  random(): number;
}

export type Filter = Record<string, unknown>;
export type Listener = (data: Json) => void;

const shortestWait = 500;
const longestWait = 30_000;

/** How long to wait before the next attempt: twice as long each time, and spread, so that not all pages come at once. */
export function backoff(attempt: number, random: number): number {
  const full = Math.min(longestWait, shortestWait * 2 ** Math.min(attempt, 16));
  return Math.round(full * (0.5 + random / 2));
}

interface Subscription {
  sid: string;
  topic: string;
  filter: Filter;
  listeners: Set<Listener>;
}

export class Connection {
  private socket: Socket | null = null;
  private isOpen = false;
  private isClosed = false;
  private attempt = 0;
  private lastSid = 0;
  private cancelWait: (() => void) | null = null;
  private readonly subscriptions = new Map<string, Subscription>();
  private readonly stateListeners = new Set<(state: ConnectionState, waitMs: number) => void>();

  constructor(private readonly around: Surroundings) {}

  start(): void {
    this.isClosed = false;
    this.connect();
  }

  stop(): void {
    this.isClosed = true;
    this.cancelWait?.();
    this.socket?.close();
  }

  /** Doesn't wait any longer: the network is back, or the user is impatient. */
  retryNow(): void {
    if (!this.cancelWait || this.isClosed) return;
    this.cancelWait();
    this.connect();
  }

  onState(listener: (state: ConnectionState, waitMs: number) => void): () => void {
    this.stateListeners.add(listener);
    return () => this.stateListeners.delete(listener);
  }

  /** Has `listener` get the topic's messages for this filter. Returns what ends it. */
  subscribe(topic: string, filter: Filter, listener: Listener): () => void {
    const key = JSON.stringify([topic, filter]);
    let subscription = this.subscriptions.get(key);
    if (!subscription) {
      subscription = { sid: `page-${++this.lastSid}`, topic, filter, listeners: new Set() };
      this.subscriptions.set(key, subscription);
      this.request(subscription);
    }
    subscription.listeners.add(listener);
    return () => this.leave(key, listener);
  }

  private leave(key: string, listener: Listener): void {
    const subscription = this.subscriptions.get(key);
    if (!subscription?.listeners.delete(listener) || subscription.listeners.size > 0) return;
    this.subscriptions.delete(key);
    const { topic, sid } = subscription;
    if (this.isOpen) this.socket?.send(JSON.stringify({ unsubscribe: { topic, sid } }));
  }

  private request({ topic, sid, filter }: Subscription): void {
    if (this.isOpen) this.socket?.send(JSON.stringify({ subscribe: { topic, request: [{ sid, filter }] } }));
  }

  private connect(): void {
    this.cancelWait = null;
    this.tell('connecting', 0);
    const socket = this.around.openSocket();
    this.socket = socket;
    socket.onopen = () => this.onOpen();
    socket.onmessage = (event) => this.onMessage(event.data);
    socket.onclose = () => this.onClose(socket);
  }

  private onOpen(): void {
    this.isOpen = true;
    for (const subscription of this.subscriptions.values()) this.request(subscription);
    this.tell('open', 0);
  }

  private onMessage(text: unknown): void {
    if (typeof text !== 'string') return;
    this.attempt = 0; // only a probe that says something has taken us in
    const envelope = decodeEnvelope(text);
    if (!envelope) {
      this.onAnswer(parseJson(text));
      return;
    }
    const sids = sidsOf(envelope.data);
    for (const { topic, sid, listeners } of [...this.subscriptions.values()]) {
      if (topic !== envelope.name || (sids && !sids.includes(sid))) continue;
      for (const listener of [...listeners]) listener(envelope.data);
    }
  }

  /** A refusal is told where a developer looks: the page asks for nothing that a sound probe refuses. */
  private onAnswer(answer: unknown): void {
    if (isRecord(answer) && isRecord(answer['error'])) {
      // eslint-disable-next-line no-console
      console.warn('The probe refused a request:', answer['error']['code']);
    }
  }

  private onClose(socket: Socket): void {
    if (this.socket !== socket) return;
    this.socket = null;
    this.isOpen = false;
    if (this.isClosed) return;
    const wait = backoff(this.attempt++, this.around.random());
    this.cancelWait = this.around.schedule(wait, () => this.connect());
    this.tell('waiting', wait);
  }

  private tell(state: ConnectionState, waitMs: number): void {
    for (const listener of [...this.stateListeners]) listener(state, waitMs);
  }
}
