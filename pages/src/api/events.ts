import { signal } from '@preact/signals';
import { useEffect } from 'preact/hooks';
import { useLatest } from '../util/hooks';
import { api } from './client';

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
type News = { state: Connection } | { events: LiveEvent[] };

export type Connection = 'connecting' | 'live' | 'lost';
export const connection = signal<Connection>('connecting');

/// The kind that is delivered when events may have been missed: whoever shows something loads it again.
export const RESET = 'reset';

const shortestPause = 250;
const longestPause = 10_000;
const handlers = new Set<(event: LiveEvent) => void>();

function deliver(news: News): void {
  if ('state' in news) {
    const wasLost = connection.value === 'lost';
    connection.value = news.state;
    if (wasLost && news.state === 'live') deliver({ events: [{ kind: RESET }] });
    return;
  }
  for (const event of news.events) {
    for (const handler of [...handlers]) handler(event);
  }
}

const sleep = (ms: number) => new Promise((done) => setTimeout(done, ms));

async function follow(tell: (news: News) => void): Promise<never> {
  let after = 0;
  let pause = shortestPause;
  for (;;) {
    try {
      const batch = await api.get<Batch>('/ui/api/events', { after });
      tell({ state: 'live' });
      if (batch.missed) tell({ events: [{ kind: RESET }] });
      if (batch.events.length > 0) tell({ events: batch.events });
      after = batch.next;
      pause = shortestPause;
    } catch {
      tell({ state: 'lost' });
      await sleep(pause);
      pause = Math.min(pause * 2, longestPause);
    }
  }
}

let started = false;
function start(): void {
  if (started) return;
  started = true;
  const channel = new BroadcastChannel('mb.events');
  channel.onmessage = (message) => deliver(message.data as News);
  const tell = (news: News) => {
    deliver(news);
    channel.postMessage(news);
  };
  if (!navigator.locks) void follow(tell);
  else void navigator.locks.request('mb.events', () => follow(tell));
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
  useEffect(() => onLive(kinds, (event) => latest.current(event)), [kinds.join(' ')]);
}
