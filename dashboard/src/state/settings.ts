// What a user has chosen once for all pages, kept by the browser. A link may say otherwise for as long as it is open.

import type { RateKind } from '../format/format';

export type ZoneKind = 'probe' | 'browser';
export type Theme = 'auto' | 'light' | 'dark';

export interface Settings {
  zone: ZoneKind;
  rates: RateKind;
  theme: Theme;
}

const usual: Settings = { zone: 'probe', rates: 'bit', theme: 'auto' };
const allowed: { [Name in keyof Settings]: readonly Settings[Name][] } = {
  zone: ['probe', 'browser'],
  rates: ['bit', 'byte'],
  theme: ['auto', 'light', 'dark'],
};
const names = Object.keys(usual) as (keyof Settings)[];
const keyOf = (name: string): string => `vexora-${name}`;

/** A choice as it was kept; what is none, or cannot be read, is the usual one. */
export function settingsFrom(read: (key: string) => string | null): Settings {
  const chosen = (name: keyof Settings): string => {
    try {
      const kept = read(keyOf(name));
      return allowed[name].find((one) => one === kept) ?? usual[name];
    } catch {
      return usual[name];
    }
  };
  return Object.fromEntries(names.map((name) => [name, chosen(name)])) as unknown as Settings;
}

export class SettingsStore {
  state: Settings = settingsFrom((key) => (typeof localStorage === 'undefined' ? null : localStorage.getItem(key)));
  private readonly listeners = new Set<() => void>();

  set<Name extends keyof Settings>(name: Name, value: Settings[Name]): void {
    this.state = { ...this.state, [name]: value };
    try {
      localStorage.setItem(keyOf(name), value);
    } catch {
      // then it lasts as long as the page
    }
    for (const listener of [...this.listeners]) listener();
  }

  onChange(listener: () => void): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }
}

export const settings = new SettingsStore();
