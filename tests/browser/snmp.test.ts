// The overview of devices that answer SNMP, and of one that does not.

import { type ChildProcess, spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';
import type { Browser } from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';
import { agree, closeContext, openBrowser, openPage, tableOf } from './browser';
import { type Json, ProbeProcess } from './probe';

const network = fileURLToPath(new URL('../../script/lib/snmp_network.py', import.meta.url));
/** VEXORA_IMAGES=1 renews the picture that the documents show, with figures of two passes: they come once a minute here. */
const isRenewing = Boolean(process.env['VEXORA_IMAGES']);
const silent = '[[sources.snmp.devices]]\naddress = "127.0.0.1:9"\ncommunity = "public"\nname = "ap-cellar"\ninterval_seconds = 10\n';

let agents: ChildProcess;
let probe: ProbeProcess;
let browser: Browser;

/** Starts the agents; gives the configuration of the probe that polls them. */
async function startAgents(): Promise<string> {
  agents = spawn(network, ['--agents'], { stdio: ['pipe', 'pipe', 'inherit'] });
  return new Promise((resolve, reject) => {
    let output = '';
    agents.stdout?.on('data', (chunk: Buffer) => {
      output += chunk.toString();
      if (output.endsWith('\n\n\n')) resolve(output);
    });
    agents.on('error', reject);
    agents.on('exit', (code) => reject(new Error(`the agents ended with ${code}`)));
  });
}

beforeAll(async () => {
  const configuration = await startAgents();
  [probe, browser] = await Promise.all([ProbeProcess.start([], 0, configuration + silent), openBrowser()]);
}, 30_000);

afterAll(async () => {
  await browser.close();
  await probe.stop();
  const over = new Promise((resolve) => agents.once('exit', resolve));
  agents.stdin?.end();
  await over;
});

const pollsOf = (answer: Json): Json[] => answer['polls'] as Json[];

test('shows every device, and says why one does not answer', async () => {
  await probe.await('/api/v1/devices', (answer) => pollsOf(answer).every((poll) => poll['online'] === true || poll['error'] !== ''));
  if (isRenewing) await new Promise((resolve) => setTimeout(resolve, 130_000));
  const { page, context, complaints } = await openPage(browser, probe.url, { colorScheme: 'light' });
  await page.goto(`${probe.url}/#/overview`);
  const shown = async (): Promise<string[]> => Object.values(await tableOf(page, 'main')).map((row) => row['device'] ?? '').sort();
  const told = async (): Promise<string[]> => pollsOf(await probe.get('/api/v1/devices')).map((poll) => String(poll['name'])).sort();
  expect(await agree(shown, told)).toHaveLength(7);
  const cellar = page.locator('tr', { hasText: 'ap-cellar' });
  const error = pollsOf(await probe.get('/api/v1/devices')).find((poll) => poll['name'] === 'ap-cellar')?.['error'];
  expect(await cellar.locator('.trouble').textContent()).toContain(String(error));
  expect(await cellar.textContent()).toContain('Offline');
  const picture = fileURLToPath(new URL(`../../${isRenewing ? 'docs' : 'build'}/images/snmp-light.png`, import.meta.url));
  await page.screenshot({ path: picture });
  await closeContext(context);
  expect(complaints).toEqual([]);
}, 200_000);
