import { useEffect, useRef, useState } from "preact/hooks";
import { useLive } from "../../api/events";
import { Button, IconButton } from "../../ui/button";
import { useActions } from "../../ui/actions";
import { Empty, Failed } from "../../ui/empty";
import { ArrowLeftIcon, EditIcon, MemoryIcon, PlusIcon, TrashIcon } from "../../ui/icons";
import { Loading } from "../../ui/progress";
import { complain } from "../../ui/toast";
import { formatAgo, formatBytes, formatTime, plural } from "../../util/format";
import { useNow } from "../../util/hooks";
import { goTo, type Place } from "./address";
import { loadMemo, loadMemos, type Memo, type TopicRef } from "./data";
import { removeMemo, removeTopic, type Editing } from "./edit";

const step = 50;

interface CardProps {
  topic: TopicRef;
  memo: Memo;
  now: number;
  chosen: boolean;
  onEdit(editing: Editing): void;
}

function Card({ topic, memo, now, chosen, onEdit }: CardProps) {
  const [whole, setWhole] = useState<{ mark: string; text: string }>();
  const box = useRef<HTMLElement>(null);
  useEffect(() => {
    if (chosen) box.current?.scrollIntoView({ block: "nearest" });
  }, [chosen]);
  const showAll = async () => {
    const full = await loadMemo(topic, memo.n);
    setWhole({ mark: full.mark, text: full.text });
  };
  const edit = async () => {
    const full = await loadMemo(topic, memo.n);
    if (full.cut) throw new Error("This memo is too long to be edited here.");
    onEdit({ memo: full, topic });
  };
  const text = whole?.mark === memo.mark ? whole.text : memo.text;
  return (
    <article ref={box} class={`memo ${chosen ? "chosen" : ""}`} aria-label={`Memo ${memo.n}`}>
      <header>
        <span class="place nums">{memo.n}</span>
        {memo.types.map((type) => (
          <span key={type} class="chip">
            {type}
          </span>
        ))}
        <span class="push faint small nums">
          {memo.written > 0 ? <time title={formatTime(memo.written)}>{formatAgo(memo.written, now)}</time> : "no time"}
        </span>
        <IconButton small icon={EditIcon} label={`Edit memo ${memo.n}`} onClick={() => edit().catch(complain)} />
        <IconButton
          small
          icon={TrashIcon}
          label={`Delete memo ${memo.n}`}
          onClick={() => removeMemo(topic, memo).catch(complain)}
        />
      </header>
      <p class="text">
        {text}
        {memo.cut && text === memo.text && "…"}
      </p>
      {memo.cut && text === memo.text && (
        <Button small onClick={() => showAll().catch(complain)}>
          Show all, {formatBytes(memo.size)}
        </Button>
      )}
    </article>
  );
}

interface TopicPaneProps {
  topic: TopicRef;
  place: Place;
  onEdit(editing: Editing): void;
}

/// The memos of one topic.
export function TopicPane({ topic, place, onEdit }: TopicPaneProps) {
  const now = useNow();
  const n = Number(place.n) || 0;
  const [count, setCount] = useState(Math.max(step, Math.ceil(n / step) * step));
  const [turn, setTurn] = useState(0);
  const [state, setState] = useState<{ total: number; memos: Memo[]; error?: Error }>();
  useEffect(() => {
    if (n > count) setCount(Math.ceil(n / step) * step);
  }, [n]);
  useEffect(() => {
    const abort = new AbortController();
    const load = async () => {
      const memos: Memo[] = [];
      let total = 0;
      do {
        const page = await loadMemos(topic, memos.length, Math.min(1000, count - memos.length), abort.signal);
        memos.push(...page.memos);
        total = page.total;
        if (page.memos.length === 0) break;
      } while (memos.length < Math.min(count, total));
      setState({ total, memos });
    };
    load().catch(
      (error: Error) =>
        abort.signal.aborted ||
        setState((before) => ({ total: before?.total ?? 0, memos: before?.memos ?? [], error })),
    );
    return () => abort.abort();
  }, [count, turn]);
  useLive(["memory"], (event) => {
    if (
      event.kind === "memory" &&
      (event.context !== topic.context || (event.topic !== undefined && event.topic !== topic.topic))
    )
      return;
    setTurn((before) => before + 1);
  });
  const close = () => goTo(place, { at: "", topic: "", topicKey: "", n: "" });
  const add = () => onEdit({ topic });
  useActions([
    { id: "memory.append", title: "Add a memo to this topic", group: "Memory", keys: "a", run: add },
    { id: "memory.close", title: "Close the topic", group: "Memory", keys: "Escape", run: close },
  ]);
  const total = state?.total ?? 0;
  return (
    <div class="stack fill">
      <div class="item-head">
        <IconButton class="back" icon={ArrowLeftIcon} label="Back to the list" onClick={close} />
        <div class="stack grow">
          <h2 class="truncate" title={topic.topic}>
            {topic.topic}
          </h2>
          <p class="faint small truncate">
            {topic.context}
            {state && <>, {plural(total, "memo")}</>}
          </p>
        </div>
        <Button small icon={PlusIcon} onClick={add}>
          Add memo
        </Button>
        {total > 0 && (
          <IconButton
            small
            icon={TrashIcon}
            label="Delete topic"
            onClick={() => removeTopic(topic, total).catch(complain)}
          />
        )}
      </div>
      {!state ? (
        <Loading />
      ) : state.error && state.memos.length === 0 ? (
        <Failed error={state.error}>
          <Button onClick={() => setTurn(turn + 1)}>Try again</Button>
        </Failed>
      ) : total === 0 ? (
        <Empty icon={MemoryIcon} title="No memos in this topic">
          <p>It may have been deleted meanwhile.</p>
        </Empty>
      ) : (
        <div class="memos fill scroll" tabIndex={0} role="region" aria-label={`Memos of ${topic.topic}`}>
          {state.memos.map((memo) => (
            <Card key={memo.n} topic={topic} memo={memo} now={now} chosen={memo.n === n} onEdit={onEdit} />
          ))}
          {total > state.memos.length && (
            <Button onClick={() => setCount(count + step)}>
              Show more, {plural(total - state.memos.length, "memo")} left
            </Button>
          )}
        </div>
      )}
    </div>
  );
}
