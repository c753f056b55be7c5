// What every check of foreign data is made of.

export type Json = Record<string, unknown>;

export function isRecord(value: unknown): value is Json {
  return typeof value === 'object' && value !== null && !Array.isArray(value);
}

export function isNumber(value: unknown): value is number {
  return typeof value === 'number' && Number.isFinite(value);
}

export function isText(value: unknown): value is string {
  return typeof value === 'string';
}

/** The members of an object as pairs; none for anything else. */
export function membersOf(value: unknown): [string, unknown][] {
  return isRecord(value) ? Object.entries(value) : [];
}

/** A text that is no JSON becomes `undefined`, which is no JSON value. */
export function parseJson(text: string): unknown {
  try {
    return JSON.parse(text) as unknown;
  } catch {
    return undefined;
  }
}
