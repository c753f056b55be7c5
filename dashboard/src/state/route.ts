// The address bar holds the view: which page, of what, sorted how. A link shows what the sender saw.

export const pages = ['overview', 'traffic', 'clients', 'top', 'client-report', 'guest-report', 'network-report'] as const;
export type Page = (typeof pages)[number];

export interface Route {
  page: Page;
  values: Record<string, string>;
}

export function parseRoute(hash: string): Route {
  const [path = '', query = ''] = hash.replace(/^#?\/?/, '').split('?');
  const page = pages.find((one) => one === path) ?? 'overview';
  return { page, values: Object.fromEntries(new URLSearchParams(query)) };
}

/** Values that are empty are left out, so that the plain page has a plain address. */
export function formatRoute({ page, values }: Route): string {
  const query = new URLSearchParams(Object.entries(values).filter(([, value]) => value !== '')).toString();
  return query ? `#/${page}?${query}` : `#/${page}`;
}

/** One of the values allowed, or the first of them. */
export function oneOf<Value extends string>(value: string | undefined, allowed: readonly Value[]): Value {
  return allowed.find((one) => one === value) ?? (allowed[0] as Value);
}
