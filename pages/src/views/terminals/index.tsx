import { useRef, useState } from "preact/hooks";
import { go, hashOf } from "../../app/router";
import type { ViewProps } from "../../app/views";
import { numberOf, titleOf, type Session } from "../../terminal/sessions";
import { useActions } from "../../ui/actions";
import { Button } from "../../ui/button";
import { Empty, Failed } from "../../ui/empty";
import { PlusIcon, TerminalIcon } from "../../ui/icons";
import { Keys } from "../../ui/palette";
import { Loading } from "../../ui/progress";
import { ViewFrame } from "../../ui/view";
import { useMedia } from "../../util/hooks";
import { useSessions } from "./live_sessions";
import { OpenDialog } from "./open_dialog";
import { Pane } from "./pane";
import "./terminals.css";

const group = "Terminals";
/// More than these side by side can not be read.
const most = 6;
const usually = 4;

interface StripProps {
  sessions: Session[];
  shown: readonly string[];
  onChoose(id: string): void;
}

/// All sessions; the ones that are shown are pressed.
function Strip({ sessions, shown, onChoose }: StripProps) {
  return (
    <div class="strip" role="group" aria-label="Sessions">
      {sessions.map((session) => (
        <button
          key={session.id}
          type="button"
          class="strip-item"
          aria-pressed={shown.includes(session.id)}
          title={session.cmd}
          onClick={() => onChoose(session.id)}
        >
          <span class={`dot ${session.alive ? "good" : ""}`} />
          <span class="faint nums">{numberOf(session)}</span>
          {titleOf(session)}
          {!session.alive && <span class="faint">ended</span>}
        </button>
      ))}
    </div>
  );
}

/// The sessions of the address, as far as they exist; without any, the newest live ones, and those that
/// ended before our eyes.
function chosen(path: readonly string[], sessions: readonly Session[], before: readonly string[]): string[] {
  const known = path.filter((id, index) => path.indexOf(id) === index && sessions.some((session) => session.id === id));
  if (path.length > 0) return known.slice(-most);
  return sessions
    .filter(({ id, alive }) => alive || before.includes(id))
    .slice(-usually)
    .map(({ id }) => id);
}

/// Terminals side by side. Which ones is in the address: #/terminals/<id>/<id>.
export default function TerminalsView({ path }: ViewProps) {
  const { value: sessions, error, reload } = useSessions();
  const [opening, setOpening] = useState(false);
  const fresh = useRef(new Set<string>());
  const focus = useRef(new Map<string, () => void>());
  const wanted = useRef<string | null>(null);
  const narrow = useMedia("(max-width: 760px)");

  const before = useRef<string[]>([]);
  const all = chosen(path, sessions ?? [], before.current);
  before.current = all;
  const shown = narrow ? all.slice(-1) : all;
  const show = (ids: readonly string[]) => go(ids.length > 0 ? hashOf("terminals", ids) : hashOf("terminals", ["-"]));
  const choose = (id: string) => {
    wanted.current = id;
    if (shown.includes(id)) focus.current.get(id)?.();
    else show([...shown, id].slice(narrow ? -1 : -most));
  };
  const opened = (id: string, instead?: string) => {
    fresh.current.add(id);
    wanted.current = id;
    reload();
    show(instead ? shown.map((other) => (other === instead ? id : other)) : [...shown, id].slice(-most));
  };
  const step = (by: number) => {
    const boxes = shown.map((id) => focus.current.get(id));
    const at = shown.findIndex(
      (id) => document.activeElement?.closest("[data-session]")?.getAttribute("data-session") === id,
    );
    boxes[(at + by + boxes.length) % boxes.length]?.();
  };

  useActions([
    { id: "terminals.open", title: "Open a terminal", group, keys: "n", run: () => setOpening(true) },
    {
      id: "terminals.next",
      title: "Next terminal",
      group,
      keys: "mod+shift+ArrowRight",
      inTerminal: true,
      run: () => step(1),
    },
    {
      id: "terminals.before",
      title: "Terminal before",
      group,
      keys: "mod+shift+ArrowLeft",
      inTerminal: true,
      run: () => step(-1),
    },
    {
      id: "terminals.leave",
      title: "Leave the terminal",
      group,
      keys: "mod+shift+ArrowUp",
      inTerminal: true,
      run: () => document.querySelector<HTMLElement>(".strip-item")?.focus(),
    },
    ...(sessions ?? []).map((session) => ({
      id: `terminals.${session.id}`,
      title: `Show ${titleOf(session)} (${session.id})`,
      group,
      run: () => choose(session.id),
    })),
  ]);

  const register = (id: string, take: (() => void) | null) => {
    if (!take) focus.current.delete(id);
    else {
      focus.current.set(id, take);
      if (wanted.current === id || (wanted.current === null && shown.length === 1)) take();
    }
  };
  return (
    <ViewFrame
      title="Terminals"
      about={sessions && sessions.length > 0 && <Strip sessions={sessions} shown={shown} onChoose={choose} />}
      tools={
        <Button kind="primary" icon={PlusIcon} onClick={() => setOpening(true)}>
          Open
        </Button>
      }
    >
      {error && !sessions && (
        <Failed error={error}>
          <Button onClick={reload}>Try again</Button>
        </Failed>
      )}
      {!sessions && !error && <Loading />}
      {sessions && shown.length === 0 && (
        <Empty icon={TerminalIcon} title={sessions.length > 0 ? "No terminal is shown" : "No terminal is open"}>
          <p>
            {sessions.length > 0 ? "Choose one above, or open another with" : "Open one here with"} <Keys keys="n" />,
            or from any console with <code>mb terminal bash</code>. It goes on when nobody looks.
          </p>
        </Empty>
      )}
      {shown.length > 0 && (
        <div class={`panes count-${shown.length}`}>
          {shown.map((id) => (
            <div key={id} class="pane-cell" data-session={id}>
              <Pane
                session={sessions!.find((session) => session.id === id)!}
                fresh={fresh.current.has(id)}
                alone={shown.length === 1}
                onHide={() => show(shown.filter((other) => other !== id))}
                onOnly={() => {
                  wanted.current = id;
                  show([id]);
                  focus.current.get(id)?.();
                }}
                onReplace={(next) => opened(next, id)}
                focusRef={(take) => register(id, take)}
              />
            </div>
          ))}
        </div>
      )}
      {opening && <OpenDialog onOpened={opened} onClose={() => setOpening(false)} />}
    </ViewFrame>
  );
}
