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
