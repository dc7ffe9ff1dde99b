import { signal } from "@preact/signals";
import { Button, IconButton } from "./button";
import { CloseIcon } from "./icons";

interface ToastOptions {
  kind?: "good" | "warn" | "bad";
  /// An offer that goes with it, as "Undo".
  action?: { title: string; run(): void };
}
interface Toast extends ToastOptions {
  id: number;
  text: string;
}

const toasts = signal<Toast[]>([]);
const most = 4;
const shortest = 4_000;
const longest = 15_000;
let lastId = 0;

/// Says what has happened. Stays long enough to be read, longer with an offer; errors stay until closed.
export function toast(text: string, options: ToastOptions = {}): void {
  const id = (lastId += 1);
  toasts.value = [...toasts.value, { ...options, id, text }].slice(-most);
  if (options.kind === "bad") return;
  const time = options.action ? longest : Math.min(longest, Math.max(shortest, text.length * 70));
  setTimeout(() => dismiss(id), time);
}

/// For a promise nobody waits for: tells the person what went wrong.
export function complain(error: unknown): void {
  toast(error instanceof Error ? error.message : String(error), { kind: "bad" });
}

function dismiss(id: number): void {
  toasts.value = toasts.value.filter((entry) => entry.id !== id);
}

export function ToastHost() {
  return (
    <div class="toasts" role="status" aria-live="polite" aria-label="Notifications">
      {toasts.value.map(({ id, text, kind, action }) => (
        <div key={id} class={`toast ${kind ?? ""}`}>
          <p>{text}</p>
          {action && (
            <Button
              small
              onClick={() => {
                dismiss(id);
                action.run();
              }}
            >
              {action.title}
            </Button>
          )}
          <IconButton small label="Dismiss" icon={CloseIcon} onClick={() => dismiss(id)} />
        </div>
      ))}
    </div>
  );
}
