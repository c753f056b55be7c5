import { beforeEach, describe, expect, test } from 'vitest';
import { backoff, Connection, type Socket } from '../src/messages/connection';

class FakeSocket implements Socket {
  onopen: (() => void) | null = null;
  onmessage: ((event: { data: unknown }) => void) | null = null;
  onclose: (() => void) | null = null;
  sent: unknown[] = [];
  isClosed = false;
  send(text: string): void {
    this.sent.push(JSON.parse(text));
  }
  close(): void {
    this.isClosed = true;
    this.onclose?.();
  }
  push(message: unknown): void {
    this.onmessage?.({ data: typeof message === 'string' ? message : JSON.stringify(message) });
  }
}

let sockets: FakeSocket[];
let waits: { after: number; callback: () => void; isCancelled: boolean }[];
let connection: Connection;
let states: string[];

const socket = (): FakeSocket => sockets[sockets.length - 1] as FakeSocket;
const subscribeTo = (topic: string, sid: string, filter = {}) => ({ subscribe: { topic, request: [{ sid, filter }] } });

beforeEach(() => {
  sockets = [];
  waits = [];
  states = [];
  connection = new Connection({
    openSocket: () => {
      sockets.push(new FakeSocket());
      return socket();
    },
    schedule: (after, callback) => {
      const wait = { after, callback, isCancelled: false };
      waits.push(wait);
      return () => (wait.isCancelled = true);
    },
    random: () => 1,
  });
  connection.onState((state) => states.push(state));
  connection.start();
});

describe('backoff', () => {
  test('doubles up to half a minute', () => {
    expect([0, 1, 2, 5, 6, 7, 100].map((attempt) => backoff(attempt, 1))).toEqual([500, 1000, 2000, 16_000, 30_000, 30_000, 30_000]);
  });
  test('is spread over the upper half', () => {
    expect(backoff(2, 0)).toBe(1000);
    expect(backoff(2, 0.5)).toBe(1500);
  });
});

describe('a connection', () => {
  test('subscribes what was wanted before it was open', () => {
    connection.subscribe('TrafficMonitor', { interval: '1m' }, () => undefined);
    expect(socket().sent).toEqual([]);
    socket().onopen?.();
    expect(socket().sent).toEqual([subscribeTo('TrafficMonitor', 'page-1', { interval: '1m' })]);
    expect(states).toEqual(['connecting', 'open']);
  });

  test('asks once for what two want, and ends it with the last of them', () => {
    socket().onopen?.();
    const first = connection.subscribe('HealthMonitor', {}, () => undefined);
    const second = connection.subscribe('HealthMonitor', {}, () => undefined);
    first();
    expect(socket().sent).toEqual([subscribeTo('HealthMonitor', 'page-1')]);
    second();
    second();
    expect(socket().sent[1]).toEqual({ unsubscribe: { topic: 'HealthMonitor', sid: 'page-1' } });
    expect(socket().sent).toHaveLength(2);
  });

  test('hands a message to those whose subscription it names', () => {
    socket().onopen?.();
    const got: string[] = [];
    connection.subscribe('TrafficMonitor', { interval: '1m' }, () => got.push('1m'));
    connection.subscribe('TrafficMonitor', { interval: '5m' }, () => got.push('5m'));
    connection.subscribe('HealthMonitor', {}, () => got.push('health'));
    socket().push({ name: 'TrafficMonitor', data: { '5m': { sid: ['page-2'] } } });
    socket().push({ name: 'HealthMonitor', data: { status: [] } });
    socket().push({ name: 'TrafficMonitor', data: { '1m': { sid: ['somebody'] } } });
    expect(got).toEqual(['5m', 'health']);
  });

  test('is not upset by what is no message', () => {
    socket().onopen?.();
    connection.subscribe('HealthMonitor', {}, () => expect.fail('no message came'));
    for (const text of ['', '{', 'null', '[]', '{"subscribed":{"topic":"HealthMonitor","sids":["page-1"]}}']) socket().push(text);
    socket().onmessage?.({ data: new ArrayBuffer(3) });
  });

  test('comes back by itself, waits longer each time, and subscribes again', () => {
    connection.subscribe('HealthMonitor', {}, () => undefined);
    for (const after of [500, 1000, 2000]) {
      socket().onclose?.();
      expect(waits.at(-1)?.after).toBe(after);
      waits.at(-1)?.callback();
    }
    socket().onopen?.();
    expect(socket().sent).toEqual([subscribeTo('HealthMonitor', 'page-1')]);
    expect(sockets).toHaveLength(4);
  });

  test('waits no longer than at first once the probe has said something', () => {
    socket().onclose?.();
    waits.at(-1)?.callback();
    socket().onopen?.();
    socket().push({ subscribed: {} });
    socket().onclose?.();
    expect(waits.at(-1)?.after).toBe(500);
  });

  test('goes on waiting longer when the probe takes it in and says nothing', () => {
    socket().onclose?.();
    waits.at(-1)?.callback();
    socket().onopen?.();
    socket().onclose?.();
    expect(waits.at(-1)?.after).toBe(1000);
  });

  test('tries at once when asked to', () => {
    connection.retryNow();
    expect(sockets).toHaveLength(1);
    socket().onclose?.();
    connection.retryNow();
    expect(waits[0]?.isCancelled).toBe(true);
    expect(sockets).toHaveLength(2);
  });

  test('stays closed when it was stopped', () => {
    socket().onopen?.();
    connection.stop();
    connection.retryNow();
    expect(socket().isClosed).toBe(true);
    expect(waits).toHaveLength(0);
    expect(sockets).toHaveLength(1);
  });
});
