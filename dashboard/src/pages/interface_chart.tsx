// One interface at large: its traffic, its link, and the period before.

import { useMemo } from 'preact/hooks';
import { coarserView, type Source } from '../charts/range';
import { type ChartData, figuresOf, largest, trafficData, type View, views } from '../charts/series';
import { formatDuration, formatRate, inUnit, rateUnit } from '../format/format';
import { decodeTraffic } from '../messages/decode';
import { decodePorts } from '../messages/decode_now';
import { Name } from '../parts/basics';
import { ComparedChart, isCompared } from '../parts/compared_chart';
import type { Line } from '../parts/chart_texts';
import { type Navigation, useAnswer, useLive } from '../state/hooks';
import { linkText, linkTop } from '../state/link';
import { measuredOnly, type Presence } from '../state/presence';
import { texts as t } from '../texts';

export interface Row {
  name: string;
  index: number;
  input: number | null;
  output: number | null;
  peak: number | null;
  /** Without what was told while the device was offline. */
  data: ChartData;
  pass: number | undefined;
}

const lines: Line[] = [
  { name: t.traffic.in, colour: 'input', fill: 'input-fill' },
  { name: t.traffic.out, colour: 'output', fill: 'output-fill', dash: [7, 4] },
];
const everyMs = 30_000;
const bits = 8;

const axis = (values: number[], top: number): string[] => {
  const unit = rateUnit(top);
  return values.map((value) => (value === 0 ? '0' : `${inUnit(value, unit)} ${unit.name}`));
};

/** The speed of an interface's link in bytes a second; null: it is not told. */
function useLink(mac: string, name: string): number | null {
  const query = useMemo(() => ({ mac }), [mac]);
  const ports = useAnswer('ports', query, decodePorts, everyMs, true);
  const port = ports.kind === 'ready' ? ports.value.find((one) => one.interface === name) : undefined;
  return port?.speed ? port.speed / bits : null;
}

/** The same interface in the view that reaches further back; without a view, nothing is asked for. */
function useCoarser(mac: string, name: string, view: View | null, presence: Presence): Source | null {
  const filter = view && { interval: view, mac };
  const traffic = useLive('TrafficMonitor', filter, filter ?? {}, decodeTraffic);
  const one = traffic.kind === 'ready' ? traffic.value.get(mac)?.interfaces.get(name) : undefined;
  return useMemo(() => (one && view ? { data: measuredOnly(trafficData(one, view), presence), view } : null), [one, view, presence]);
}

interface Props {
  mac: string;
  row: Row;
  view: View;
  presence: Presence;
  navigation: Navigation;
}

export function InterfaceChart({ mac, row, view, presence, navigation }: Props) {
  const { name, data } = row;
  const link = useLink(mac, name);
  const further = useCoarser(mac, name, isCompared(navigation.route) ? coarserView(view) : null, presence);
  const figures = data.columns.map(figuresOf);
  const known = (data.columns[0] ?? []).filter((value) => value !== null).length;
  const used = linkText(link, figures.map((one) => one.peak));
  return (
    <section class="card" data-interface={name} data-pass={row.pass}>
      <div class="card-head">
        <h2><Name text={name} /></h2>
        <span class="note">
          {known > 0 && t.traffic.figures(formatRate(figures[0]?.mean), formatRate(figures[1]?.mean), formatDuration(known * views[view] * 60), formatRate(largest(data.columns)))}
          {used && <span class="sub" data-link={link}>{used}</span>}
        </span>
      </div>
      <ComparedChart
        title={t.traffic.of(name)}
        lines={lines}
        data={data}
        view={view}
        axis={axis}
        value={formatRate}
        limit={linkTop(link, largest(data.columns))}
        presence={presence}
        further={further}
        navigation={navigation}
      />
    </section>
  );
}
