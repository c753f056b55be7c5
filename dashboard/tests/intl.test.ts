// Numbers, dates and lists are told by Intl alone, so that another language has its own.

import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { expect, test } from 'vitest';

const source = fileURLToPath(new URL('../src', import.meta.url));
/** What makes a text of a number, a date or a list in a form of one's own, or in one of the browser's language. */
const byHand = /\.toFixed\(|\.padStart\(|\.toISOString\(|\.toLocale(Date|Time)?String\(|\.toPrecision\(|join\(', '\)/g;
/** What machines read: files, addresses of samples in a drawing, values of fields, keys of reports. */
const forMachines: Record<string, number> = {
  'charts/outages.ts': 2, // a path of SVG
  'format/csv.ts': 1,
  'format/format.ts': 1, // the key of a day
  'format/zone.ts': 2, // offsets from UTC, and the values of fields for dates
  'pages/network_report.tsx': 1, // a cell of a file
  'pages/top.tsx': 1, // the width of a bar
};

const writtenByHand = (text: string): number => [...text.matchAll(byHand)].length;

test('no page writes a number, a date or a list by hand', () => {
  const files = readdirSync(source, { recursive: true, encoding: 'utf8' }).filter((name) => /\.tsx?$/.test(name));
  const found = Object.fromEntries(files.map((name) => [name, writtenByHand(readFileSync(join(source, name), 'utf8'))] as const).filter(([, count]) => count > 0));
  expect(found).toEqual(forMachines);
  expect(files.length).toBeGreaterThan(40);
});

test.each(["value.toFixed(1)", "String(month).padStart(2, '0')", "names.join(', ')", 'date.toLocaleTimeString()', 'at.toISOString()'])('%s is noticed', (text) => {
  expect(writtenByHand(`const shown = ${text};`)).toBe(1);
});
