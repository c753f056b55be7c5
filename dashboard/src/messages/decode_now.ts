// Receives and checks what the probe tells of this moment: who is here, ports, radios, neighbours, notifications.

import type { Message as ClientsNow } from './generated/clients_now';
import type { Message as NeighbourList } from './generated/neighbours';
import type { Message as NotificationList } from './generated/notifications';
import type { Message as PortList } from './generated/ports';
import type { Message as RadioList } from './generated/radios';
import { isNumber, isRecord, isText } from './check';

export type Notification = NotificationList['notifications'][number];
export type ClientNow = ClientsNow['clients'][number];
export type Port = PortList['ports'][number];
export type Radio = RadioList['radios'][number];
export type Neighbour = NonNullable<NeighbourList['neighbours']>[number];

const severities = ['alert', 'warning', 'info'] as const;

const states = ['up', 'down', 'testing', 'unknown', 'dormant', 'notPresent', 'lowerLayerDown'] as const;

const isNumberOrNull = (value: unknown): value is number | null => value === null || isNumber(value);

const isTextOrNull = (value: unknown): value is string | null => value === null || isText(value);

function isNotification(one: unknown): one is Notification {
  return (
    isRecord(one) &&
    ['mac', 'hostname', 'text'].every((member) => isText(one[member])) &&
    severities.some((severity) => severity === one['severity']) &&
    isNumber(one['since']) &&
    isNumberOrNull(one['until'])
  );
}

export function decodeNotifications(value: unknown): Notification[] | null {
  return isRecord(value) && Array.isArray(value['notifications']) ? value['notifications'].filter(isNotification) : null;
}

function isClient(one: unknown): one is ClientNow {
  return (
    isRecord(one) &&
    ['mac', 'hostname', 'device', 'device_name', 'interface', 'ssid'].every((member) => isText(one[member])) &&
    ['user', 'band'].every((member) => isTextOrNull(one[member])) &&
    ['channel', 'signal', 'rate'].every((member) => isNumberOrNull(one[member])) &&
    ['since', 'received', 'sent'].every((member) => isNumber(one[member])) &&
    typeof one['or_earlier'] === 'boolean'
  );
}

export function decodeClientsNow(value: unknown): ClientNow[] | null {
  return isRecord(value) && Array.isArray(value['clients']) ? value['clients'].filter(isClient) : null;
}

function isPort(one: unknown): one is Port {
  return (
    isRecord(one) &&
    ['interface', 'name'].every((member) => isText(one[member])) &&
    states.some((state) => state === one['state']) &&
    isTextOrNull(one['ssid']) &&
    ['speed', 'input', 'output', 'received', 'sent'].every((member) => isNumberOrNull(one[member]))
  );
}

export function decodePorts(value: unknown): Port[] | null {
  return isRecord(value) && Array.isArray(value['ports']) ? value['ports'].filter(isPort) : null;
}

const isSsid = (one: unknown): one is Radio['ssids'][number] => isRecord(one) && isText(one['interface']) && isText(one['ssid']) && isNumber(one['clients']);

export function decodeRadios(value: unknown): Radio[] | null {
  if (!isRecord(value) || !Array.isArray(value['radios'])) return null;
  return value['radios'].flatMap((one: unknown) => {
    if (!isRecord(one) || !isText(one['name']) || !isTextOrNull(one['band']) || !isNumberOrNull(one['channel']) || !Array.isArray(one['ssids'])) return [];
    return [{ ...one, ssids: one['ssids'].filter(isSsid) } as unknown as Radio];
  });
}

function isNeighbour(one: unknown): one is Neighbour {
  return (
    isRecord(one) &&
    ['bssid', 'ssid'].every((member) => isText(one[member])) &&
    isTextOrNull(one['band']) &&
    ['channel', 'signal'].every((member) => isNumberOrNull(one[member])) &&
    ['trusted', 'own_ssid'].every((member) => typeof one[member] === 'boolean')
  );
}

/** `heard` is null for a device of which it is not known. */
export function decodeNeighbours(value: unknown): { heard: Neighbour[] | null } | null {
  if (!isRecord(value)) return null;
  const list: unknown = value['neighbours'];
  if (list === null) return { heard: null };
  return Array.isArray(list) ? { heard: list.filter(isNeighbour) } : null;
}
