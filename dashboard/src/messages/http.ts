// Asks the probe over HTTP.

import { isRecord, isText, parseJson } from './check';
import { base } from '../state/place';
import { texts as t } from '../texts';

export type Answer<Value> = { kind: 'value'; value: Value } | { kind: 'error'; status: number; code: string; message: string };

/** Status 0: nobody answered. */
export type Fetcher = (path: string, headers: Record<string, string>) => Promise<{ status: number; text: string }>;

export function apiPath(path: string, query: Record<string, string> = {}): string {
  const text = new URLSearchParams(query).toString();
  return `${base}/api/v1/${path}${text && `?${text}`}`;
}

export async function ask<Value>(
  fetcher: Fetcher,
  path: string,
  decode: (value: unknown) => Value | null,
  headers: Record<string, string> = {},
): Promise<Answer<Value>> {
  const { status, text } = await fetcher(path, headers);
  const body = parseJson(text);
  if (status === 200) {
    const value = decode(body);
    if (value !== null) return { kind: 'value', value };
    return { kind: 'error', status, code: 'malformed', message: t.http.badAnswer };
  }
  const error = isRecord(body) && isRecord(body['error']) ? body['error'] : {};
  const code = isText(error['code']) ? error['code'] : status === 0 ? 'unreachable' : 'error';
  const message = isText(error['message']) ? error['message'] : t.http.silent;
  return { kind: 'error', status, code, message };
}

/**
 * Shows the token once; the probe, or the centre for all of its pages, answers with a cookie that stands for it, which no
 * script can read. What is wrong, in words; empty when the page may go on.
 */
export async function openSession(fetcher: Fetcher, token: string): Promise<string> {
  const answer = await ask(fetcher, '/api/v1/session', () => true as const, { Authorization: `Bearer ${token}` });
  if (answer.kind === 'value') return '';
  return answer.status === 401 ? t.frame.wrongToken : answer.message;
}

/** The browser's own. */
export const fetchText: Fetcher = async (path, headers) => {
  try {
    const response = await fetch(path, { headers, credentials: 'same-origin' });
    return { status: response.status, text: await response.text() };
  } catch {
    return { status: 0, text: '' };
  }
};
