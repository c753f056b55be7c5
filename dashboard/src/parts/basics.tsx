// Small things of which pages are made.

import type { ComponentChildren } from 'preact';
import { type Level, levelOf, levelTitles } from '../state/health';
import type { Load } from '../state/hooks';
import { AlertIcon, InfoIcon, LevelIcon, WarningIcon } from './icons';

/** A name from a device or from the air: text, whatever it holds. */
export function Name({ text, isShort = false }: { text: string; isShort?: boolean }) {
  const kind = isShort ? 'name short' : text.length > 60 ? 'name long' : 'name';
  return (
    <bdi class={kind} title={text.length > 24 ? text : undefined}>
      {text || 'unnamed'}
    </bdi>
  );
}

/** A date and a time, one below the other where they don't fit side by side. */
export function Moment({ text }: { text: string }) {
  const [date, ...time] = text.split(' ');
  return (
    <span>
      <span class="together">{date}</span> <span class="together">{time.join(' ')}</span>
    </span>
  );
}

export function LevelBadge({ level }: { level: Level }) {
  return (
    <span class={`badge ${level}`}>
      <LevelIcon level={level} />
      {levelTitles[level]}
    </span>
  );
}

/** A figure with its level: nothing is added to a good one, so that the others stand out. */
export function Figure({ value, level, children }: { value: number; level: number; children: ComponentChildren }) {
  const kind = levelOf(level);
  return (
    <span class={`figure ${kind === 'good' ? '' : kind}`}>
      {kind !== 'good' && <LevelIcon level={kind} />}
      <data value={String(value)}>{children}</data>
      {(kind === 'bad' || kind === 'fair') && <span class="hidden">, {levelTitles[kind].toLowerCase()}</span>}
    </span>
  );
}

export function Notifications({ alert, warning, info }: { alert: number; warning: number; info: number }) {
  const kinds = [
    { count: alert, title: 'alerts', tone: 'bad', icon: <AlertIcon /> },
    { count: warning, title: 'warnings', tone: 'fair', icon: <WarningIcon /> },
    { count: info, title: 'notices', tone: 'unknown', icon: <InfoIcon /> },
  ];
  return (
    <span class="notes">
      {kinds.map(({ count, title, tone, icon }) => (
        <span key={title} class={count > 0 ? tone : 'none'} title={title}>
          {icon}
          <data value={String(count)}>{count}</data>
          <span class="hidden"> {title}</span>
        </span>
      ))}
    </span>
  );
}

interface ChoiceProps<Value extends string> {
  title: string;
  name: string;
  values: readonly Value[];
  titles?: Partial<Record<Value, string>>;
  value: Value;
  onChange: (value: Value) => void;
}

/** One of a few, all in sight. */
export function Choice<Value extends string>({ title, name, values, titles, value, onChange }: ChoiceProps<Value>) {
  return (
    <fieldset class="choice">
      <legend class="hidden">{title}</legend>
      <div>
        {values.map((one) => (
          <label key={one}>
            <input type="radio" name={name} value={one} checked={one === value} onChange={() => onChange(one)} />
            <span>{titles?.[one] ?? one}</span>
          </label>
        ))}
      </div>
    </fieldset>
  );
}

interface SelectProps {
  title: string;
  value: string;
  options: { value: string; title: string }[];
  onChange: (value: string) => void;
}

export function Select({ title, value, options, onChange }: SelectProps) {
  return (
    <label>
      <span class="hidden">{title}</span>
      <select value={value} onChange={(event) => onChange(event.currentTarget.value)}>
        {options.map((option) => (
          <option key={option.value} value={option.value}>
            {option.title}
          </option>
        ))}
      </select>
    </label>
  );
}

export function Blank({ title, children }: { title: string; children?: ComponentChildren }) {
  return (
    <div class="blank" role="status">
      <strong>{title}</strong>
      {children && <p>{children}</p>}
    </div>
  );
}

export function Loading() {
  return (
    <div class="blank" role="status">
      <span class="hidden">Loading</span>
      <div class="loading" />
      <div class="loading" />
    </div>
  );
}

/** What is there, or why there is nothing. */
export function Loaded<Value>({ load, children }: { load: Load<Value>; children: (value: Value) => ComponentChildren }) {
  if (load.kind === 'loading') return <Loading />;
  if (load.kind === 'failed') return <Blank title="This cannot be shown">{load.message}</Blank>;
  if (load.kind === 'empty') return <Blank title="Nothing yet">The first figures come with the next pass.</Blank>;
  return <>{children(load.value)}</>;
}
