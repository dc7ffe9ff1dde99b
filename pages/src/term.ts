import { Screen } from "./terminal/screen";
import { openSession, titleOf, listSessions } from "./terminal/sessions";
import type { Ending } from "./terminal/follower";

/// One terminal and nothing else. Its id is in the address, so that a reload finds it again; a command is
/// never taken from there, since anybody can make a link.

const note = document.getElementById("note")!;
const screen = new Screen({
  host: document.getElementById("screen")!,
  label: "Terminal",
  ended,
  problem: say,
  title: setTitle,
});

function setTitle(title: string): void {
  document.title = title ? `${title} — Mirebolt` : "Terminal — Mirebolt";
}

function say(text: string): void {
  note.querySelector("span")!.textContent = text;
  note.hidden = text === "";
}

function ended({ exitCode }: Ending): void {
  say(exitCode === null ? "This session is gone." : `The session has ended, exit ${exitCode}.`);
  note.querySelector("button")!.focus();
}

async function open(): Promise<void> {
  say("");
  screen.focus();
  try {
    const id = await openSession(screen.size);
    history.replaceState(null, "", `#${id}`);
    screen.attach(id, true);
  } catch (error) {
    say(error instanceof Error ? error.message : String(error));
  }
}

async function attach(id: string): Promise<void> {
  screen.focus();
  screen.attach(id);
  const session = (await listSessions()).find((one) => one.id === id);
  if (session) setTitle(titleOf(session));
}

function begin(): void {
  const id = location.hash.slice(1);
  say("");
  void (id ? attach(id) : open());
}

note.querySelector("button")!.addEventListener("click", () => void open());
window.addEventListener("hashchange", begin);
begin();
