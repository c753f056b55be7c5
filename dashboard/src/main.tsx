import './style/tokens.css';
import './style/page.css';
import { render } from 'preact';
import { useEffect, useRef } from 'preact/hooks';
import { Loading } from './parts/basics';
import { Banner, Head, pageTitles, TokenForm } from './parts/frame';
import { JournalBanner, Warming } from './parts/journal';
import { Clients } from './pages/clients';
import { NetworkReportPage } from './pages/network_report';
import { Overview } from './pages/overview';
import { PeopleReport } from './pages/people_report';
import { Top } from './pages/top';
import { Traffic } from './pages/traffic';
import { type Navigation, useProbe, useRoute } from './state/hooks';
import { isWarming, probe } from './state/probe';

function PageOf({ navigation }: { navigation: Navigation }) {
  switch (navigation.route.page) {
    case 'traffic':
      return <Traffic {...navigation} />;
    case 'clients':
      return <Clients {...navigation} />;
    case 'top':
      return <Top {...navigation} />;
    case 'client-report':
      return <PeopleReport {...navigation} kind="clients" key="clients" />;
    case 'guest-report':
      return <PeopleReport {...navigation} kind="guests" key="guests" />;
    case 'network-report':
      return <NetworkReportPage {...navigation} />;
    case 'overview':
      return <Overview {...navigation} />;
  }
}

/** While the journal is read, a page could show nothing but figures of the past as if they were those of now. */
function Content({ navigation }: { navigation: Navigation }) {
  const isAsked = useProbe((state) => state.history !== undefined);
  const isReading = useProbe((state) => isWarming(state.history));
  if (!isAsked) return <Loading />;
  return isReading ? <Warming title={pageTitles[navigation.route.page]} /> : <PageOf navigation={navigation} />;
}

function App() {
  const navigation = useRoute();
  const needsToken = useProbe((state) => state.needsToken);
  const { page } = navigation.route;
  const content = useRef<HTMLElement>(null);
  const isFirst = useRef(true);
  useEffect(() => {
    document.title = `${pageTitles[page]} – Probe`;
    if (!isFirst.current) content.current?.focus({ preventScroll: true }); // a reader of the screen hears of the new page
    isFirst.current = false;
    window.scrollTo(0, 0);
  }, [page]);
  if (needsToken) return <TokenForm />;
  return (
    <>
      <a class="skip" href="#content" onClick={(event) => { event.preventDefault(); content.current?.focus(); }}>Skip to the content</a>
      <Head page={page} />
      <Banner />
      <JournalBanner />
      <main id="content" tabIndex={-1} ref={content} aria-label={pageTitles[page]}>
        <Content navigation={navigation} />
      </main>
    </>
  );
}

probe.start();
const root = document.getElementById('app');
if (root) render(<App />, root);
