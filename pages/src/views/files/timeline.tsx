import { useEffect, useRef, useState } from "preact/hooks";
import { useLive } from "../../api/events";
import { Button } from "../../ui/button";
import { Empty, Failed } from "../../ui/empty";
import { HistoryIcon } from "../../ui/icons";
import { Loading } from "../../ui/progress";
import { VirtualList } from "../../ui/virtual_list";
import { formatAgo } from "../../util/format";
import { useLatest, useNow } from "../../util/hooks";
import { goTo, showing, type Place } from "./address";
import { changeOf, folderOf, loadTimeline, nameOf, refOf, secondsOf, type Change, type Store } from "./data";

const kinds: Record<string, { title: string; class: string }> = {
  create: { title: "new", class: "good" },
  modify: { title: "saved", class: "" },
  delete: { title: "deleted", class: "bad" },
  restore: { title: "restored", class: "good" },
  move: { title: "moved here", class: "warn" },
};

function ChangeRow({ change, now, root }: { change: Change; now: number; root: string }) {
  const kind = kinds[change.kind] ?? { title: change.kind, class: "warn" };
  const folder = folderOf(change.path);
  return (
    <>
      <span class={`dot ${kind.class || "plain"}`} title={kind.title} />
      <span class="stack grow">
        <span class="row">
          <span class="truncate">
            <strong>{nameOf(change.path)}</strong>
            {folder && <span class="faint"> {folder}</span>}
          </span>
          <span class="version nums push">v{change.version}</span>
        </span>
        <span class="row small faint">
          <span class="truncate">
            {kind.title} by <span class="soft">{change.author || "unknown"}</span>
            {root && <> in {root}</>}
          </span>
          <time class="push" title={change.stamp}>
            {formatAgo(secondsOf(change.stamp), now)}
          </time>
        </span>
      </span>
    </>
  );
}

interface State {
  changes: Change[];
  before: string;
  more: boolean;
  error?: Error;
  loaded: boolean;
}
const nothing: State = { changes: [], before: "", more: false, loaded: false };

function useTimeline(place: Place) {
  const { store, author, since } = place;
  const [state, setState] = useState<State>(nothing);
  const [authors, setAuthors] = useState<string[]>([]);
  const loading = useRef(false);
  const load = (from: State, signal?: AbortSignal) => {
    loading.current = true;
    loadTimeline({ store, author, since }, from.before, signal).then(
      (answer) => {
        if (signal?.aborted) return;
        loading.current = false;
        if (answer.authors) setAuthors(answer.authors);
        setState({
          changes: [...from.changes, ...answer.changes],
          before: answer.before,
          more: answer.more,
          loaded: true,
        });
      },
      (error: Error) => {
        if (signal?.aborted) return;
        loading.current = false;
        setState((before) => ({ ...before, error, loaded: true }));
      },
    );
  };
  const [turn, setTurn] = useState(0);
  useEffect(() => {
    const abort = new AbortController();
    load(nothing, abort.signal);
    return () => abort.abort();
  }, [store, author, since, turn]);
  const filter = useLatest({ store, author });
  useLive(["file"], (event) => {
    const change = changeOf(event);
    if (event.kind !== "file") setTurn((before) => before + 1);
    if (!change) return;
    const { store: wanted, author: by } = filter.current;
    if ((wanted && change.store !== wanted) || (by && change.author !== by)) return;
    setState((before) => ({ ...before, changes: [change, ...before.changes] }));
  });
  return {
    state,
    authors,
    more: () => {
      if (!loading.current && state.more) load(state);
    },
    reload: () => setTurn(turn + 1),
  };
}

/// Who saved what, the newest first, as it happens.
export function TimelineList({ place, stores }: { place: Place; stores: readonly Store[] }) {
  const now = useNow();
  const { state, authors, more, reload } = useTimeline(place);
  const listed = stores.filter((store) => store.category !== "configuration");
  const rootOf = (id: string) => (listed.length > 1 ? nameOf(stores.find((store) => store.id === id)?.root ?? "") : "");
  const chosen = state.changes.findIndex(
    (change) =>
      change.store === place.file && change.path === place.path && (!place.b || String(change.version) === place.b),
  );
  return (
    <>
      <div class="filters">
        {listed.length > 1 && (
          <select
            class="input"
            aria-label="Store"
            value={place.store}
            onChange={(event) => goTo(place, { store: event.currentTarget.value })}
          >
            <option value="">All stores</option>
            {listed.map((store) => (
              <option key={store.id} value={store.id}>
                {store.root}
              </option>
            ))}
          </select>
        )}
        <select
          class="input"
          aria-label="Author"
          value={place.author}
          onChange={(event) => goTo(place, { author: event.currentTarget.value })}
        >
          <option value="">Anybody</option>
          {[...new Set([...authors, ...(place.author ? [place.author] : [])])].map((author) => (
            <option key={author} value={author}>
              {author || "unknown"}
            </option>
          ))}
        </select>
        <input
          class="input"
          type="date"
          aria-label="Since"
          value={place.since}
          onChange={(event) => goTo(place, { since: event.currentTarget.value })}
        />
      </div>
      {state.error && state.changes.length === 0 ? (
        <Failed error={state.error}>
          <Button onClick={reload}>Try again</Button>
        </Failed>
      ) : !state.loaded ? (
        <Loading />
      ) : state.changes.length === 0 ? (
        <Empty icon={HistoryIcon} title="No saves here">
          <p>
            {place.author || place.since || place.store ? (
              "Nothing fits what was chosen above."
            ) : (
              <>
                Put a directory under version control, and every save of it appears here:{" "}
                <code>mb enroll &lt;directory&gt;</code>
              </>
            )}
          </p>
        </Empty>
      ) : (
        <VirtualList
          label="Saves, the newest first"
          count={state.changes.length}
          rowRem={3.4}
          selected={chosen}
          onNearEnd={more}
          onSelect={(index) => {
            const change = state.changes[index]!;
            goTo(place, showing(refOf(change.store, change), String(change.version)));
          }}
          render={(index) => (
            <ChangeRow change={state.changes[index]!} now={now} root={rootOf(state.changes[index]!.store)} />
          )}
        />
      )}
      {state.error && state.changes.length > 0 && (
        <p class="notice bad" role="alert">
          {state.error.message}{" "}
          <Button
            small
            onClick={() => {
              reload();
            }}
          >
            Try again
          </Button>
        </p>
      )}
    </>
  );
}
