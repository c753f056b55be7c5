// The texts of the pages stand in one file, so that another language can be put in its place.

import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import ts from 'typescript';
import { expect, test } from 'vitest';
import { texts } from '../src/texts';

const source = fileURLToPath(new URL('../src', import.meta.url));
const shown = ['title', 'placeholder', 'aria-label', 'aria-valuetext', 'alt', 'caption', 'label', 'nothing'];
/** Two words in a row, or one with a capital, are for people; what is left are names of files, units, classes and keys. */
const forPeople = /[A-Za-z]{2,},? [a-z]{2,}|^[A-Z][a-z]+$/;
const isWord = /\p{L}{2,}/u;
/** Keys, headers, what developers read, and classes and fonts that are put together outside the markup: no language changes them. */
const technical = /^(Home|End|Escape|Authorization|Bearer|name short|name long|off away|px system-ui, sans-serif|The probe refused a request:|)$/;

/** The attribute in whose value a node stands, other than in markup within it. */
function attributeOf(node: ts.Node): string | undefined {
  for (let { parent } = node; !ts.isJsxElement(parent) && !ts.isSourceFile(parent) && !ts.isBlock(parent); { parent } = parent) {
    if (ts.isJsxAttribute(parent)) return parent.name.getText();
  }
  return undefined;
}

/** The texts for people that a file holds itself. */
function literalsIn(name: string, text: string): string[] {
  const found: string[] = [];
  const file = ts.createSourceFile(name, text, ts.ScriptTarget.Latest, true, name.endsWith('.tsx') ? ts.ScriptKind.TSX : ts.ScriptKind.TS);
  const visit = (node: ts.Node): void => {
    if (ts.isImportDeclaration(node) || ts.isLiteralTypeNode(node)) return;
    if (ts.isJsxText(node) && isWord.test(node.text)) found.push(node.text.trim());
    if (ts.isStringLiteral(node) || ts.isNoSubstitutionTemplateLiteral(node) || ts.isTemplateHead(node) || ts.isTemplateMiddle(node) || ts.isTemplateTail(node)) {
      const attribute = attributeOf(node) ?? '';
      const isShown = shown.includes(attribute) && ts.isJsxAttribute(node.parent) && isWord.test(node.text);
      if (isShown || (attribute !== 'class' && forPeople.test(node.text) && !technical.test(node.text))) found.push(node.text);
    }
    ts.forEachChild(node, visit);
  };
  visit(file);
  return found;
}

test('a text in the markup, in an attribute that is shown, in a string or in a template is found', () => {
  const example = `const a = <p class="two words" title="Why"><b>some</b>{x ? 'not yet known' : \`\${n} open alerts\`}</p>; const key = 'sort-by'; const b = { title: 'Device' };`;
  expect(literalsIn('example.tsx', example)).toEqual(['Why', 'some', 'not yet known', ' open alerts', 'Device']);
});

test.each(['pages', 'parts', 'state', 'charts', 'format', 'messages'])('%s hold no text of their own', (folder) => {
  const files = readdirSync(join(source, folder)).filter((name) => name.includes('.ts'));
  expect(files.length).toBeGreaterThan(0);
  const found = files.flatMap((name) => literalsIn(name, readFileSync(join(source, folder, name), 'utf8')).map((text) => `${folder}/${name}: ${text}`));
  expect(found).toEqual([]);
});

test('nor does the frame of all pages', () => {
  expect(literalsIn('main.tsx', readFileSync(join(source, 'main.tsx'), 'utf8'))).toEqual([]);
});

test('texts know one from many', () => {
  expect([texts.health.openAlerts(1), texts.health.openAlerts(2)]).toEqual(['an open alert', '2 open alerts']);
  expect([texts.chart.moreBefore(1), texts.chart.moreBefore(3)]).toEqual(['and 1 time before', 'and 3 times before']);
});
