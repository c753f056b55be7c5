// The probe's journal: how far it has been read after a start, and whether this run is written down.

import { journalTexts, knownSinceText, progressOf } from '../state/history';
import { useProbe } from '../state/hooks';
import { texts as t } from '../texts';

/** In the place of a page, as long as the probe reads its journal. The head announces when that begins and ends. */
export function Warming({ title }: { title: string }) {
  const history = useProbe((state) => state.history);
  if (!history) return null;
  const { percent, text } = progressOf(history);
  const knownSince = knownSinceText(history);
  return (
    <>
      <div class="title"><h1>{title}</h1></div>
      <section class="card warming">
        <p><strong>{t.journal.reading(text)}</strong></p>
        <progress key={String(percent === null)} max={100} {...(percent !== null && { value: percent })} aria-label={t.journal.aria} aria-valuetext={text} />
        <p class="note">
          {t.journal.takesUp}
          {knownSince && ` ${knownSince}`}
        </p>
      </section>
    </>
  );
}

export function JournalBanner() {
  const isFailing = useProbe((state) => state.history?.journal === 'failing');
  return isFailing ? <div class="banner" data-kind="journal" role="alert">{journalTexts.failing}</div> : null;
}

/** A failing journal has a banner on every page. */
export function JournalNote() {
  const history = useProbe((state) => state.history);
  if (!history) return null;
  const { journal } = history;
  const text = [journal === 'failing' ? '' : journalTexts[journal], knownSinceText(history)].filter(Boolean).join(' ');
  return text ? <p class="note" data-journal={journal}>{text}</p> : null;
}
