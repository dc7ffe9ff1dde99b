import { useEffect, useRef, useState } from "preact/hooks";
import { useLive } from "../../api/events";
import { Button } from "../../ui/button";
import { askText } from "../../ui/dialog";
import { Empty, Failed } from "../../ui/empty";
import { SearchField } from "../../ui/field";
import { DownloadIcon, HistoryIcon, SearchIcon } from "../../ui/icons";
import { Marked } from "../../ui/marked";
import { Loading, withProgress } from "../../ui/progress";
import { complain, toast } from "../../ui/toast";
import { VirtualList } from "../../ui/virtual_list";
import { formatAgo, formatBytes, formatCount, plural } from "../../util/format";
import { useLoad, useNow } from "../../util/hooks";
import { usePaged } from "../../util/paged";
import { goTo, showing, type Place } from "./address";
import {
  downloadAddress,
  exportContext,
  loadRecent,
  loadTopics,
  orders,
  refOf,
  search,
  type Hit,
  type Recent,
  type Reason,
  type TopicPage,
} from "./data";

const downloadable = 64 * 1024 * 1024;

async function saveAs(context: string): Promise<void> {
  const path = await askText({
    title: `Export ${context}`,
    body: <p>The whole context as one file, on the machine of the resident.</p>,
    action: "Export",
    label: "File or folder",
    hint: "An absolute path",
    check: (value) => (value.trim() ? undefined : "A path is needed"),
  });
  if (path === null) return;
  const done = await withProgress(`Exporting ${context}`, () => exportContext(context, path.trim()));
  toast(`Exported ${formatBytes(done.bytes)} to ${done.path}`, { kind: "good" });
}

/// The topics of a context.
export function TopicList({ place }: { place: Place }) {
  const now = useNow();
  const { context, filter, order } = place;
  const [facts, setFacts] = useState<TopicPage>();
  const topics = usePaged(
    async (offset, limit, signal) => {
      const page = await loadTopics(context, filter, order, offset, limit, signal);
      setFacts(page);
      return page;
    },
    [context, filter, order],
  );
  useLive(["memory"], (event) => {
    if (event.kind !== "memory" || event.context === context) topics.reload();
  });
  let selected = -1;
  if (place.at === context)
    for (let i = 0; i < Math.min(topics.total, 5000) && selected < 0; i += 1)
      if (topics.row(i)?.topic === place.topic) selected = i;
  return (
    <>
      <div class="pane-head">
        <h2 class="truncate">{context}</h2>
        {facts && (
          <span class="faint nums truncate">
            {plural(facts.all, "topic")}, {plural(facts.memos, "memo")}, {plural(facts.keywords, "keyword")}
          </span>
        )}
        <span class="grow" />
        {facts && facts.bytes <= downloadable && (
          <a class="button small" href={downloadAddress(context)} download>
            <DownloadIcon size={14} />
            Export
          </a>
        )}
        {facts && facts.bytes > downloadable && (
          <Button small icon={DownloadIcon} onClick={() => saveAs(context).catch(complain)}>
            Export…
          </Button>
        )}
      </div>
      <div class="filters">
        <SearchField
          label="Filter the topics"
          placeholder="Filter topics"
          value={filter}
          onText={(text) => goTo(place, { filter: text }, { replace: true })}
          class="grow"
        />
        <select
          class="input narrow"
          aria-label="Order"
          value={order}
          onChange={(event) => goTo(place, { order: event.currentTarget.value })}
        >
          {orders.map((one) => (
            <option key={one.id} value={one.id}>
              {one.title}
            </option>
          ))}
        </select>
      </div>
      {topics.error && topics.total < 0 ? (
        <Failed error={topics.error}>
          <Button onClick={topics.reload}>Try again</Button>
        </Failed>
      ) : topics.total < 0 ? (
        <Loading />
      ) : topics.total === 0 ? (
        <Empty icon={SearchIcon} title={filter ? "No topic fits" : "No topics"} />
      ) : (
        <VirtualList
          label={`Topics of ${context}`}
          count={topics.total}
          rowRem={2.3}
          selected={selected}
          onRange={topics.onRange}
          onSelect={(index) => {
            const topic = topics.row(index);
            if (topic) goTo(place, showing(refOf(context, topic)));
          }}
          render={(index) => {
            const topic = topics.row(index);
            if (!topic) return <span class="faint">…</span>;
            return (
              <>
                <span class="truncate grow">{topic.topic}</span>
                {topic.memos > 1 && <span class="chip nums">{formatCount(topic.memos)}</span>}
                <span class="faint small nums">{topic.written > 0 ? formatAgo(topic.written, now) : ""}</span>
              </>
            );
          }}
        />
      )}
    </>
  );
}

const within = (contexts: readonly string[]) =>
  `in ${contexts.length <= 3 ? contexts.join(", ") : plural(contexts.length, "context")}`;

function Unread({ failed = [] }: { failed?: { context: string; error: string }[] | undefined }) {
  return (
    <>
      {failed.map(({ context, error }) => (
        <p key={context} class="notice" role="status">
          {context}: {error}
        </p>
      ))}
    </>
  );
}

const hows: Record<Reason["how"], string> = {
  exact: "word",
  starts: "beginning",
  related: "related",
  theme: "same theme",
};
const lanes: Record<Hit["lanes"][number], string> = { words: "words", meaning: "meaning", date: "date" };

function Why({ hit }: { hit: Hit }) {
  return (
    <span class="why">
      {hit.why.map((reason) => (
        <span key={reason.term} class={`chip ${reason.how}`} title={`${reason.term}: ${hows[reason.how]}`}>
          {reason.word === reason.term ? (
            reason.word
          ) : (
            <>
              {reason.term} → {reason.word}
            </>
          )}
          {reason.how !== "exact" && <span class="how"> {hows[reason.how]}</span>}
        </span>
      ))}
      {hit.lanes
        .filter((lane) => lane !== "words")
        .map((lane) => (
          <span key={lane} class="chip lane">
            by {lanes[lane]}
          </span>
        ))}
    </span>
  );
}

function HitRow({ hit }: { hit: Hit }) {
  return (
    <span class="stack grow hit">
      <span class="row">
        <strong class="truncate">{hit.topic}</strong>
        <span class="faint nums">#{hit.n}</span>
        <span class="faint small push truncate">{hit.context}</span>
      </span>
      <span class="truncate soft small">
        {hit.lead && "…"}
        <Marked text={hit.text.replace(/\s+/g, " ")} words={hit.why.flatMap((reason) => [reason.word, reason.term])} />
      </span>
      <Why hit={hit} />
    </span>
  );
}

/// Memos that fit what is being typed, each with what led to it.
export function Hits({ place, contexts }: { place: Place; contexts: readonly string[] }) {
  const deep = place.deep === "1";
  const found = useLoad((signal) => search(place.q, contexts, deep, signal), [place.q, contexts.join("/"), deep]);
  const hits = found.value?.hits ?? [];
  const selected = hits.findIndex(
    (hit) => hit.context === place.at && hit.topic === place.topic && String(hit.n) === place.n,
  );
  return (
    <>
      <div class="pane-head">
        <h2 role="status">{found.value ? plural(hits.length, "hit") : "Searching…"}</h2>
        <span class="faint truncate">{within(contexts)}</span>
        <span class="grow" />
        {!deep && (
          <Button small onClick={() => goTo(place, { deep: "1" }, { replace: true })}>
            By meaning and date too
          </Button>
        )}
      </div>
      <Unread failed={found.value?.failed} />
      {found.error ? (
        <Failed error={found.error} />
      ) : hits.length > 0 ? (
        <VirtualList
          label="Memos found"
          count={hits.length}
          rowRem={5}
          selected={selected}
          onSelect={(index) => goTo(place, showing(refOf(hits[index]!.context, hits[index]!), hits[index]!.n))}
          render={(index) => <HitRow hit={hits[index]!} />}
        />
      ) : found.value ? (
        <Empty icon={SearchIcon} title="No memo fits">
          <p>Large contexts that are not loaded are searched when they are ticked.</p>
        </Empty>
      ) : (
        <Loading label="Searching" />
      )}
    </>
  );
}

function RecentRow({ memo, now }: { memo: Recent; now: number }) {
  return (
    <span class="stack grow">
      <span class="row">
        <strong class="truncate">{memo.topic}</strong>
        <span class="faint nums">#{memo.n}</span>
        <time class="push faint small">{memo.written > 0 ? formatAgo(memo.written, now) : "no time"}</time>
      </span>
      <span class="row small">
        <span class="truncate soft">{memo.text}</span>
        <span class="chip push">{memo.context}</span>
      </span>
    </span>
  );
}

/// What was written in all contexts, the newest first, as it happens.
export function RecentList({ place, contexts }: { place: Place; contexts: readonly string[] }) {
  const now = useNow();
  const [turn, setTurn] = useState(0);
  const [state, setState] = useState<{
    memos: Recent[];
    more: boolean;
    failed?: { context: string; error: string }[];
    error?: Error;
  }>();
  const wanted = useRef(100);
  const loading = useRef(false);
  useEffect(() => {
    if (contexts.length === 0) {
      setState({ memos: [], more: false });
      return;
    }
    const abort = new AbortController();
    loading.current = true;
    const load = async () => {
      const memos: Recent[] = [];
      let more = true;
      let failed: { context: string; error: string }[] = [];
      while (more && memos.length < wanted.current) {
        const page = await loadRecent(
          contexts,
          memos.length,
          Math.min(1000, wanted.current - memos.length),
          abort.signal,
        );
        memos.push(...page.memos);
        more = page.more && page.memos.length > 0;
        failed = page.failed;
      }
      loading.current = false;
      setState({ memos, more, failed });
    };
    load().catch((error: Error) => {
      if (abort.signal.aborted) return;
      loading.current = false;
      setState((before) => ({ memos: before?.memos ?? [], more: false, error }));
    });
    return () => abort.abort();
  }, [contexts.join("/"), turn]);
  useLive(["memory"], () => setTurn((before) => before + 1));
  const memos = state?.memos ?? [];
  const selected = memos.findIndex(
    (memo) => memo.context === place.at && memo.topic === place.topic && String(memo.n) === place.n,
  );
  return (
    <>
      <div class="pane-head">
        <h2>What was written</h2>
        <span class="faint truncate">{within(contexts)}</span>
      </div>
      <Unread failed={state?.failed} />
      {state?.error && memos.length === 0 ? (
        <Failed error={state.error} />
      ) : !state ? (
        <Loading />
      ) : memos.length === 0 ? (
        <Empty icon={HistoryIcon} title="Nothing was written">
          <p>Memos appear here as they are written.</p>
        </Empty>
      ) : (
        <VirtualList
          label="Memos, the last written first"
          count={memos.length}
          rowRem={3.4}
          selected={selected}
          onNearEnd={() => {
            if (state.more && !loading.current) {
              wanted.current = memos.length + 300;
              setTurn(turn + 1);
            }
          }}
          onSelect={(index) => goTo(place, showing(refOf(memos[index]!.context, memos[index]!), memos[index]!.n))}
          render={(index) => <RecentRow memo={memos[index]!} now={now} />}
        />
      )}
    </>
  );
}
