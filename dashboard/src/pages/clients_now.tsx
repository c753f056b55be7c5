// Who is here at this moment, where and since when.

import { formatDuration, formatNumber } from '../format/format';
import { decodeClientsNow } from '../messages/decode_now';
import { Blank, Loaded, SearchBox } from '../parts/basics';
import { clientColumns, ClientTable } from '../parts/now';
import { staleFor } from '../state/health';
import { type Navigation, useAnswer, useDeviceList, usePassTime } from '../state/hooks';
import { formatSorting, parseSorting, search } from '../state/sorting';
import { texts as t } from '../texts';

const everything = {};
const everyMs = 30_000;

/** Devices that answer, but their table of clients no longer: who is listed there may have left. */
function StaleNote() {
  const list = useDeviceList();
  if (list.kind !== 'ready') return null;
  const ages = list.value.polls.filter((poll) => poll.online).map((poll) => staleFor(poll, ['stations', 'ssids'])).filter((age) => age > 0);
  return ages.length > 0 ? <p class="note" data-stale={ages.length}>{t.here.stale(ages.length, formatDuration(Math.max(...ages)))}</p> : null;
}

export function ClientsNow({ route, change }: Navigation) {
  const clients = useAnswer('clients', everything, decodeClientsNow, everyMs, true);
  const now = usePassTime();
  const wanted = route.values['search'] ?? '';
  const sorting = parseSorting(route.values['sort'], clientColumns, { column: 'name', direction: 'ascending' });
  return (
    <>
      <div class="title">
        <h1>{t.here.title}</h1>
        <div class="controls">
          <SearchBox title={t.here.search} value={wanted} onInput={(text) => change({ search: text }, true)} />
        </div>
      </div>
      <StaleNote />
      <section class="card" data-part="clients-now">
        <Loaded load={clients}>
          {(all) => {
            const found = search(all, wanted, (row) => [row.hostname, row.mac, row.user ?? '', row.device_name, row.device, row.ssid, row.band ?? '']);
            if (all.length === 0) return <Blank title={t.here.nobody}>{t.here.nobodyWhy}</Blank>;
            return (
              <>
                <p class="note"><data value={String(found.length)}>{formatNumber(found.length)}</data> {t.here.found(formatNumber(all.length))}</p>
                {found.length === 0
                  ? <Blank title={t.here.noMatch}>{t.here.noMatchWhy}</Blank>
                  : <ClientTable rows={found} now={now} withDevice sorting={sorting} onSort={(sort) => change({ sort: formatSorting(sort) })} />}
              </>
            );
          }}
        </Loaded>
      </section>
    </>
  );
}
