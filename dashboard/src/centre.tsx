import './style/tokens.css';
import './style/page.css';
import { render } from 'preact';
import { useEffect, useState } from 'preact/hooks';
import { ThemeButton, TokenForm, useTheme } from './parts/frame';
import { Mark } from './parts/icons';
import { Sites } from './pages/sites';
import { centre } from './state/centre';
import { texts as t } from './texts';

function App() {
  const [state, setState] = useState(centre.state);
  useEffect(() => centre.onChange(() => setState(centre.state)), []);
  useTheme(undefined);
  if (state.needsToken) return <TokenForm isCentre onToken={(token) => centre.useToken(token)} />;
  return (
    <>
      <header class="head">
        <a class="brand" href="/"><Mark />{t.sites.title}</a>
        <div class="state"><ThemeButton /></div>
      </header>
      <main id="content" tabIndex={-1} aria-label={t.sites.title}>
        <Sites state={state} />
      </main>
    </>
  );
}

centre.start();
document.title = t.sites.title;
const root = document.getElementById('app');
if (root) render(<App />, root);
