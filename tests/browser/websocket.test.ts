// What the probe really says over its websocket is what docs/asyncapi.yaml and docs/interfaces.md say.

import type { Browser, Page } from 'playwright-core';
import { afterAll, beforeAll, describe, expect, test } from 'vitest';
import { openBrowser, openPage } from './browser';
import { type Json, ProbeProcess, simulated } from './probe';
import { asyncapi, document, openapi, referencesIn, resolved, schemaFiles, violationsOf } from './schemas';

interface Message {
  payload: { $ref: string };
  examples?: { payload: Json }[];
}
interface Operation {
  action: string;
  channel: { $ref: string };
  messages: { $ref: string }[];
  reply?: { channel: { $ref: string }; messages: { $ref: string }[] };
}
const { messages } = asyncapi['components'] as { messages: Record<string, Message> };
const operations = asyncapi['operations'] as Record<string, Operation>;
const nameIn = (reference: { $ref: string }): string => reference.$ref.split('/').at(-1) ?? '';
const examplesOf = (name: string): Json[] => (messages[name]?.examples ?? []).map((example) => example.payload);
const topics = (operations['push']?.messages ?? []).map(nameIn);

describe('the description', () => {
  test('refers to what is there, and leaves no schema out', () => {
    const references = [...referencesIn(asyncapi), ...referencesIn(openapi)];
    const files = references.filter((reference) => !reference.startsWith('#')).map((reference) => reference.replace('schemas/', ''));
    expect([...new Set(files)].sort()).toEqual([...schemaFiles].sort());
    for (const reference of referencesIn(asyncapi).filter((one) => one.startsWith('#'))) expect(resolved(asyncapi, reference), reference).toBeDefined();
  });

  test('has a use for each of its messages', () => {
    const channels = ['#/channels/socket', '#/channels/site_texts'];
    for (const channel of channels) {
      const inChannel = Object.keys(resolved(asyncapi, `${channel}/messages`) as Json).sort();
      const own = Object.values(operations).filter((operation) => operation.channel.$ref === channel);
      const used = own.flatMap(({ messages: some, reply }) => [...some, ...(reply?.messages ?? [])]).map(nameIn);
      expect([...new Set(used)].sort(), channel).toEqual(inChannel);
    }
    expect(Object.keys(resolved(asyncapi, '#/channels/socket/messages') as Json).sort()).toEqual(Object.keys(messages).sort());
    expect(Object.keys(resolved(asyncapi, '#/channels/site_texts/messages') as Json).sort()).toEqual([...topics].sort());
    for (const { action, channel } of Object.values(operations)) {
      expect(['receive', 'send']).toContain(action);
      expect(channels).toContain(channel.$ref);
    }
  });

  test.each(Object.keys(messages))('has examples of %s that follow its schema', (name) => {
    for (const example of examplesOf(name)) expect(violationsOf(messages[name]?.payload.$ref ?? '', example)).toEqual([]);
    if (!topics.includes(name)) expect(examplesOf(name)).not.toEqual([]);
  });

  test('names the topics that the HTTP interface keeps messages of', () => {
    const parameters = openapi.paths['/api/v1/live/{topic}']?.get.parameters as { name: string; schema: { enum: string[] } }[];
    expect([...topics].sort()).toEqual([...(parameters.find(({ name }) => name === 'topic')?.schema.enum ?? [])].sort());
  });

  test('says what the document for people says', () => {
    const text = document('interfaces.md');
    expect(schemaFiles.filter((file) => !text.includes(`(schemas/${file})`))).toEqual([]);
    const codes = resolved(JSON.parse(document('schemas/error.json')), '#/properties/error/properties/code/enum') as string[];
    const errors = text.slice(text.indexOf('\n## Errors'), text.indexOf('\n## Limits'));
    const rows = errors.split('\n').filter((line) => line.startsWith('| `')).map((line) => line.split('|')[1] ?? '');
    const told = rows.flatMap((row) => [...row.matchAll(/`(\w+)`/g)].map((code) => code[1] ?? ''));
    expect(told.sort()).toEqual([...codes].sort());
  });
});

describe('the probe', () => {
  let probe: ProbeProcess;
  let browser: Browser;
  let page: Page;
  beforeAll(async () => {
    [probe, browser] = await Promise.all([ProbeProcess.start(simulated), openBrowser()]);
    ({ page } = await openPage(browser, probe.url));
    await page.goto(`${probe.url}/favicon.svg`); // of the same origin, and with no socket of its own
  });
  afterAll(async () => {
    await browser.close();
    await probe.stop();
  });

  /** Sends messages, and gives what comes until there is an answer to each and a message of each topic. */
  const talk = async (sent: Json[], awaited: string[]): Promise<Json[]> =>
    page.evaluate(
      async ([requests, names]) =>
        new Promise<Json[]>((resolve, reject) => {
          const socket = new WebSocket(location.origin.replace('http', 'ws'));
          const received: Json[] = [];
          socket.onopen = () => requests.forEach((request) => socket.send(JSON.stringify(request)));
          socket.onerror = () => reject(new Error('the connection is lost'));
          socket.onmessage = ({ data }) => {
            received.push(JSON.parse(String(data)) as Json);
            const answers = received.filter((message) => !('data' in message)).length;
            if (answers < requests.length || !names.every((name) => received.some((message) => message['name'] === name))) return;
            socket.close();
            resolve(received);
          };
        }),
      [sent, awaited] as const,
    );

  test('takes the examples, answers as described, and pushes every topic', async () => {
    const requests = ['subscribe', 'subscribe_top'].flatMap(examplesOf);
    const received = await talk(requests, topics);
    for (const message of received) {
      const name = 'subscribed' in message ? 'subscribed' : String(message['name']);
      expect(violationsOf(messages[name]?.payload.$ref ?? '', message), name).toEqual([]);
    }
    expect(received.filter((message) => 'subscribed' in message)).toHaveLength(requests.length);
  });

  test('ends a subscription, and refuses what is no message', async () => {
    const [subscribe, unsubscribe] = [examplesOf('subscribe').find((one) => JSON.stringify(one).includes('all-1m')), examplesOf('unsubscribe')[0]];
    const received = await talk([subscribe ?? {}, unsubscribe ?? {}, unsubscribe ?? {}, { hello: 1 }], []);
    const answers = received.filter((message) => !('data' in message));
    expect(answers.map((answer) => Object.keys(answer)[0])).toEqual(['subscribed', 'unsubscribed', 'error', 'error']);
    for (const answer of answers) expect(violationsOf(messages[Object.keys(answer)[0] ?? '']?.payload.$ref ?? '', answer)).toEqual([]);
    expect(answers[1]).toEqual(examplesOf('unsubscribed')[0]);
  });
});
