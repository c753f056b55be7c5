// What stands around every page: where one can go, and how fresh what one sees is.

import { useEffect, useRef, useState } from 'preact/hooks';
import { isStale, untilNext } from '../state/passes';
import { isWarming, now as present, probe, probeTime } from '../state/probe';
import { useNow, useProbe, useSettings } from '../state/hooks';
import { settings, type Theme, type ZoneKind } from '../state/settings';
import { formatRoute, type Page, pages } from '../state/route';
import { formatDuration, formatPace, type RateKind } from '../format/format';
import { setZone, zoneText } from '../format/zone';
import { Select, Waiting } from './basics';
import { Mark } from './icons';

export const pageTitles: Record<Page, string> = {
  overview: 'Overview',
  traffic: 'Traffic',
  clients: 'Clients',
  'clients-now': 'Clients now',
  top: 'Top',
  'client-report': 'Client report',
  'guest-report': 'Guest report',
  'network-report': 'Network report',
  device: 'Device',
  'not-found': 'No such page',
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
      <a class="brand" href="#/overview"><Mark />Probe</a>
      {!isWall && (
        <nav class="tabs" aria-label="Pages" ref={tabs}>
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

const freshnessTitles = { connecting: 'Connecting', waiting: 'Connection lost', warming: 'Reading the journal', live: 'Live', stale: 'Stale' };

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
  if (left === null) return <span class="countdown">waiting for the first pass, <Waiting isBare /></span>;
  const isFast = passes.period < 5000;
  return (
    <span class="countdown" title="Time until the next pass">
      <progress max={passes.period} value={passes.period - left} aria-label="Time since the last pass" />
      {isFast ? formatPace(passes.period) : left > 0 ? `next in ${formatDuration(Math.ceil(left / 1000))}` : 'due now'}
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
    <div class="banner" data-kind={kind}>
      <span>
        {kind === 'stale' ? `No pass has come for ${age ?? 'a while'}. ` : 'The probe cannot be reached. '}
        {age === null ? 'There is nothing to show yet.' : kind === 'stale' ? 'What you see may be out of date.' : `What you see is ${age} old.`}
      </span>
      {kind === 'waiting' && (
        <>
          <span>Trying again in {formatDuration(Math.max(1, Math.ceil((until - now) / 1000)))}.</span>
          <button type="button" class="button" onClick={() => probe.retryNow()}>Try now</button>
        </>
      )}
    </div>
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

function ThemeButton() {
  const { theme } = useSettings();
  const next = themes[(themes.indexOf(theme) + 1) % themes.length] ?? 'auto';
  return (
    <button type="button" class="button bare" onClick={() => settings.set('theme', next)} aria-label={`Colours: ${theme}. Change to ${next}`} title={`Colours: ${theme}`}>
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
  const whose = chosen.zone === 'probe' && zone ? 'the probe’s' : 'this browser’s';
  return (
    <footer class="foot">
      <span data-zone>Times are {whose}: {zoneText(at)}.</span>
      {isWall ? (
        <a href="#/overview">Leave the wall mode</a>
      ) : (
        <div class="controls">
          <Select title="Time zone" value={chosen.zone} options={[{ value: 'probe', title: 'Times of the probe' }, { value: 'browser', title: 'Times of this browser' }]} onChange={(value) => settings.set('zone', value as ZoneKind)} />
          <Select title="Speeds in" value={chosen.rates} options={[{ value: 'bit', title: 'Speeds in bits' }, { value: 'byte', title: 'Speeds in bytes' }]} onChange={(value) => settings.set('rates', value as RateKind)} />
          <a href={formatRoute({ page: 'overview', values: { wall: '20' } })}>Wall mode</a>
        </div>
      )}
    </footer>
  );
}

export function TokenForm() {
  const [token, setToken] = useState('');
  const [complaint, setComplaint] = useState('');
  return (
    <main class="ask" id="content" tabIndex={-1}>
      <h1>The probe asks for its token</h1>
      <p class="note">It stands in the probe’s configuration, at server.token, or in the file that server.token_file names. The browser stays logged in until it is closed.</p>
      <form
        onSubmit={(event) => {
          event.preventDefault();
          void probe.useToken(token).then(setComplaint);
        }}
      >
        <label class="hidden" for="token">Token</label>
        <input id="token" type="password" autocomplete="current-password" value={token} onInput={(event) => setToken(event.currentTarget.value)} />
        <button type="submit" class="button main">Show the network</button>
        <p class="note" role="alert">{complaint}</p>
      </form>
    </main>
  );
}
