import { signal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import { useLatest } from "../util/hooks";

/// Everything that can be done by key or from the palette is an action; the palette and the overlay of keys
/// are made of what is registered at the moment.
export interface Action {
  id: string;
  title: string;
  /// The heading in the overlay: the view's name, or `everywhere`.
  group: string;
  /// "g f" (one after the other), "mod+k" (Ctrl, Command on a Mac), "?", "shift+Enter".
  keys?: string;
  /// Works while a terminal has the focus, which otherwise gets every key.
  inTerminal?: boolean;
  run(): void;
}

/// The group of what can be done in every view.
export const everywhere = "Everywhere";

const registered = signal<readonly (readonly Action[])[]>([]);

/// All actions, the ones of the innermost component last.
export function allActions(): Action[] {
  return registered.value.flat();
}

/// Registers actions as long as the component is shown. Titles and functions may change with each render.
export function useActions(actions: readonly Action[]): void {
  const latest = useLatest(actions);
  const names = actions.map((action) => `${action.id} ${action.title}`).join("\n");
  useEffect(() => {
    const mine = latest.current.map((action) => ({
      ...action,
      run: () => latest.current.find((other) => other.id === action.id)?.run(),
    }));
    registered.value = [...registered.value, mine];
    return () => {
      registered.value = registered.value.filter((other) => other !== mine);
    };
  }, [names]);
}

const isMac = navigator.platform.startsWith("Mac");

function pressed(event: KeyboardEvent): string {
  const words = [];
  if (isMac ? event.metaKey : event.ctrlKey) words.push("mod");
  if (event.altKey) words.push("alt");
  // A shifted character is its own name: "?", not "shift+?".
  if (event.shiftKey && (event.key.length > 1 || words.length > 0)) words.push("shift");
  words.push(event.key.length === 1 ? event.key.toLowerCase() : event.key);
  return words.join("+");
}

function typesText(target: EventTarget | null): boolean {
  return target instanceof HTMLElement && (target.isContentEditable || target.matches("input, textarea, select"));
}

const inTerminal = (target: EventTarget | null) => target instanceof Element && target.closest(".xterm") !== null;
const sequenceTime = 1_200;
let waiting = "";
let waitingSince = 0;

function onKeyDown(event: KeyboardEvent): void {
  if (event.defaultPrevented || event.isComposing) return;
  const key = pressed(event);
  const terminal = inTerminal(event.target);
  if (key === "Escape" && typesText(event.target) && !terminal) {
    document.getElementById("main")?.focus();
    return;
  }
  if (typesText(event.target) && !terminal && !/^(mod|alt)\+|^F\d/.test(key)) return;
  const sequence = waiting && event.timeStamp - waitingSince < sequenceTime ? `${waiting} ${key}` : key;
  waiting = "";
  const candidates = allActions().filter((action) => action.keys && (!terminal || action.inTerminal));
  const action = candidates.findLast((one) => one.keys === sequence) ?? candidates.findLast((one) => one.keys === key);
  if (action) {
    event.preventDefault();
    action.run();
  } else if (candidates.some((one) => one.keys!.startsWith(`${sequence} `))) {
    waiting = sequence;
    waitingSince = event.timeStamp;
  }
}

/// Whether a key that is pressed in a terminal belongs to the page and not to the program.
export function wantedInTerminal(event: KeyboardEvent): boolean {
  const key = pressed(event);
  return allActions().some((action) => action.inTerminal && action.keys === key);
}

/// Listens for keys; once per page. Escape leaves a field, so that single keys work again.
export function listenForKeys(): void {
  window.addEventListener("keydown", onKeyDown);
}

const spoken: Record<string, string> = {
  mod: isMac ? "⌘" : "Ctrl",
  shift: "Shift",
  alt: isMac ? "⌥" : "Alt",
  ArrowLeft: "←",
  ArrowRight: "→",
  ArrowUp: "↑",
  ArrowDown: "↓",
  Escape: "Esc",
};

/// "mod+k" as the keys that are printed: ["Ctrl", "K"].
export function keyNames(keys: string): string[] {
  return keys.split(/[ +]/).map((key) => spoken[key] ?? (key.length === 1 ? key.toUpperCase() : key));
}
