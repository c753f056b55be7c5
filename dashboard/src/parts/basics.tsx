// Small things of which pages are made.

import { type ComponentChildren, Fragment } from 'preact';
import { useEffect, useState } from 'preact/hooks';
import { type Level, levelOf, levelTitles } from '../state/health';
import { formatNumber, formatStopwatch, momentParts } from '../format/format';
import { type Load, useNow, useProbe } from '../state/hooks';
import { untilNext } from '../state/passes';
import { search } from '../state/sorting';
import { AlertIcon, InfoIcon, LevelIcon, WarningIcon } from './icons';
import { texts as t } from '../texts';

/** A name from a device or from the air: text, whatever it holds. */
export function Name({ text, isShort = false }: { text: string; isShort?: boolean }) {
  const kind = isShort ? 'name short' : text.length > 60 ? 'name long' : 'name';
  return (
    <bdi class={kind} title={text.length > 24 ? text : undefined}>
      {text || t.part.unnamed}
    </bdi>
  );
}

/** A moment of a report: date and time, one below the other where they don't fit side by side. */
export function Moment({ text }: { text: string }) {
  return <data value={text}>{momentParts(text).map((part) => <Fragment key={part}><span class="together">{part}</span> </Fragment>)}</data>;
}

interface SearchBoxProps {
  title: string;
  /** What stands in it while it is empty. */
  hint?: string;
  value: string;
  onInput: (value: string) => void;
}

/** Looks for a text in what a page shows. */
export function SearchBox({ title, hint = title, value, onInput }: SearchBoxProps) {
  return (
    <label>
      <span class="hidden">{title}</span>
      <input type="search" placeholder={hint} value={value} onInput={(event) => onInput(event.currentTarget.value)} />
    </label>
  );
}

export function LevelBadge({ level, title = levelTitles[level] }: { level: Level; title?: string }) {
  return (
    <span class={`badge ${level}`}>
      <LevelIcon level={level} />
      {title}
    </span>
  );
}

interface FigureProps {
  value: number;
  level: number;
  /** From where on it has this level, and since when. */
  limit?: string;
  children: ComponentChildren;
}

/**
 * A figure with its level: nothing is added to a good one, so that the others stand out. None is red: whether somebody
 * is needed is what the state of the device says.
 */
export function Figure({ value, level, limit = '', children }: FigureProps) {
  const kind = levelOf(level);
  const isMarked = kind === 'bad' && limit !== '';
  return (
    <>
      <span class={`figure ${isMarked ? 'fair' : ''}`} title={limit || undefined}>
        {isMarked && <LevelIcon level="fair" />}
        <data value={String(value)}>{children}</data>
        {kind === 'fair' && limit && <span class="hidden">, {limit}</span>}
      </span>
      {isMarked && <span class="sub limit">{limit}</span>}
    </>
  );
}

/** What was known last of a device that is offline. */
export function Stale({ isStale, children }: { isStale: boolean; children: ComponentChildren }) {
  return isStale ? <span class="stale" title={t.part.stale}>{children}</span> : <>{children}</>;
}

export function Notifications({ alert, warning, info }: { alert: number; warning: number; info: number }) {
  const kinds = [
    { count: alert, title: t.part.alerts, tone: 'bad', icon: <AlertIcon /> },
    { count: warning, title: t.part.warnings, tone: 'fair', icon: <WarningIcon /> },
    { count: info, title: t.part.notices, tone: 'unknown', icon: <InfoIcon /> },
  ];
  return (
    <span class="notes">
      {kinds.map(({ count, title, tone, icon }) => (
        <span key={title} class={count > 0 ? tone : 'none'} title={title}>
          {icon}
          <data value={String(count)}>{formatNumber(count)}</data>
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

/** With so many choices a list is too long to look through: one types what one looks for. */
const mostListed = 40;

/** One of the devices. */
export function DevicePicker({ value, options, onChange }: Omit<SelectProps, 'title'>) {
  const chosen = options.find((one) => one.value === value)?.title ?? value;
  const [text, setText] = useState(chosen);
  useEffect(() => setText(chosen), [chosen]);
  if (options.length <= mostListed) return <Select title={t.part.device} value={value} options={options} onChange={onChange} />;
  const take = (typed: string): void => {
    setText(typed);
    const found = options.find((one) => one.title === typed);
    if (found && found.value !== value) onChange(found.value);
  };
  const near = search(options, text === chosen ? '' : text, (one) => [one.title]).slice(0, mostListed);
  return (
    <label>
      <span class="hidden">{t.part.device}</span>
      <input type="search" class="picker" list="devices" value={text} placeholder={t.part.searchDevices(options.length)} onFocus={(event) => event.currentTarget.select()} onInput={(event) => take(event.currentTarget.value)} />
      <datalist id="devices">{near.map((one) => <option key={one.value} value={one.title} />)}</datalist>
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
  const isLost = useProbe((state) => state.link.kind === 'waiting');
  if (isLost) return <Blank title={t.part.nothingLoaded}>{t.part.nothingLoadedWhy}</Blank>;
  return (
    <div class="blank" role="status">
      <span class="hidden">{t.part.loading}</span>
      <div class="loading" />
      <div class="loading" />
    </div>
  );
}

/** How long until the next pass; before the first, for how long it has been waited for. */
export function Waiting({ isBare = false }: { isBare?: boolean }) {
  const passes = useProbe((state) => state.passes);
  const moment = useNow(500);
  const [begin] = useState(moment);
  const left = untilNext(passes, moment);
  const time = formatStopwatch(left === null ? (moment - begin) / 1000 : Math.ceil(left / 1000));
  return <span class="waiting">{isBare ? time : left === null ? t.part.waiting(time) : t.part.inTime(time)}</span>;
}

/** What is there, or why there is nothing. */
export function Loaded<Value>({ load, children }: { load: Load<Value>; children: (value: Value) => ComponentChildren }) {
  if (load.kind === 'loading') return <Loading />;
  if (load.kind === 'failed') return <Blank title={t.part.cannotShow}>{load.message}</Blank>;
  if (load.kind === 'empty') return <Blank title={t.part.nothingYet}>{t.part.firstFigures} <Waiting /></Blank>;
  return <>{children(load.value)}</>;
}
