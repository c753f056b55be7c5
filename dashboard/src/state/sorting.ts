// The order of rows.

import { texts as t } from '../texts';

export type Direction = 'ascending' | 'descending';

export interface Sorting {
  column: string;
  direction: Direction;
}

export type Sortable = string | number | null;

const collator = new Intl.Collator(t.locale, { numeric: true, sensitivity: 'base' });

/** The order of names, with numbers in them by value. One collator for all: to make one takes longer than to compare. */
export const compareNames = (left: string, right: string): number => collator.compare(left, right);

/** What is not known comes last, whatever the direction. */
export function compare(left: Sortable, right: Sortable, direction: Direction): number {
  if (left === null || right === null) return left === right ? 0 : left === null ? 1 : -1;
  const order =
    typeof left === 'number' && typeof right === 'number' ? left - right : collator.compare(String(left), String(right));
  return direction === 'ascending' ? order : -order;
}

/** Equal rows keep their order. */
export function sortRows<Row>(rows: Row[], value: (row: Row) => Sortable, direction: Direction): Row[] {
  return [...rows].sort((left, right) => compare(value(left), value(right), direction));
}

/** Keys of rows, each made different from those before: what the probe tells may hold the same one twice. */
export function distinctKeys(keys: string[]): string[] {
  const seen = new Map<string, number>();
  return keys.map((key) => {
    const before = seen.get(key) ?? 0;
    seen.set(key, before + 1);
    return before === 0 ? key : `${key} #${before + 1}`;
  });
}

/** "-total" is `total`, the greatest first. */
export function parseSorting(text: string | undefined, columns: string[], usual: Sorting): Sorting {
  if (!text) return usual;
  const column = text.replace(/^-/, '');
  if (!columns.includes(column)) return usual;
  return { column, direction: text.startsWith('-') ? 'descending' : 'ascending' };
}

export function formatSorting({ column, direction }: Sorting): string {
  return direction === 'descending' ? `-${column}` : column;
}

/** Rows in which some text holds every word that is looked for, whatever the case. */
export function search<Row>(rows: Row[], wanted: string, texts: (row: Row) => string[]): Row[] {
  const words = wanted.toLocaleLowerCase().split(/\s+/).filter(Boolean);
  if (words.length === 0) return rows;
  return rows.filter((row) => {
    const text = texts(row).join('\n').toLocaleLowerCase();
    return words.every((word) => text.includes(word));
  });
}
