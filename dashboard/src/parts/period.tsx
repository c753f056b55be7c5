// Which day or week a report is of.

import type { ComponentChildren } from 'preact';
import { formatPeriod } from '../format/format';
import { decodePeriods } from '../messages/decode_http';
import type { Load, Navigation } from '../state/hooks';
import { useAnswer, usePassTime, useProbe } from '../state/hooks';
import { offsetText } from '../format/zone';
import { basisText } from '../state/history';
import { oneOf } from '../state/route';
import { Blank, Choice, Loaded, Select } from './basics';
import { texts as t } from '../texts';

const everything = {};
const types = ['daily', 'weekly'] as const;
const typeTitles = { daily: t.period.daily, weekly: t.period.weekly };
/** A report changes with the passes; a page that asks more often than this gains nothing. */
const leastMs = 2000;

interface Props<Report> {
  title: string;
  /** "clients" or "networks", as the probe's interface has it. */
  report: string;
  decode: (value: unknown) => Report | null;
  navigation: Navigation;
  children: (report: Report, period: string) => ComponentChildren;
}

/** Over how long the means of a report are taken, where that is less than one might think. */
function Basis({ report, period }: { report: string; period: string }) {
  const knownSince = useProbe((state) => state.history?.known_since ?? null);
  const zone = useProbe((state) => state.zone);
  const now = usePassTime();
  const text = basisText(period, knownSince, now, zone);
  const whose = zone ? t.period.zone(zone.name || offsetText(zone.offset)) : '';
  const empty = text && report === 'networks' ? ` ${t.period.meansEmpty}` : '';
  return <p class="note" data-basis>{[whose, text + empty].filter(Boolean).join(' ')}</p>;
}

/** A page with the report of the period that the address bar names, or of the newest. */
export function ReportPage<Report>({ title, report, decode, navigation, children }: Props<Report>) {
  const { route, change } = navigation;
  const type = oneOf(route.values['type'], types);
  const reportEvery = useProbe((state) => Math.max(leastMs, state.passes.period));
  const periods = useAnswer(`reports/${report}/periods`, everything, decodePeriods, reportEvery);
  const known = periods.kind === 'ready' ? periods.value[type] : [];
  const asked = route.values['period'];
  const period = asked || known[0];
  const query = period ? { type, period } : null;
  const load: Load<Report> = useAnswer(`reports/${report}`, query, decode, period === known[0] ? reportEvery : 0);
  const options = known.includes(period ?? '') || !period ? known : [period, ...known];
  return (
    <>
      <div class="title">
        <h1>{title}</h1>
        <div class="controls">
          <Choice title={t.period.reportOf} name="type" values={types} titles={typeTitles} value={type} onChange={(one) => change({ type: one, period: '' })} />
          {period && <Select title={t.period.period} value={period} options={options.map((value) => ({ value, title: formatPeriod(value) }))} onChange={(value) => change({ period: value === known[0] ? '' : value })} />}
        </div>
      </div>
      <Loaded load={periods}>
        {() =>
          period ? (
            <>
              <Basis report={report} period={period} />
              <Loaded load={load}>{(value) => children(value, period)}</Loaded>
            </>
          ) : (
            <section class="card"><Blank title={t.period.none}>{t.period.noneWhy}</Blank></section>
          )
        }
      </Loaded>
    </>
  );
}
