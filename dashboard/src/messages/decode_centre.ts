// Receives and checks what a centre tells of its sites.

import type { Message as SearchResult } from './generated/search';
import type { Message as SiteList } from './generated/sites';
import { isNumber, isRecord, isText } from './check';

export type Site = SiteList['sites'][number];
export type Hit = SearchResult['found'][number];

export interface ToldSites {
  /** Seconds since the epoch, by the centre's clock. */
  now: number;
  /** Whether the centre reads the stream. */
  isReading: boolean;
  sites: Site[];
}

const levels = ['good', 'fair', 'bad', 'away'] as const;

function isSite(one: unknown): one is Site {
  return (
    isRecord(one) &&
    ['name', 'version'].every((member) => isText(one[member])) &&
    levels.some((level) => level === one['level']) &&
    ['heard', 'devices', 'offline', 'bad', 'fair', 'clients', 'alerts', 'warnings'].every((member) => isNumber(one[member]))
  );
}

export function decodeSites(value: unknown): ToldSites | null {
  if (!isRecord(value) || !isNumber(value['now']) || !Array.isArray(value['sites'])) return null;
  return { now: value['now'], isReading: value['reading'] === true, sites: value['sites'].filter(isSite) };
}

function isHit(one: unknown): one is Hit {
  return (
    isRecord(one) &&
    (one['kind'] === 'device' || one['kind'] === 'client') &&
    ['site', 'mac', 'name', 'ip', 'place', 'ssid', 'user'].every((member) => isText(one[member])) &&
    typeof one['online'] === 'boolean'
  );
}

export interface Found {
  hits: Hit[];
  hasMore: boolean;
}

export function decodeSearch(value: unknown): Found | null {
  if (!isRecord(value) || !Array.isArray(value['found'])) return null;
  return { hits: value['found'].filter(isHit), hasMore: value['more'] === true };
}
