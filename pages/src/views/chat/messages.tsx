import { Fragment } from "preact";
import { useLayoutEffect, useRef, useState } from "preact/hooks";
import { Button } from "../../ui/button";
import { Empty } from "../../ui/empty";
import { ChatIcon } from "../../ui/icons";
import { formatAgo, formatDay, formatTime } from "../../util/format";
import { useNow } from "../../util/hooks";
import type { ChatRecord } from "./chat_socket";

/// Colours and cursor movements of a shared terminal; here only its text is shown.
// eslint-disable-next-line no-control-regex -- they are what is looked for
const escapes = /\x1b(?:\[[0-?]*[ -/]*[@-~]|\][^\x07\x1b]*(?:\x07|\x1b\\)|.)|[\x00-\x08\x0b-\x1f]/g;
const together = 5 * 60_000;
/// Fewer than these are all there is.
const fewest = 50;

function Text({ record }: { record: ChatRecord }) {
  const text = record.text ?? "";
  if (!record.terminal) return <p class="said">{text}</p>;
  return <pre class="said from-terminal">{text.replace(escapes, "")}</pre>;
}

function Coming({ record }: { record: ChatRecord }) {
  return (
    <li class="coming">
      {record.from} {record.kind === "join" ? "came" : "left"}
      <time class="nums">{formatTime(record.at / 1000).slice(11, 16)}</time>
    </li>
  );
}

function Message({
  record,
  before,
  me,
  now,
}: {
  record: ChatRecord;
  before: ChatRecord | undefined;
  me: string;
  now: number;
}) {
  const goesOn =
    before && before.from === record.from && before.kind === record.kind && record.at - before.at < together;
  const seconds = record.at / 1000;
  return (
    <li class={`message${goesOn ? " goes-on" : ""}`}>
      {!goesOn && (
        <div class="by">
          <strong class={record.from === me ? "me" : ""}>{record.from}</strong>
          {record.terminal && <span class="chip">{record.terminal}</span>}
          <time class="faint nums" title={formatTime(seconds)} dateTime={new Date(record.at).toISOString()}>
            {formatAgo(seconds, now)}
          </time>
        </div>
      )}
      <Text record={record} />
    </li>
  );
}

interface MessagesProps {
  label: string;
  records: readonly ChatRecord[];
  me: string;
  onOlder(): void;
}

/// What was said, the newest at the bottom and in sight unless somebody scrolled up to read.
export function Messages({ label, records, me, onOlder }: MessagesProps) {
  const box = useRef<HTMLDivElement>(null);
  const atEnd = useRef(true);
  const [behind, setBehind] = useState(false);
  const now = useNow();

  const toEnd = () => {
    box.current!.scrollTop = box.current!.scrollHeight;
    setBehind(false);
  };
  useLayoutEffect(() => {
    if (atEnd.current) toEnd();
    else setBehind(true);
  }, [records.at(-1)]);

  const onScroll = () => {
    const element = box.current!;
    atEnd.current = element.scrollTop + element.clientHeight >= element.scrollHeight - 24;
    if (atEnd.current) setBehind(false);
  };
  let day = "";
  return (
    <div class="messages-box">
      <div ref={box} class="messages" role="log" aria-label={label} tabIndex={0} onScroll={onScroll}>
        {records.length === 0 && (
          <Empty icon={ChatIcon} title="Nothing was said yet">
            <p>Agents and people who join from now on read what is written here.</p>
          </Empty>
        )}
        {records.length >= fewest && (
          <Button small kind="ghost" class="older" onClick={onOlder}>
            Show older ones
          </Button>
        )}
        <ul>
          {records.map((record, index) => {
            const today = formatDay(record.at / 1000);
            const newDay = today !== day;
            day = today;
            const before = records[index - 1];
            return (
              <Fragment key={record.seq ?? `${record.kind} ${record.from} ${record.at}`}>
                {newDay && (
                  <li class="day">
                    <span>{today}</span>
                  </li>
                )}
                {record.kind === "join" || record.kind === "leave" ? (
                  <Coming record={record} />
                ) : (
                  <Message record={record} before={newDay ? undefined : before} me={me} now={now} />
                )}
              </Fragment>
            );
          })}
        </ul>
      </div>
      {behind && (
        <Button small kind="primary" class="to-end" onClick={toEnd}>
          New below
        </Button>
      )}
    </div>
  );
}
