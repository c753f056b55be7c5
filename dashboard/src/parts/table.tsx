// A table whose columns sort it, and whose rows become small cards where there is no room.

import type { ComponentChildren } from 'preact';
import { useState } from 'preact/hooks';
import { distinctKeys, type Sortable, type Sorting, sortRows } from '../state/sorting';
import { SortIcon } from './icons';

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

const rowsAtOnce = 200;

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
  return (
    <div class="scroll" tabIndex={0} role="region" aria-label={caption}>
      <table class="stack">
        <caption class="hidden">{caption}</caption>
        <thead>
          <tr>
            {columns.map((column) => (
              <HeadCell key={column.key} column={column} sorting={sorting} onSort={onSort} />
            ))}
          </tr>
        </thead>
        <tbody>
          {sorted.slice(0, most).map((row, position) => {
            const key = keyOf(row);
            return (
              <tr key={keys[position]} data-key={key} class={key === chosen ? 'chosen' : undefined}>
                {columns.map((column, i) =>
                  i === 0 ? (
                    <th key={column.key} scope="row" data-column={column.key}>
                      {content(column, row)}
                    </th>
                  ) : (
                    <td key={column.key} data-column={column.key} data-title={column.title} class={column.isNumber ? 'number' : undefined}>
                      {content(column, row)}
                    </td>
                  ),
                )}
              </tr>
            );
          })}
        </tbody>
      </table>
      {sorted.length > most && (
        <div class="blank">
          <button type="button" class="button" onClick={() => setMost(most + rowsAtOnce)}>
            Show more of {sorted.length} rows
          </button>
        </div>
      )}
    </div>
  );
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
