// What docs/ says about the interface, for a machine.

import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { Ajv2020 } from 'ajv';
import { parse } from 'yaml';
import type { Json } from './probe';

const docs = fileURLToPath(new URL('../../docs', import.meta.url));
const base = 'http://docs/';

export const document = (name: string): string => readFileSync(join(docs, name), 'utf8');
/** Of a probe; those of a centre lie in a folder of their own. */
export const schemaFiles = readdirSync(join(docs, 'schemas')).filter((name) => name.endsWith('.json'));
export const openapi = parse(document('openapi.yaml')) as { paths: Record<string, { get: { responses: Record<string, Json>; parameters?: Json[] } }> };
export const asyncapi = parse(document('asyncapi.yaml')) as Json;

const ajv = new Ajv2020({ strict: false, allErrors: true });
ajv.addSchema({ ...openapi, $id: `${base}openapi.yaml` });
const schemasOfCentre = readdirSync(join(docs, 'schemas/centre')).map((name) => `centre/${name}`);
for (const name of [...schemaFiles, ...schemasOfCentre]) {
  const schema = JSON.parse(document(`schemas/${name}`)) as Json;
  delete schema['$schema']; // an older dialect, of which nothing is used that has changed
  ajv.addSchema({ ...schema, $id: `${base}schemas/${name}` });
}

/** What is wrong with a value; empty: nothing. `reference`: a schema, from where the documents stand. */
export function violationsOf(reference: string, value: unknown): unknown[] {
  const validate = ajv.compile({ $ref: base + reference });
  return validate(value) ? [] : (validate.errors ?? []);
}

/** Every `$ref` in a tree. */
export function referencesIn(tree: unknown): string[] {
  if (typeof tree !== 'object' || tree === null) return [];
  return Object.entries(tree).flatMap(([key, value]) => (key === '$ref' && typeof value === 'string' ? [value] : referencesIn(value)));
}

/** What stands at "#/a/b" of a document; `undefined`: nothing. */
export function resolved(tree: unknown, reference: string): unknown {
  const parts = reference.replace(/^#\//, '').split('/').map((part) => part.replaceAll('~1', '/').replaceAll('~0', '~'));
  return parts.reduce<unknown>((place, part) => (place as Json | undefined)?.[part], tree);
}
