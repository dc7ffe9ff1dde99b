import { useEffect, useRef, useState } from "preact/hooks";
import type { Ending } from "../../terminal/follower";
import { Screen } from "../../terminal/screen";
import {
  closeSession,
  nameSession,
  numberOf,
  openSession,
  saveHost,
  shareSession,
  titleOf,
  wrongName,
  type Session,
} from "../../terminal/sessions";
import { Button, IconButton } from "../../ui/button";
import { askText, confirm } from "../../ui/dialog";
import { CloseIcon, DownloadIcon, EditIcon, ExpandIcon, MoreIcon, ShareIcon, TrashIcon } from "../../ui/icons";
import { Menu } from "../../ui/menu";
import { complain, toast } from "../../ui/toast";
import { formatBytes } from "../../util/format";
import { useLatest } from "../../util/hooks";

export interface PaneProps {
  session: Session;
  /// It was opened just now, by this page.
  fresh: boolean;
  /// The only one that is shown.
  alone: boolean;
  onHide(): void;
  onOnly(): void;
  /// Another session takes this one's place.
  onReplace(id: string): void;
  /// Called with the way to give it the focus while it is shown, null afterwards.
  focusRef(focus: (() => void) | null): void;
}

async function rename(session: Session): Promise<void> {
  const name = await askText({
    title: "Name the terminal",
    label: "Name",
    value: session.name,
    action: "Name it",
    hint: "mb mterm -r with the name finds it. Empty takes the name away.",
    check: (text) => (text === "" ? undefined : wrongName(text)),
  });
  if (name !== null) await nameSession(session.id, name);
}

async function share(session: Session): Promise<void> {
  const bot = await askText({
    title: "Share with a bot",
    label: "Bot",
    action: "Share",
    hint: "It is told what the terminal shows from now on, and may type into it.",
    check: (text) => (text.trim() === "" ? "Whom?" : undefined),
  });
  if (bot === null) return;
  await shareSession(session.id, bot.trim());
  toast(`${titleOf(session)} is shared with ${bot.trim()}`);
}

async function keepAsHost(session: Session): Promise<void> {
  const name = await askText({
    title: "Save as a host",
    label: "Host",
    value: session.name,
    action: "Save",
    hint: `Opens ${session.cmd} again`,
    check: wrongName,
  });
  if (name === null) return;
  await saveHost(name, { session: session.id });
  toast(`Saved as the host ${name.toLowerCase()}`);
}

async function end(session: Session, ended: boolean): Promise<boolean> {
  const sure =
    ended ||
    (await confirm({
      title: `End ${titleOf(session)}?`,
      body: "The program and everything that it started are ended, and what it printed is gone.",
      action: "End it",
      danger: true,
    }));
  if (sure) await closeSession(session.id);
  return sure;
}

function ExitChip({ exitCode }: Ending) {
  if (exitCode === null) return <span class="chip">gone</span>;
  return <span class={`chip ${exitCode === 0 ? "good" : "bad"}`}>exit {exitCode}</span>;
}

/// One session: its head with what can be done to it, and its screen.
export function Pane(props: PaneProps) {
  const { session, fresh, alone, onHide, onOnly, onReplace } = props;
  const host = useRef<HTMLDivElement>(null);
  const [ending, setEnding] = useState<Ending | null>(null);
  const [skipped, setSkipped] = useState(0);
  const [problem, setProblem] = useState("");
  const [says, setSays] = useState("");
  const latest = useLatest(props);
  const title = titleOf(session);

  useEffect(() => {
    const screen = new Screen({
      host: host.current!,
      label: `Terminal ${title}; Control Shift Up leaves it`,
      ended: setEnding,
      skipped: setSkipped,
      title: setSays,
      problem: (message) => {
        setProblem(message);
        setTimeout(setProblem, 5_000, "");
      },
    });
    screen.attach(session.id, fresh);
    latest.current.focusRef(() => screen.focus());
    return () => {
      latest.current.focusRef(null);
      screen.dispose();
    };
  }, [session.id]);

  const again = () => openSession({ cmd: session.cmd }).then(onReplace).catch(complain);
  const remove = () =>
    end(session, ending !== null)
      .then((gone) => gone && onHide())
      .catch(complain);
  return (
    <section class="pane-box" aria-label={`Terminal ${title}`}>
      <header class="pane-head">
        <span class={`dot ${ending ? "" : "good"}`} />
        <h2 class="truncate">{title}</h2>
        <span class="faint nums">{numberOf(session)}</span>
        <span class="faint truncate cmd">{says || (session.name && session.cmd)}</span>
        <span class="grow" />
        {problem && (
          <span class="chip bad truncate" role="status">
            {problem}
          </span>
        )}
        {skipped > 0 && (
          <span class="chip nums" title="Printed faster than it could be shown">
            {formatBytes(skipped)} not shown
          </span>
        )}
        {ending && <ExitChip exitCode={ending.exitCode} />}
        {ending && (
          <Button small onClick={again}>
            Open again
          </Button>
        )}
        <Menu
          label={`More about ${title}`}
          icon={MoreIcon}
          small
          items={[
            ...(ending
              ? []
              : [
                  { title: "Name…", icon: EditIcon, run: () => void rename(session).catch(complain) },
                  { title: "Share with a bot…", icon: ShareIcon, run: () => void share(session).catch(complain) },
                ]),
            { title: "Save as a host…", icon: DownloadIcon, run: () => void keepAsHost(session).catch(complain) },
            { title: ending ? "Remove" : "End…", icon: TrashIcon, danger: !ending, run: () => void remove() },
          ]}
        />
        {!alone && <IconButton small label={`Show only ${title}`} icon={ExpandIcon} onClick={onOnly} />}
        <IconButton small label={`Hide ${title}; it goes on`} icon={CloseIcon} onClick={onHide} />
      </header>
      <div ref={host} class="screen" />
    </section>
  );
}
