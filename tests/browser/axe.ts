// What axe says of a page.

import axe from 'axe-core';
import type { Page } from 'playwright-core';

/** What axe finds on the page as it is shown. */
export async function findingsOf(page: Page): Promise<unknown[]> {
  if (!(await page.evaluate(() => 'axe' in window))) await page.evaluate(axe.source);
  return page.evaluate(async () => {
    const runner = (window as unknown as { axe: typeof axe }).axe;
    const { violations } = await runner.run(document, { resultTypes: ['violations'] });
    return violations.map(({ id, impact, nodes }) => ({ id, impact, where: nodes.slice(0, 3).map((node) => node.html) }));
  });
}
