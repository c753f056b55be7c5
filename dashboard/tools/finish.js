// After the build: compresses what is served, and fails when all of it together is larger than a page may be.

import { readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { gzipSync } from 'node:zlib';

const most = 200 * 1024;
const folder = process.argv[2] ?? 'dist';

let sum = 0;
for (const entry of readdirSync(folder, { recursive: true, withFileTypes: true })) {
  if (!entry.isFile() || entry.name.endsWith('.gz')) continue;
  const path = join(entry.parentPath ?? entry.path, entry.name);
  const compressed = gzipSync(readFileSync(path), { level: 9 });
  writeFileSync(`${path}.gz`, compressed);
  sum += compressed.length;
  process.stdout.write(`${String(compressed.length).padStart(8)}  ${path}\n`);
}
process.stdout.write(`${String(sum).padStart(8)}  octets compressed, ${most} are the most\n`);
if (sum === 0 || sum > most) process.exit(1);
