// Comma-separated values that a spreadsheet opens without running anything in them.

export type Cell = string | number | null;

/** A text that a spreadsheet would take for a formula gets a quote in front, by which it stays a text. Wide signs count. */
function harmless(text: string): string {
  return /^[=+\-@\t\r\n\uff1d\uff0b\uff0d\uff20]/.test(text) ? `'${text}` : text;
}

function cellText(cell: Cell): string {
  if (cell === null) return '';
  if (typeof cell === 'number') return Number.isFinite(cell) ? String(cell) : '';
  const text = harmless(cell);
  return /[",;\r\n\t]|^\s|\s$/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

/** RFC 4180, with a mark in front by which spreadsheets know that it is UTF-8. */
export function toCsv(header: string[], rows: Cell[][]): string {
  return '\ufeff' + [header, ...rows].map((row) => row.map(cellText).join(',') + '\r\n').join('');
}

/** "clients-day-2026-11-15-Europe-Berlin.csv": a week has the day on which it begins and the one on which it ends. */
export function csvName(what: string, period: string, zone: string): string {
  const kind = period.includes('/') ? 'week' : 'day';
  return `${what}-${kind}-${period.replace('/', '_')}-${zone}.csv`;
}

/** A number with no more digits than it is worth. */
export const rounded = (value: number | null, digits: number): number | null => (value === null ? null : Number(value.toFixed(digits)));
