// The address bar holds the view: which page, of what, sorted how. A link shows what the sender saw.

/** Those with a tab, in its order. */
export const pages = ['overview', 'traffic', 'clients', 'clients-now', 'top', 'client-report', 'guest-report', 'network-report'] as const;
const others = ['device', 'not-found'] as const;
export type Page = (typeof pages)[number] | (typeof others)[number];

export interface Route {
  page: Page;
  values: Record<string, string>;
}

export function parseRoute(hash: string): Route {
  const [path = '', query = ''] = hash.replace(/^#?\/?/, '').split('?');
  const page = path === '' ? 'overview' : ([...pages, 'device' as const].find((one) => one === path) ?? 'not-found');
  return { page, values: Object.fromEntries(new URLSearchParams(query)) };
}

/** Values that are empty are left out, so that the plain page has a plain address. */
export function formatRoute({ page, values }: Route): string {
  const query = new URLSearchParams(Object.entries(values).filter(([, value]) => value !== '')).toString();
  return query ? `#/${page}?${query}` : `#/${page}`;
}

/** Seconds for which a wall shows each page; null: it is no wall. */
export function wallSeconds({ values }: Route): number | null {
  const seconds = Number(values['wall']);
  return values['wall'] && Number.isFinite(seconds) && seconds >= 1 ? seconds : null;
}

/** The page that a wall shows after this one, with the same choices. */
export function nextOnWall({ page, values }: Route): Route {
  const shown = pages.filter((one) => !one.endsWith('-report'));
  const next = shown[(shown.findIndex((one) => one === page) + 1) % shown.length] ?? 'overview';
  const kept = Object.entries(values).filter(([name]) => name === 'wall' || name === 'theme');
  return { page: next, values: Object.fromEntries(kept) };
}

/** One of the values allowed, or the first of them. */
export function oneOf<Value extends string>(value: string | undefined, allowed: readonly Value[]): Value {
  return allowed.find((one) => one === value) ?? (allowed[0] as Value);
}
