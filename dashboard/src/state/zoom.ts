// The zoom of a chart, as the address bar holds it.

import type { Range } from '../charts/series';
import type { Route } from './route';

export function zoomOf(route: Route): Range | null {
  const from = Number(route.values['from']);
  const to = Number(route.values['to']);
  return Number.isFinite(from) && Number.isFinite(to) && from > 0 && to > from ? [from, to] : null;
}

export function zoomText(range: Range | null): { from: string; to: string } {
  return range ? { from: String(Math.round(range[0])), to: String(Math.round(range[1])) } : { from: '', to: '' };
}
