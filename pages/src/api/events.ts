import { signal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import { useLatest } from "../util/hooks";
import { api } from "./client";

/// What changed in the resident, as one stream for all pages of a browser: the page that holds the lock asks
/// (a browser opens only six connections to a host), the others hear it over a BroadcastChannel. When that
/// page goes, the next one gets the lock.

export interface LiveEvent {
  kind: string;
  [field: string]: unknown;
}

interface Batch {
  /// What the next question passes as "after".
  next: number;
  /// Events before these are lost: the resident is another one, or we slept too long.
  missed: boolean;
  events: LiveEvent[];
}

/// What the asking page tells the others. `next` is where the one after it goes on.
interface News {
  state: Connection;
  next: number;
  events: LiveEvent[];
}
/// What a page that has just come says, so that it need not wait for the next event.
const hello = "hello";

export type Connection = "connecting" | "live" | "lost";
export const connection = signal<Connection>("connecting");

/// The kind that is delivered when events may have been missed: whoever shows something loads it again.
export const RESET = "reset";

const shortestPause = 250;
const longestPause = 10_000;
const handlers = new Set<(event: LiveEvent) => void>();
/// The number of the last event that this page knows of; 0: none yet.
let seen = 0;

function deliver({ state, next, events }: News): void {
  const back = connection.value === "lost" && state === "live";
  connection.value = state;
  seen = next;
  for (const event of back ? [{ kind: RESET }, ...events] : events) {
    for (const handler of [...handlers]) handler(event);
  }
}

const sleep = (ms: number) => new Promise((done) => setTimeout(done, ms));

async function follow(tell: (news: News) => void): Promise<never> {
  let pause = shortestPause;
  for (;;) {
    try {
      const { next, missed, events } = await api.get<Batch>("/ui/api/events", { after: seen });
      tell({ state: "live", next, events: missed ? [{ kind: RESET }, ...events] : events });
      pause = shortestPause;
    } catch {
      tell({ state: "lost", next: seen, events: [] });
      await sleep(pause);
      pause = Math.min(pause * 2, longestPause);
    }
  }
}

let started = false;
function start(): void {
  if (started) return;
  started = true;
  const channel = new BroadcastChannel("mb.events");
  let asking = false;
  channel.onmessage = ({ data }: MessageEvent<News | typeof hello>) => {
    if (data !== hello) deliver(data);
    else if (asking) channel.postMessage({ state: connection.value, next: seen, events: [] } satisfies News);
  };
  const tell = (news: News) => {
    deliver(news);
    channel.postMessage(news);
  };
  const ask = () => {
    asking = true;
    return follow(tell);
  };
  channel.postMessage(hello);
  if (!navigator.locks) void ask();
  else void navigator.locks.request("mb.events", ask);
}

/// Calls `handler` for every event of these kinds and after a gap (RESET) until the returned function is
/// called.
export function onLive(kinds: readonly string[], handler: (event: LiveEvent) => void): () => void {
  start();
  const wanted = new Set([...kinds, RESET]);
  const filtered = (event: LiveEvent) => wanted.has(event.kind) && handler(event);
  handlers.add(filtered);
  return () => handlers.delete(filtered);
}

/// The same for as long as a component is shown.
export function useLive(kinds: readonly string[], handler: (event: LiveEvent) => void): void {
  const latest = useLatest(handler);
  useEffect(() => onLive(kinds, (event) => latest.current(event)), [kinds.join(" ")]);
}
