import { describe, expect, test } from 'vitest';
import {
  decodeDeviceCounts,
  decodeEnvelope,
  decodeHealth,
  decodeRankings,
  decodeSsidCounts,
  decodeTraffic,
  sidsOf,
} from '../src/messages/decode';

const sample = { time: 29920320, input: 10, output: 20 };
const figure = { value: 3, level: 2 };
const healthy = {
  device: 'AA',
  hostname: 'gateway',
  deviceclass: 'Router',
  actual_cpu: { value: 12.5, level: 2 },
  uptime: { value: 900, level: 3 },
  notification: { alert: 0, warning: 1, info: 2 },
};

describe('an envelope', () => {
  test('is a name and a body', () => {
    expect(decodeEnvelope('{"name":"HealthMonitor","data":{"status":[]}}')).toEqual({ name: 'HealthMonitor', data: { status: [] } });
  });

  test.each(['', '{', '[]', 'null', '"x"', '{"name":1,"data":{}}', '{"name":"x"}', '{"name":"x","data":[]}', '{"error":{}}'])(
    'is none of %s',
    (text) => expect(decodeEnvelope(text)).toBeNull(),
  );

  test('tells its subscriptions at the top or below the view, or not at all', () => {
    expect(sidsOf({ sid: ['a', 1, 'b'] })).toEqual(['a', 'b']);
    expect(sidsOf({ '10m': { sid: ['a'], traffic_data: {} } })).toEqual(['a']);
    expect(sidsOf({ status: [], name: 'HealthMonitor' })).toBeNull();
  });
});

describe('traffic', () => {
  test('is told by device and interface, in order', () => {
    const view = decodeTraffic({ '1m': { traffic_data: { AA: { lan2: { ifIndex: 3, traffic: [sample] }, lan1: { ifIndex: 2, traffic: [] } } }, sid: [] } });
    expect([...(view?.get('AA')?.interfaces.keys() ?? [])]).toEqual(['lan2', 'lan1']);
    expect(view?.get('AA')?.interfaces.get('lan2')).toEqual({ ifIndex: 3, traffic: [sample] });
  });

  test('keeps what the probe tells about its access to the device apart', () => {
    const view = decodeTraffic({ '1m': { traffic_data: { AA: { state: 'denied', tries: 3 } } } });
    expect(view?.get('AA')).toEqual({ interfaces: new Map(), credentials: [['state', 'denied'], ['tries', '3']] });
  });

  test('of a view that does not exist is of no device', () => {
    expect(decodeTraffic({ '3h': { sid: ['a'] } })).toEqual(new Map());
    expect(decodeTraffic({})).toBeNull();
  });

  test('leaves out samples that are none', () => {
    const traffic = [sample, null, { time: 1, input: 'x', output: 1 }, { time: 2, input: null, output: 1 }];
    expect(decodeTraffic({ '1m': { traffic_data: { AA: { lan: { ifIndex: 1, traffic } } } } })?.get('AA')?.interfaces.get('lan')?.traffic).toEqual([sample]);
  });

  test('of an interface called __proto__ is that of an interface', () => {
    const data = JSON.parse('{"1m":{"traffic_data":{"AA":{"__proto__":{"ifIndex":1,"traffic":[]}}}}}') as Record<string, unknown>;
    expect([...(decodeTraffic(data)?.get('AA')?.interfaces.keys() ?? [])]).toEqual(['__proto__']);
  });
});

describe('client counts', () => {
  test('by network come as series in the order of time, with their sum apart', () => {
    const counts = decodeSsidCounts({
      '1h': {
        ssids_clients_counts: { Office: { '100': 2, '99': 1, '101': 'x' }, ssid_client_count_all: { '99': 1 } },
        current_ssid_clients_counts: { Office: { count: 4 }, Odd: {} },
        sid: [],
      },
    });
    expect(counts).toEqual({ series: new Map([['Office', [[99, 1], [100, 2]]]]), all: [[99, 1]], current: new Map([['Office', 4]]) });
  });

  test('by device tell the networks of each device now', () => {
    const counts = decodeDeviceCounts({
      '1h': {
        current_devices_counts: { AA: { Office: { ssid: 'Office', count: 3 } } },
        devices_client_counts: { AA: { '7': 3 }, device_client_count_all: { '7': 3 } },
      },
    });
    expect(counts).toEqual({ series: new Map([['AA', [[7, 3]]]]), all: [[7, 3]], current: new Map([['AA', new Map([['Office', 3]])]]) });
  });

  test('without series are none', () => {
    expect(decodeSsidCounts({ '1h': { sid: [] } })).toBeNull();
    expect(decodeDeviceCounts({})).toBeNull();
  });
});

describe('health', () => {
  test('leaves out a device of which too little is told, and keeps the others', () => {
    const wireless = { ...healthy, clients: figure, rogue_aps: figure, level: 4 };
    const odd = [null, {}, { ...healthy, uptime: 3 }, { ...healthy, clients: {} }, { ...healthy, notification: {} }, { ...healthy, level: 'x' }];
    expect(decodeHealth({ status: [healthy, ...odd, wireless], name: 'HealthMonitor' })).toEqual([healthy, wireless]);
  });

  test('without a list is none', () => expect(decodeHealth({ status: {} })).toBeNull());
});

describe('rankings', () => {
  test('name networks by themselves and others by their address', () => {
    const traffic = { in: 1, out: 2, total: 3 };
    expect(
      decodeRankings({
        sid: ['a'],
        access_points: { traffic: [{ id: 'AA', name: 'ap', ...traffic }], client: [{ id: 'AA', name: 'ap', clients: 4 }] },
        wireless_networks: { traffic: [{ name: 'Office', ...traffic }], client: [{ name: 'Office', clients: 4 }, { name: 'x' }] },
        wireless_clients: { traffic: [{ id: 'BB', name: '', ...traffic }, { id: 'CC' }, 7] },
      }),
    ).toEqual({
      accessPoints: { traffic: [{ id: 'AA', name: 'ap', ...traffic }], clients: [{ id: 'AA', name: 'ap', clients: 4 }] },
      networks: { traffic: [{ id: 'Office', name: 'Office', ...traffic }], clients: [{ id: 'Office', name: 'Office', clients: 4 }] },
      clients: { traffic: [{ id: 'BB', name: '', ...traffic }] },
    });
  });

  test('without one of the three parts are none', () => expect(decodeRankings({ access_points: {}, wireless_networks: {} })).toBeNull());
});
