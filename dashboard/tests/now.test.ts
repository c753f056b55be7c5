import { describe, expect, test } from 'vitest';
import { decodeClientsNow, decodeNeighbours, decodeNotifications, decodePorts, decodeRadios, type Notification } from '../src/messages/decode_now';
import { alertsByDevice, inOrder } from '../src/state/notifications';
import { parseRoute } from '../src/state/route';

const notification: Notification = { mac: 'AA', hostname: 'gw', severity: 'alert', text: 'hot', since: 60, until: null };
const client = {
  mac: '02', hostname: 'phone', user: null, device: 'AA', device_name: 'gw', interface: 'wlan0', ssid: 'Office', band: '5GHz', channel: 36, since: 60,
  or_earlier: false, signal: -60, rate: null, received: 2, sent: 1,
};
const port = { interface: 'ge1', name: 'ge1', ssid: null, state: 'up', speed: 1e9, input: 1, output: 2, received: 3, sent: 4 };
const ssid = { interface: 'wlan0', ssid: 'Office', clients: 3 };
const radio = { name: 'radio0', band: '2.4GHz', channel: 6, ssids: [ssid] };
const neighbour = { bssid: '02', ssid: '', band: '5GHz', channel: 36, signal: -60, trusted: false, own_ssid: false };

describe('answers of this moment', () => {
  test('leave out notifications that are none', () => {
    const past = { ...notification, severity: 'info', until: 90 };
    expect(decodeNotifications({ notifications: [notification, past, { ...notification, severity: 'loud' }, { ...notification, text: 5 }, { ...notification, until: 'x' }, null] })).toEqual([notification, past]);
    expect(decodeNotifications({})).toBeNull();
  });

  test('leave out clients of whom too little is told', () => {
    const unknown = { ...client, band: null, channel: null, signal: null };
    expect(decodeClientsNow({ clients: [client, unknown, { ...client, device: 5 }, { ...client, since: null }, { ...client, or_earlier: 1 }, 'x'] })).toEqual([client, unknown]);
    expect(decodeClientsNow([])).toBeNull();
  });

  test('leave out ports in a state that nobody knows', () => {
    const idle = { ...port, speed: null, input: null, output: null, received: null, sent: null, state: 'down' };
    expect(decodePorts({ ports: [port, idle, { ...port, state: 'sideways' }, { ...port, speed: '1' }, null] })).toEqual([port, idle]);
    expect(decodePorts({ ports: 1 })).toBeNull();
  });

  test('leave out radios and networks of which too little is told', () => {
    const bare = { ...radio, band: null, channel: null, ssids: [] };
    expect(decodeRadios({ radios: [{ ...radio, ssids: [ssid, { ...ssid, clients: null }] }, bare, { ...radio, band: 5 }, { ...radio, ssids: 1 }, null] })).toEqual([radio, bare]);
    expect(decodeRadios(null)).toBeNull();
  });

  test('leave out neighbours of which too little is told, and tell none from not known', () => {
    const bare = { ...neighbour, band: null, channel: null, signal: null };
    expect(decodeNeighbours({ neighbours: [neighbour, bare, { ...neighbour, ssid: null }, { ...neighbour, trusted: 1 }, { ...neighbour, signal: 'x' }, null] })).toEqual({ heard: [neighbour, bare] });
    expect(decodeNeighbours({ neighbours: [] })).toEqual({ heard: [] });
    expect(decodeNeighbours({ neighbours: null })).toEqual({ heard: null });
    expect(decodeNeighbours({})).toBeNull();
  });
});

describe('notifications', () => {
  const one = (text: string, more: Partial<Notification>): Notification => ({ ...notification, text, ...more });

  test('come with the most urgent first, then the newest; those that are over at the end', () => {
    const told = [
      one('ended', { until: 100, severity: 'alert' }), one('info', { severity: 'info', since: 99 }), one('old', { since: 10 }), one('new', { since: 20 }),
      one('warning', { severity: 'warning' }), one('ended last', { until: 200, severity: 'info' }),
    ];
    expect(inOrder(told).map(({ text }) => text)).toEqual(['new', 'old', 'warning', 'info', 'ended last', 'ended']);
  });

  test('need a person where they are alerts and open', () => {
    const alerts = alertsByDevice([one('a', {}), one('b', { mac: 'BB', severity: 'warning' }), one('c', { since: 70 }), one('d', { until: 90 })]);
    expect([...alerts].map(([mac, list]) => [mac, ...list.map(({ text }) => text)])).toEqual([['AA', 'c', 'a']]);
  });
});

test('the clients of this moment have a page of their own', () => {
  expect(parseRoute('#/clients-now?search=x')).toEqual({ page: 'clients-now', values: { search: 'x' } });
});
