// Traffic of one device: all its interfaces side by side, and one of them at large.

import { useMemo } from 'preact/hooks';
import { bands, outagesIn, sparkline } from '../charts/outages';
import { figuresOf, largest, trafficData, type View, viewNames, viewTitles } from '../charts/series';
import { formatRate, inUnit, rateUnit, withoutDirection } from '../format/format';
import { decodeTraffic, type Device, type DeviceTraffic, type Interface } from '../messages/decode';
import { Blank, Choice, Loaded, Name, Select } from '../parts/basics';
import { Chart, type Line } from '../parts/chart';
import { type Column, Table } from '../parts/table';
import { outageText } from '../state/history';
import { type Navigation, useDevices, useLive, useOutages } from '../state/hooks';
import { oneOf } from '../state/route';
import { formatSorting, parseSorting } from '../state/sorting';
import { zoomOf, zoomText } from '../state/zoom';

const lines: Line[] = [
  { name: 'In', colour: 'input', fill: 'input-fill' },
  { name: 'Out', colour: 'output', fill: 'output-fill', dash: [7, 4] },
];

interface Row {
  name: string;
  index: number;
  input: number | null;
  output: number | null;
  peak: number | null;
  one: Interface;
}

function rowsOf(device: DeviceTraffic): Row[] {
  return [...device.interfaces].map(([name, one]) => {
    const inputs = figuresOf(one.traffic.map((sample) => sample.input));
    const outputs = figuresOf(one.traffic.map((sample) => sample.output));
    const peak = inputs.peak === null ? null : Math.max(inputs.peak, outputs.peak ?? 0);
    return { name, index: one.ifIndex, input: inputs.latest, output: outputs.latest, peak, one };
  });
}

const sparkBox = { width: 100, height: 24 };

function Spark({ one, top, view }: { one: Interface; top: number; view: View }) {
  const told = useOutages();
  const data = useMemo(() => trafficData(one, view), [one, view]);
  const outages = outagesIn(told, data);
  return (
    <svg class="spark" viewBox={`0 0 ${sparkBox.width} ${sparkBox.height}`} preserveAspectRatio="none" aria-hidden="true">
      {bands(outages, data, sparkBox.width).map(({ x, width }, i) => (
        <rect key={x} class="off" x={x} width={width} height={sparkBox.height}><title>{outageText(outages[i] ?? [0, 0], data)}</title></rect>
      ))}
      {(['in', 'out'] as const).map((way, i) => <path key={way} class={way} d={sparkline(data, data.columns[i] ?? [], top, sparkBox, outages)} />)}
    </svg>
  );
}

function columnsFor(view: View, select: (name: string) => void): Column<Row>[] {
  return [
    {
      key: 'interface',
      title: 'Interface',
      value: (row) => row.name,
      cell: (row) => <button type="button" class="sort" onClick={() => select(row.name)}><Name text={row.name} isShort /></button>,
    },
    { key: 'in', title: 'In', isNumber: true, value: (row) => row.input, cell: (row) => formatRate(row.input) },
    { key: 'out', title: 'Out', isNumber: true, value: (row) => row.output, cell: (row) => formatRate(row.output) },
    { key: 'peak', title: 'Peak', isNumber: true, value: (row) => row.peak, cell: (row) => formatRate(row.peak) },
    { key: 'course', title: 'Course', isNumber: true, value: (row) => row.peak, cell: (row) => <Spark one={row.one} top={row.peak ?? 0} view={view} /> },
  ];
}

const axis = (values: number[], top: number): string[] => {
  const unit = rateUnit(top);
  return values.map((value) => (value === 0 ? '0' : `${inUnit(value, unit)} ${unit.name}`));
};

function InterfaceChart({ name, one, view, navigation }: { name: string; one: Interface; view: View; navigation: Navigation }) {
  const data = useMemo(() => trafficData(one, view), [one, view]);
  const figures = data.columns.map(figuresOf);
  return (
    <section class="card" data-interface={name} data-pass={one.traffic.at(-1)?.time}>
      <div class="card-head">
        <h2><Name text={name} /></h2>
        <span class="note">
          Mean in {formatRate(figures[0]?.mean)}, out {formatRate(figures[1]?.mean)} · Peak {formatRate(largest(data.columns))}
        </span>
      </div>
      <Chart
        title={`Traffic of ${name}`}
        lines={lines}
        data={data}
        view={view}
        axis={axis}
        value={formatRate}
        zoom={zoomOf(navigation.route)}
        onZoom={(range) => navigation.change(zoomText(range), true)}
      />
    </section>
  );
}

interface DeviceProps {
  device: DeviceTraffic;
  view: View;
  navigation: Navigation;
}

function DeviceView({ device, view, navigation }: DeviceProps) {
  const { route, change } = navigation;
  const rows = useMemo(() => rowsOf(device), [device]);
  const busiest = useMemo(() => [...rows].sort((a, b) => (b.peak ?? 0) - (a.peak ?? 0))[0], [rows]);
  const chosen = rows.find((row) => row.name === route.values['interface']) ?? busiest;
  const columns = columnsFor(view, (name) => change({ interface: name }));
  const sorting = parseSorting(route.values['sort'], columns.map((column) => column.key), { column: 'peak', direction: 'descending' });
  if (!chosen) {
    const first = view === '1m' ? 'Speeds come with a device’s second pass.' : 'The first figures of this view come when its first interval is over.';
    return <section class="card"><Blank title="No traffic">No interface of this device has moved anything in this view. {first}</Blank></section>;
  }
  return (
    <div class="side">
      <section class="card">
        <h2>Interfaces</h2>
        <Table caption="Interfaces" columns={columns} rows={rows} keyOf={(row) => row.name} sorting={sorting} onSort={(sort) => change({ sort: formatSorting(sort) })} chosen={chosen.name} />
        {device.credentials.length > 0 && (
          <dl class="note">{device.credentials.map(([key, value]) => <div key={key}>{key}: {value}</div>)}</dl>
        )}
      </section>
      <InterfaceChart name={chosen.name} one={chosen.one} view={view} navigation={navigation} />
    </div>
  );
}

function TrafficOf({ mac, view, navigation }: { mac: string; view: View; navigation: Navigation }) {
  const traffic = useLive('TrafficMonitor', { interval: view, mac }, { interval: view }, decodeTraffic);
  return (
    <Loaded load={traffic}>
      {(all) => <DeviceView device={all.get(mac) ?? { interfaces: new Map(), credentials: [] }} view={view} navigation={navigation} />}
    </Loaded>
  );
}

/** Names may be the same; addresses are not. */
function optionsOf(devices: Device[]): { value: string; title: string }[] {
  return devices.map(({ mac, hostname }) => ({ value: mac, title: hostname ? `${withoutDirection(hostname).slice(0, 60)} (${mac})` : mac }));
}

export function Traffic(navigation: Navigation) {
  const { route, change } = navigation;
  const devices = useDevices();
  const view = oneOf<View>(route.values['view'], viewNames);
  return (
    <Loaded load={devices}>
      {(all) => {
        const device = all.find((one) => one.mac === route.values['device']) ?? all[0];
        if (!device) return <Blank title="No devices">The probe knows of no device.</Blank>;
        return (
          <>
            <div class="title">
              <h1>Traffic of <Name text={device.hostname || device.mac} /></h1>
              <div class="controls">
                <Select title="Device" value={device.mac} options={optionsOf(all)} onChange={(mac) => change({ device: mac, interface: '', ...zoomText(null) })} />
                <Choice title="View" name="view" values={viewNames} titles={viewTitles} value={view} onChange={(one) => change({ view: one, ...zoomText(null) })} />
              </div>
            </div>
            <TrafficOf mac={device.mac} view={view} navigation={navigation} />
          </>
        );
      }}
    </Loaded>
  );
}
