// A vexora-probe that runs as a process of its own, on a simulated network.

import { type ChildProcess, spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const program = process.env['VEXORA_PROBE'] ?? fileURLToPath(new URL('../../build/release/bin/vexora-probe', import.meta.url));
const furtherArguments = (process.env['VEXORA_PROBE_ARGUMENTS'] ?? '').split(' ').filter(Boolean);

export type Json = Record<string, unknown>;

export class ProbeProcess {
  private constructor(
    private readonly child: ChildProcess,
    readonly port: number,
    private readonly folder: string,
  ) {}

  get url(): string {
    return `http://127.0.0.1:${this.port}`;
  }

  /** Starts one and waits until it listens. `configuration`: the text of its configuration file; `zone`: where it stands. */
  static async start(args: string[], port = 0, configuration = '', zone = 'UTC'): Promise<ProbeProcess> {
    const folder = mkdtempSync(join(tmpdir(), 'vexora-'));
    const file = join(folder, 'probe.toml');
    writeFileSync(file, configuration, { mode: 0o600 });
    // That of this machine, where real devices would be journalled, is none of the tests' business.
    const journal = configuration.includes('[journal]') ? [] : ['--no-journal'];
    const child = spawn(program, ['--config', file, '--port', String(port), ...journal, ...args, ...furtherArguments], {
      env: { ...process.env, TZ: zone },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    const listensAt = await new Promise<number>((resolve, reject) => {
      let output = '';
      const read = (chunk: Buffer): void => {
        output += chunk.toString();
        const found = /serving on port (\d+)/.exec(output);
        if (found) resolve(Number(found[1]));
      };
      child.stdout.on('data', read);
      child.stderr.on('data', read);
      child.on('error', reject);
      child.on('exit', (code) => reject(new Error(`the probe ended with ${code}:\n${output}`)));
    });
    return new ProbeProcess(child, listensAt, folder);
  }

  signal(name: NodeJS.Signals): void {
    this.child.kill(name);
  }

  async stop(): Promise<void> {
    if (this.child.exitCode === null && this.child.signalCode === null) {
      const over = new Promise((resolve) => this.child.once('exit', resolve));
      this.child.kill('SIGCONT');
      this.child.kill('SIGTERM');
      await over;
    }
    rmSync(this.folder, { recursive: true, force: true });
  }

  async answer(path: string, headers: Record<string, string> = {}): Promise<Response> {
    return fetch(this.url + path, { headers: { connection: 'close', ...headers } });
  }

  /** What the HTTP interface tells; fails for an error. */
  async get(path: string): Promise<Json> {
    const response = await this.answer(path);
    if (!response.ok) throw new Error(`${path}: ${response.status} ${await response.text()}`);
    return (await response.json()) as Json;
  }

  /** Waits until the HTTP interface has an answer there that `isEnough` takes. */
  async await(path: string, isEnough: (answer: Json) => boolean = () => true): Promise<Json> {
    const deadline = Date.now() + 25_000;
    for (;;) {
      const response = await this.answer(path);
      const answer = (await response.json()) as Json;
      if (response.ok && isEnough(answer)) return answer;
      if (Date.now() > deadline) throw new Error(`${path} has not come to what is waited for: ${JSON.stringify(answer).slice(0, 500)}`);
      await new Promise((resolve) => setTimeout(resolve, 100));
    }
  }
}

/** Sixty times the pace of life: a pass a second. */
export const simulated = ['--simulated', '--speed', '60'];
