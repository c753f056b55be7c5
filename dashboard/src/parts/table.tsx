// A table whose columns sort it, and whose rows become small cards where there is no room.

import type { ComponentChildren } from 'preact';
import { useEffect, useState } from 'preact/hooks';
import { distinctKeys, formatSorting, type Sortable, type Sorting, sortRows } from '../state/sorting';
import { SortIcon } from './icons';
import { texts as t } from '../texts';

export interface Column<Row> {
  key: string;
  title: string;
  /** Numbers stand at the right, and sort the greatest first. */
  isNumber?: boolean;
  value: (row: Row) => Sortable;
  cell?: (row: Row) => ComponentChildren;
}

interface Props<Row> {
  caption: string;
  columns: Column<Row>[];
  rows: Row[];
  keyOf: (row: Row) => string;
  /** Null: in the order of the rows. */
  sorting: Sorting | null;
  onSort: (sorting: Sorting) => void;
  chosen?: string;
}

/** Each row costs every pass something; on paper there are all. */
const rowsAtOnce = 120;

/** A plain number carries its exact value, for scripts. */
function content<Row>(column: Column<Row>, row: Row): ComponentChildren {
  const value = column.value(row);
  if (!column.cell) return value ?? '–';
  const cell = column.cell(row);
  return typeof value === 'number' && typeof cell === 'string' ? <data value={String(value)}>{cell}</data> : cell;
}

export function Table<Row>({ caption, columns, rows, keyOf, sorting, onSort, chosen }: Props<Row>) {
  const [most, setMost] = useState(rowsAtOnce);
  const sortedBy = columns.find((column) => column.key === sorting?.column);
  const sorted = sorting && sortedBy ? sortRows(rows, sortedBy.value, sorting.direction) : rows;
  const keys = distinctKeys(sorted.map(keyOf));
  const room = columns.length <= 5 ? 'slim' : columns.length <= 7 ? 'middle' : 'wide';
  const [isPrinted, setPrinted] = useState(false);
  useEffect(() => {
    const begin = (): void => setPrinted(true);
    const end = (): void => setPrinted(false);
    window.addEventListener('beforeprint', begin);
    window.addEventListener('afterprint', end);
    return () => {
      window.removeEventListener('beforeprint', begin);
      window.removeEventListener('afterprint', end);
    };
  }, []);
  return (
    <>
    <SortBy columns={columns} sorting={sorting} onSort={onSort} caption={caption} room={room} />
    <div class="scroll" tabIndex={0} role="region" aria-label={caption}>
      <table class={`stack ${room}`}>
        <caption class="hidden">{caption}</caption>
        <thead>
          <tr>
            {columns.map((column) => (
              <HeadCell key={column.key} column={column} sorting={sorting} onSort={onSort} />
            ))}
          </tr>
        </thead>
        <tbody>
          {sorted.slice(0, isPrinted ? sorted.length : most).map((row, position) => {
            const key = keyOf(row);
            return (
              <tr key={keys[position]} data-key={key} class={key === chosen ? 'chosen' : undefined}>
                {columns.map((column, i) =>
                  i === 0 ? (
                    <th key={column.key} scope="row" data-column={column.key}>
                      {content(column, row)}
                    </th>
                  ) : (
                    <td key={column.key} data-column={column.key} data-title={column.title} class={column.isNumber ? 'number' : column.value(row) === '' ? 'empty' : undefined}>
                      {content(column, row)}
                    </td>
                  ),
                )}
              </tr>
            );
          })}
        </tbody>
      </table>
      {sorted.length > most && !isPrinted && (
        <div class="blank">
          <button type="button" class="button" onClick={() => setMost(most + rowsAtOnce)}>
            {t.table.more(sorted.length)}
          </button>
        </div>
      )}
    </div>
    </>
  );
}

interface SortProps<Row> extends HeadListProps<Row> {
  caption: string;
  /** How much room its rows need to be lines: the style says from which width on they have it. */
  room: string;
}

/** Where rows are cards there are no heads to press. */
function SortBy<Row>({ columns, sorting, onSort, caption, room }: SortProps<Row>) {
  const value = sorting ? formatSorting(sorting) : '';
  const usual = (column: Column<Row>): Sorting => ({ column: column.key, direction: column.isNumber ? 'descending' : 'ascending' });
  const other = ({ column, direction }: Sorting): Sorting => ({ column, direction: direction === 'ascending' ? 'descending' : 'ascending' });
  const options = columns.flatMap((column) => [usual(column), other(usual(column))].map((one) => ({ sorting: one, title: `${column.title} ${one.direction === 'ascending' ? '↑' : '↓'}` })));
  return (
    <label class={`sort-by ${room}-sort`}>
      <span class="hidden">{t.table.sort(caption)}</span>
      <select
        value={value}
        onChange={(event) => {
          const chosen = options.find((one) => formatSorting(one.sorting) === event.currentTarget.value);
          if (chosen) onSort(chosen.sorting);
        }}
      >
        {!sorting && <option value="">{t.table.sortBy}</option>}
        {options.map((one) => <option key={formatSorting(one.sorting)} value={formatSorting(one.sorting)}>{one.title}</option>)}
      </select>
    </label>
  );
}

interface HeadListProps<Row> {
  columns: Column<Row>[];
  sorting: Sorting | null;
  onSort: (sorting: Sorting) => void;
}

interface HeadProps<Row> {
  column: Column<Row>;
  sorting: Sorting | null;
  onSort: (sorting: Sorting) => void;
}

function HeadCell<Row>({ column, sorting, onSort }: HeadProps<Row>) {
  const direction = sorting?.column === column.key ? sorting.direction : undefined;
  const first = column.isNumber ? 'descending' : 'ascending';
  const other = direction === 'ascending' ? 'descending' : 'ascending';
  return (
    <th scope="col" aria-sort={direction} class={column.isNumber ? 'number' : undefined}>
      <button type="button" class="sort" onClick={() => onSort({ column: column.key, direction: direction ? other : first })}>
        {column.title}
        <SortIcon isUp={(direction ?? first) === 'ascending'} />
      </button>
    </th>
  );
}
