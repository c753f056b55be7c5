// The sites of a centre: asked for again and again, for as long as the page is open.

import { decodeSearch, decodeSites, type Found, type ToldSites } from '../messages/decode_centre';
import { type Answer, ask, fetchText, openSession } from '../messages/http';

export interface CentreState {
  /** Null: not told yet. */
  told: ToldSites | null;
  /** The centre cannot be reached, or does not answer as one. */
  isLost: boolean;
  needsToken: boolean;
}

const everyMs = 5000;

export class Centre {
  state: CentreState = { told: null, isLost: false, needsToken: false };

  private timer: ReturnType<typeof setTimeout> | undefined;
  private readonly listeners = new Set<() => void>();

  start(): void {
    void this.read();
  }

  onChange(listener: () => void): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  /** Logs in. What is wrong, in words; empty when the page may go on. */
  async useToken(token: string): Promise<string> {
    const complaint = await openSession(fetchText, token);
    if (complaint === '') await this.read();
    return complaint;
  }

  /** Devices and clients of all sites. */
  search(text: string): Promise<Answer<Found>> {
    return ask(fetchText, `/api/v1/search?${new URLSearchParams({ text }).toString()}`, decodeSearch);
  }

  private async read(): Promise<void> {
    clearTimeout(this.timer);
    const answer = await ask(fetchText, '/api/v1/sites', decodeSites);
    this.timer = setTimeout(() => void this.read(), everyMs);
    if (answer.kind === 'value') this.change({ told: answer.value, isLost: false, needsToken: false });
    else this.change({ needsToken: answer.status === 401, isLost: answer.status !== 401 });
  }

  private change(change: Partial<CentreState>): void {
    this.state = { ...this.state, ...change };
    for (const listener of [...this.listeners]) listener();
  }
}

export const centre = new Centre();
