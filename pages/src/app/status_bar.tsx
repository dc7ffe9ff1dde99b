import { useEffect, useRef, useState } from "preact/hooks";
import { connection } from "../api/events";
import { status, type Status } from "../api/status";
import { activities } from "../ui/progress";
import { formatBytes, formatDuration, plural } from "../util/format";
import { useNow } from "../util/hooks";

const words = {
  connecting: { dot: "warn", text: "Connecting" },
  live: { dot: "good", text: "Live" },
  lost: { dot: "bad", text: "The resident does not answer" },
} as const;

function Activity() {
  const [latest] = activities.value;
  const { dot, text } = words[connection.value];
  if (!latest)
    return (
      <div class="activity" role="status">
        <span class={`dot ${dot}`} />
        {text}
      </div>
    );
  return (
    <div class="activity" role="status">
      <span class="spinner" aria-hidden="true" />
      <span class="truncate">
        {latest.label}
        {activities.value.length > 1 ? ` and ${activities.value.length - 1} more` : ""}
      </span>
      {latest.part !== undefined && <span class="nums">{Math.round(latest.part * 100)} %</span>}
    </div>
  );
}

type Lane = Status["lanes"][number];

function laneState(lane: Lane): string {
  if (!lane.semantic) return "by words";
  const behind = lane.memos - lane.vectors;
  return `by words and ${lane.model}${behind > 0 ? `, ${plural(behind, "memo")} behind` : ""}`;
}

/// What the lanes are doing in a few words, for the bar.
function laneSummary(lanes: Lane[]): string {
  const armed = lanes.filter((lane) => lane.semantic);
  const behind = armed.reduce((sum, lane) => sum + Math.max(0, lane.memos - lane.vectors), 0);
  return `${plural(lanes.length, "context")}${behind > 0 ? `, ${plural(behind, "memo")} behind` : ""}`;
}

function Details({ now }: { now: Status }) {
  const { resident, available, total } = now.memory;
  return (
    <dl class="facts-table">
      <dt>Version</dt>
      <dd class="nums">
        {now.version}, port {now.port}
      </dd>
      <dt>Running for</dt>
      <dd class="nums">{formatDuration(now.uptime)}</dd>
      <dt>Memory</dt>
      <dd class="nums">
        {formatBytes(resident)} held, {formatBytes(available)} of {formatBytes(total)} free
      </dd>
      <dt>You are</dt>
      <dd>{now.author}</dd>
      <dt>Watched</dt>
      <dd>
        {now.roots.length === 0 && <span class="faint">No directory is enrolled</span>}
        {now.roots.map((root) => (
          <div key={root.id} class="row">
            <span class={`dot ${root.watched ? "good" : ""}`} />
            <span class="mono">{root.root}</span>
            {!root.watched && <span class="faint">not watched</span>}
          </div>
        ))}
      </dd>
      <dt>Lanes</dt>
      <dd>
        {now.lanes.length === 0 && <span class="faint">No context is loaded</span>}
        {now.lanes.map((lane) => (
          <div key={lane.context}>
            {lane.context}{" "}
            <span class="faint nums">
              {plural(lane.memos, "memo")}, {laneState(lane)}
            </span>
          </div>
        ))}
      </dd>
    </dl>
  );
}

/// The bar at the bottom: what is going on at the left, the resident's state at the right.
export function StatusBar() {
  const [open, setOpen] = useState(false);
  const box = useRef<HTMLElement>(null);
  useNow(15);
  useEffect(() => {
    if (!open) return;
    const away = (event: Event) => {
      const outside =
        event instanceof KeyboardEvent ? event.key === "Escape" : !box.current?.contains(event.target as Node);
      if (outside) setOpen(false);
    };
    document.addEventListener("pointerdown", away);
    document.addEventListener("keydown", away);
    return () => {
      document.removeEventListener("pointerdown", away);
      document.removeEventListener("keydown", away);
    };
  }, [open]);
  const now = status.value;
  const watched = now?.roots.filter((root) => root.watched).length ?? 0;
  return (
    <footer ref={box} class="status" aria-label="Status">
      <Activity />
      {now && (
        <button
          type="button"
          class="facts nums"
          aria-expanded={open}
          aria-haspopup="dialog"
          onClick={() => setOpen(!open)}
        >
          <span class="sr-only">Details of the resident: </span>
          <span class="wide">{laneSummary(now.lanes)}</span>
          <span class="wide">{watched} watched</span>
          <span>{formatBytes(now.memory.resident)}</span>
          <span class="wide">up {formatDuration(now.uptime)}</span>
          <span>{now.version}</span>
        </button>
      )}
      {open && now && (
        <div class="popover" role="dialog" aria-label="The resident">
          <Details now={now} />
        </div>
      )}
    </footer>
  );
}
