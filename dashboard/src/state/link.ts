// How much of a link is used.

import { formatPercent, formatRate } from '../format/format';
import { texts as t } from '../texts';

const nearEnough = 4;

/** Where the line of a link stands in a chart whose lines go up to `peak`; null: so far above that they would be flat. */
export const linkTop = (link: number | null, peak: number): number | null => (link !== null && link > 0 && peak * nearEnough >= link ? link : null);

/** "Link 1 Gbit/s, used at most: in 12 %, out 3 %"; all in bytes a second. Empty: its speed is not known. */
export function linkText(link: number | null, [input, output]: (number | null | undefined)[]): string {
  if (link === null || link <= 0) return '';
  const part = (value: number | null | undefined): string => formatPercent(typeof value === 'number' ? (value / link) * 100 : null, typeof value === 'number' && value / link < 0.1 ? 1 : 0);
  return t.traffic.link(formatRate(link), part(input), part(output));
}
