// A chart of which any range may be typed in, with the period before in pale lines.

import { useMemo } from 'preact/hooks';
import { comparedLength, periodBefore, type Source, viewReaching } from '../charts/range';
import { type ChartData, inSight, type Range } from '../charts/series';
import { formatDuration } from '../format/format';
import type { Navigation } from '../state/hooks';
import type { Route } from '../state/route';
import { zoomOf, zoomText } from '../state/zoom';
import { Chart } from './chart';
import type { ChartProps, Line } from './chart_texts';
import { texts as t } from '../texts';

interface Props extends Omit<ChartProps, 'zoom' | 'onZoom' | 'onRange'> {
  /** The same lines in the view that reaches further back; null: it is not known. */
  further: Source | null;
  /** So many of the lines are compared, the first ones; without it, all. */
  compared?: number;
  navigation: Navigation;
}

export const isCompared = (route: Route): boolean => route.values['compare'] === 'before';

const before = ({ name, colour, dash }: Line): Line => ({ name: t.chart.before(name), colour: `${colour}-pale`, dash });

export function ComparedChart({ further, compared, navigation, ...props }: Props) {
  const { lines, data, view } = props;
  const { route, change } = navigation;
  const isOn = isCompared(route);
  const zoom = zoomOf(route);
  const whole: Range = [data.times[0] ?? 0, data.times.at(-1) ?? 0];
  const length = comparedLength(inSight(zoom, whole), view);
  const columns = useMemo(() => {
    if (!isOn) return [];
    const sources = [{ data, view }, ...(further ? [further] : [])];
    return periodBefore({ times: data.times, columns: data.columns.slice(0, compared) }, length, sources);
  }, [isOn, data, further, compared, length, view]);
  const shown: ChartData = useMemo(() => ({ times: data.times, columns: [...data.columns, ...columns] }), [data, columns]);
  const isKnown = columns.flat().some((value) => value !== null);
  const note = props.isCount ? t.chart.comparedCounts : t.chart.compared;
  return (
    <>
      <Chart
        {...props}
        lines={isOn ? [...lines, ...lines.slice(0, compared).map(before)] : lines}
        data={shown}
        zoom={zoom}
        onZoom={(range) => change(zoomText(range), true)}
        onRange={(range) => change({ ...zoomText(range), view: viewReaching(range[0], whole[1], view) })}
      />
      <label class="compare">
        <input type="checkbox" checked={isOn} onChange={(event) => change({ compare: event.currentTarget.checked ? 'before' : '' })} /> {t.chart.compare}
      </label>
      {isOn && <p class="note" data-compared={isKnown}>{isKnown ? note(formatDuration(length)) : t.chart.notCompared}</p>}
    </>
  );
}
