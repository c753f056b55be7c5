// What stands around every page: where one can go, and how fresh what one sees is.

import { useEffect, useRef, useState } from 'preact/hooks';
import { isStale, untilNext } from '../state/passes';
import { isWarming, now as present, probe, probeTime } from '../state/probe';
import { useNow, useProbe, useSettings } from '../state/hooks';
import { settings, type Theme, type ZoneKind } from '../state/settings';
import { site } from '../state/place';
import { formatRoute, type Page, pages } from '../state/route';
import { formatDuration, formatPace, type RateKind } from '../format/format';
import { setZone, zoneText } from '../format/zone';
import { Select, Waiting } from './basics';
import { Mark } from './icons';
import { texts as t } from '../texts';

export const pageTitles: Record<Page, string> = {
  overview: t.page.overview,
  traffic: t.page.traffic,
  clients: t.page.clients,
  'clients-now': t.page.clientsNow,
  top: t.page.top,
  'client-report': t.page.clientReport,
  'guest-report': t.page.guestReport,
  'network-report': t.page.networkReport,
  device: t.page.device,
  'not-found': t.page.notFound,
};

/** On a wall there is nobody to go elsewhere. */
export function Head({ page, isWall }: { page: Page; isWall: boolean }) {
  const tabs = useRef<HTMLElement>(null);
  useEffect(() => {
    // On a phone the tabs are wider than the screen.
    tabs.current?.querySelector('[aria-current]')?.scrollIntoView({ inline: 'center', block: 'nearest' });
  }, [page]);
  return (
    <header class="head">
      {site === null ? (
        <a class="brand" href="#/overview"><Mark />{t.frame.name}</a>
      ) : (
        <>
          {!isWall && <a class="brand" href="/" title={t.frame.toSites}><Mark /><span class="hidden">{t.frame.toSites}</span></a>}
          <a class="brand" href="#/overview" data-site={site}>{site}</a>
        </>
      )}
      {!isWall && (
        <nav class="tabs" aria-label={t.frame.pages} ref={tabs}>
          <ul>
            {pages.map((one) => (
              <li key={one}>
                <a href={formatRoute({ page: one, values: {} })} aria-current={one === page ? 'page' : undefined}>{pageTitles[one]}</a>
              </li>
            ))}
          </ul>
        </nav>
      )}
      <div class="state">
        <Freshness />
        {!isWall && <ThemeButton />}
      </div>
    </header>
  );
}

function useFreshness(): keyof typeof freshnessTitles {
  const link = useProbe((state) => state.link.kind);
  const passes = useProbe((state) => state.passes);
  const isReading = useProbe((state) => isWarming(state.history));
  const now = useNow(500);
  if (link !== 'open') return link;
  if (isReading) return 'warming';
  return isStale(passes, now) ? 'stale' : 'live';
}

const freshnessTitles = { connecting: t.frame.connecting, waiting: t.frame.waiting, warming: t.frame.warming, live: t.frame.live, stale: t.frame.stale };

function Freshness() {
  const kind = useFreshness();
  return (
    <>
      <span class="link" data-kind={kind} role="status">
        <span class="dot" />
        {freshnessTitles[kind]}
      </span>
      {kind === 'live' && <Countdown />}
    </>
  );
}

function Countdown() {
  const passes = useProbe((state) => state.passes);
  const now = useNow(250);
  const left = untilNext(passes, now);
  if (left === null) return <span class="countdown">{t.frame.firstPass} <Waiting isBare /></span>;
  const isFast = passes.period < 5000;
  return (
    <span class="countdown" title={t.frame.untilNext}>
      <progress max={passes.period} value={passes.period - left} aria-label={t.frame.sinceLast} />
      {isFast ? formatPace(passes.period) : left > 0 ? t.frame.nextIn(formatDuration(Math.ceil(left / 1000))) : t.frame.due}
    </span>
  );
}

/** Says what is wrong in so many words, below the head. */
export function Banner() {
  const kind = useFreshness();
  const until = useProbe((state) => state.link.until);
  const last = useProbe((state) => state.passes.last);
  const now = useNow(1000);
  if (kind !== 'waiting' && kind !== 'stale') return null;
  const age = last === null ? null : formatDuration(Math.max(1, (now - last) / 1000));
  return (
    <section class="banner" data-kind={kind} aria-label={t.frame.trouble}>
      <span>
        {kind === 'stale' ? t.frame.noPass(age ?? '') : t.frame.lost}{' '}
        {age === null ? t.frame.nothingYet : kind === 'stale' ? t.frame.mayBeOld : t.frame.old(age)}
      </span>
      {kind === 'waiting' && (
        <>
          <span>{t.frame.again(formatDuration(Math.max(1, Math.ceil((until - now) / 1000))))}</span>
          <button type="button" class="button" onClick={() => probe.retryNow()}>{t.frame.tryNow}</button>
        </>
      )}
    </section>
  );
}

const themes: Theme[] = ['auto', 'light', 'dark'];

/** That of the link, where it names one, or the user's. */
export function useTheme(linked: string | undefined): void {
  const { theme } = useSettings();
  const shown = themes.find((one) => one === linked) ?? theme;
  useEffect(() => {
    if (shown === 'auto') delete document.documentElement.dataset['theme'];
    else document.documentElement.dataset['theme'] = shown;
  }, [shown]);
}

export function ThemeButton() {
  const { theme } = useSettings();
  const next = themes[(themes.indexOf(theme) + 1) % themes.length] ?? 'auto';
  return (
    <button type="button" class="button bare" onClick={() => settings.set('theme', next)} aria-label={t.frame.changeColours(t.frame.themes[theme], t.frame.themes[next])} title={t.frame.colours(t.frame.themes[theme])}>
      <span aria-hidden="true">{{ auto: '◐', light: '☀', dark: '☾' }[theme]}</span>
    </button>
  );
}

/** Says on every page, and on paper, in which zone its times are; the choices that hold for all pages. */
export function Foot({ isWall }: { isWall: boolean }) {
  const chosen = useSettings();
  const zone = useProbe((state) => state.zone);
  const at = useProbe((state) => Math.floor(probeTime(state, present()) / 3_600_000) * 3_600_000);
  setZone(chosen.zone === 'probe' ? zone : null);
  const whose = chosen.zone === 'probe' && zone ? t.frame.ofProbe : t.frame.ofBrowser;
  return (
    <footer class="foot">
      <span data-zone>{t.frame.times(whose, zoneText(at))}</span>
      {isWall ? (
        <a href="#/overview">{t.frame.leaveWall}</a>
      ) : (
        <div class="controls">
          <Select title={t.frame.zone} value={chosen.zone} options={[{ value: 'probe', title: t.frame.timesOfProbe }, { value: 'browser', title: t.frame.timesOfBrowser }]} onChange={(value) => settings.set('zone', value as ZoneKind)} />
          <Select title={t.frame.speedsIn} value={chosen.rates} options={[{ value: 'bit', title: t.frame.bits }, { value: 'byte', title: t.frame.bytes }]} onChange={(value) => settings.set('rates', value as RateKind)} />
          <a href={formatRoute({ page: 'overview', values: { wall: '20' } })}>{t.frame.wall}</a>
        </div>
      )}
    </footer>
  );
}

interface TokenFormProps {
  /** Whether the token is a centre's. */
  isCentre: boolean;
  /** Logs in: what is wrong, in words; empty when the page may go on. */
  onToken: (token: string) => Promise<string>;
}

export function TokenForm({ isCentre, onToken }: TokenFormProps) {
  const [token, setToken] = useState('');
  const [complaint, setComplaint] = useState('');
  return (
    <main class="ask" id="content" tabIndex={-1}>
      <h1>{isCentre ? t.frame.asksCentreToken : t.frame.asksToken}</h1>
      <p class="note">{isCentre ? t.frame.whereCentreToken : t.frame.whereToken}</p>
      <form
        onSubmit={(event) => {
          event.preventDefault();
          void onToken(token).then(setComplaint);
        }}
      >
        <label class="hidden" for="token">{t.frame.token}</label>
        <input id="token" type="password" autocomplete="current-password" value={token} onInput={(event) => setToken(event.currentTarget.value)} />
        <button type="submit" class="button main">{t.frame.show}</button>
        <p class="note" role="alert">{complaint}</p>
      </form>
    </main>
  );
}
