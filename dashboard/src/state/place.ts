// Where a page stands: at a probe's own address, or at that of a site below a centre's.

/** The name of the site whose page has this path at a centre; null: the path is a probe's own. */
export function siteIn(path: string): string | null {
  return /^\/sites\/([A-Za-z0-9_-]{1,64})\//.exec(path)?.[1] ?? null;
}

/** What stands before the paths of a site at a centre. */
export const pathOfSite = (site: string): string => `/sites/${site}`;

/** The site of this page; null: it is a probe's own, or that of all sites. */
export const site = typeof location === 'undefined' ? null : siteIn(location.pathname);

/** What stands before the paths of this page's probe. */
export const base = site === null ? '' : pathOfSite(site);
