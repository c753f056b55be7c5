// Writes the types of messages and answers from docs/schemas/ and docs/openapi.yaml, so that the page and the probe
// cannot drift apart unseen.

import { mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { compile } from 'json-schema-to-typescript';
import { parse } from 'yaml';

const dashboard = join(dirname(fileURLToPath(import.meta.url)), '..');
const docs = join(dashboard, '../docs');
const target = join(dashboard, 'src/messages/generated');
const options = { bannerComment: '', cwd: join(docs, 'schemas'), ignoreMinAndMaxItems: true, unreachableDefinitions: true };

rmSync(target, { recursive: true, force: true });
mkdirSync(target, { recursive: true });

const schemas = ['.', 'centre'].flatMap((folder) => readdirSync(join(docs, 'schemas', folder)).map((name) => join(folder, name)));
for (const file of schemas.filter((name) => name.endsWith('.json'))) {
  const name = basename(file, '.json');
  const schema = JSON.parse(readFileSync(join(docs, 'schemas', file), 'utf8'));
  writeFileSync(join(target, `${name}.ts`), await compile({ ...schema, title: 'Message' }, name, options));
}

// The schemas of the HTTP interface refer to one another by their place in that document.
const { components } = parse(readFileSync(join(docs, 'openapi.yaml'), 'utf8'));
const text = JSON.stringify(components.schemas).replaceAll('#/components/schemas/', '#/definitions/');
const http = { title: 'Http', type: 'object', definitions: JSON.parse(text) };
writeFileSync(join(target, 'http.ts'), await compile(http, 'Http', options));
