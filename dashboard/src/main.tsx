import './style/tokens.css';
import './style/page.css';
import { render } from 'preact';
import { useEffect, useRef } from 'preact/hooks';
import { Blank, Loading } from './parts/basics';
import { setRateKind } from './format/format';
import { setZone } from './format/zone';
import { Banner, Foot, Head, pageTitles, TokenForm, useTheme } from './parts/frame';
import { JournalBanner, Warming } from './parts/journal';
import { Clients } from './pages/clients';
import { ClientsNow } from './pages/clients_now';
import { DevicePage } from './pages/device';
import { NetworkReportPage } from './pages/network_report';
import { Overview } from './pages/overview';
import { PeopleReport } from './pages/people_report';
import { Top } from './pages/top';
import { Traffic } from './pages/traffic';
import { type Navigation, useProbe, useRoute, useSettings } from './state/hooks';
import { isWarming, probe } from './state/probe';
import { site } from './state/place';
import { formatRoute, nextOnWall, wallSeconds } from './state/route';
import { texts as t } from './texts';

function PageOf({ navigation }: { navigation: Navigation }) {
  switch (navigation.route.page) {
    case 'traffic':
      return <Traffic {...navigation} />;
    case 'clients':
      return <Clients {...navigation} />;
    case 'clients-now':
      return <ClientsNow {...navigation} />;
    case 'top':
      return <Top {...navigation} />;
    case 'client-report':
      return <PeopleReport {...navigation} kind="clients" key="clients" />;
    case 'guest-report':
      return <PeopleReport {...navigation} kind="guests" key="guests" />;
    case 'network-report':
      return <NetworkReportPage {...navigation} />;
    case 'device':
      return <DevicePage {...navigation} />;
    case 'overview':
      return <Overview {...navigation} />;
    case 'not-found':
      return <NotFound />;
  }
}

function NotFound() {
  return (
    <>
      <div class="title"><h1>{t.main.noPage}</h1></div>
      <section class="card"><Blank title="404">{t.main.noPageWhy} <a href="#/overview">{t.main.toOverview}</a></Blank></section>
    </>
  );
}

/** While the journal is read, a page could show nothing but figures of the past as if they were those of now. */
function Content({ navigation }: { navigation: Navigation }) {
  const isAsked = useProbe((state) => state.history !== undefined);
  const isReading = useProbe((state) => isWarming(state.history));
  const zone = useProbe((state) => state.zone);
  const chosen = useSettings();
  const shown = chosen.zone === 'probe' ? zone : null;
  // Texts and charts are made with these: with others all of them are made anew.
  setZone(shown);
  setRateKind(chosen.rates);
  if (!isAsked) return <Loading />;
  const key = JSON.stringify([shown, chosen.rates]);
  return isReading ? <Warming title={pageTitles[navigation.route.page]} /> : <PageOf key={key} navigation={navigation} />;
}

/** A wall shows one page after the other. */
function useRotation({ route }: Navigation): boolean {
  const seconds = wallSeconds(route);
  useEffect(() => {
    document.documentElement.toggleAttribute('data-wall', seconds !== null);
    if (seconds === null) return undefined;
    const timer = setTimeout(() => location.replace(formatRoute(nextOnWall(route))), seconds * 1000);
    return () => clearTimeout(timer);
  }, [seconds, route]);
  return seconds !== null;
}

function App() {
  const navigation = useRoute();
  const needsToken = useProbe((state) => state.needsToken);
  const { page, values } = navigation.route;
  const isWall = useRotation(navigation);
  useTheme(values['theme']);
  const content = useRef<HTMLElement>(null);
  const isFirst = useRef(true);
  useEffect(() => {
    document.title = t.main.title(pageTitles[page], site ?? t.frame.name);
    if (!isFirst.current) content.current?.focus({ preventScroll: true }); // a reader of the screen hears of the new page
    isFirst.current = false;
    window.scrollTo(0, 0);
  }, [page]);
  if (needsToken) return <TokenForm isCentre={site !== null} onToken={(token) => probe.useToken(token)} />;
  return (
    <>
      <a class="skip" href="#content" onClick={(event) => { event.preventDefault(); content.current?.focus(); }}>{t.main.skip}</a>
      <Head page={page} isWall={isWall} />
      <Banner />
      <JournalBanner />
      <main id="content" tabIndex={-1} ref={content} aria-label={pageTitles[page]}>
        <Content navigation={navigation} />
      </main>
      <Foot isWall={isWall} />
    </>
  );
}

probe.start();
const root = document.getElementById('app');
if (root) render(<App />, root);
