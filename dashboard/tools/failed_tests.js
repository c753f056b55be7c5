// Tells of each failed test the command that repeats it, its name and the first line of what was wrong.
// Arguments: a report of vitest in JSON; the command that runs a file's tests when their file's name follows it.

import { readFileSync } from 'node:fs';
import { basename } from 'node:path';

const [report, command] = process.argv.slice(2);
for (const { name, message, assertionResults } of JSON.parse(readFileSync(report, 'utf8')).testResults) {
  const file = basename(name, '.test.ts');
  const failed = assertionResults.filter(({ status }) => status === 'failed').map((test) => [test.fullName, test.failureMessages[0] ?? '']);
  // A file can fail before its first test.
  if (failed.length === 0 && message) failed.push(['the whole file', message]);
  for (const [test, reason] of failed) console.log(`${command} ${file}  (${test}: ${reason.split('\n')[0]})`);
}
