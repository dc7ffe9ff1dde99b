import { useEffect, useRef, useState } from "preact/hooks";
import { useLatest } from "./hooks";

const pageRows = 200;

export interface Page<T> {
  total: number;
  rows: T[];
}
export interface Paged<T> {
  /// -1 before the first answer.
  total: number;
  error: Error | undefined;
  /// Undefined until the row's page has come.
  row(index: number): T | undefined;
  /// For VirtualList: fetches what is shown.
  onRange(first: number, last: number): void;
  /// Asks again for what is shown, and keeps it until the answers come.
  reload(): void;
}

/// A list of any length that is fetched in pieces, as they are looked at. It starts again when `deps` change.
export function usePaged<T>(
  fetch: (offset: number, limit: number, signal: AbortSignal) => Promise<Page<T>>,
  deps: readonly unknown[],
): Paged<T> {
  const latest = useLatest(fetch);
  const pages = useRef(new Map<number, T[]>());
  const asked = useRef(new Set<number>());
  const shown = useRef<[number, number]>([0, 0]);
  const abort = useRef(new AbortController());
  const [state, setState] = useState<{ total: number; error?: Error; turn: number }>({ total: -1, turn: 0 });

  const load = (page: number) => {
    if (asked.current.has(page)) return;
    asked.current.add(page);
    const { signal } = abort.current;
    latest.current(page * pageRows, pageRows, signal).then(
      ({ total, rows }) => {
        if (signal.aborted) return;
        pages.current.set(page, rows);
        setState((before) => ({ total, turn: before.turn + 1 }));
      },
      (error: Error) => {
        if (signal.aborted) return;
        asked.current.delete(page);
        setState((before) => ({ ...before, error, turn: before.turn + 1 }));
      },
    );
  };
  const range = (first: number, last: number) => {
    shown.current = [first, last];
    for (let page = Math.floor(first / pageRows); page <= Math.floor(last / pageRows); page += 1) load(page);
  };
  const restart = (forget: boolean) => {
    abort.current.abort();
    abort.current = new AbortController();
    asked.current.clear();
    if (forget) {
      pages.current.clear();
      shown.current = [0, 0];
      setState({ total: -1, turn: 0 });
    } else {
      const [first, last] = shown.current.map((row) => Math.floor(row / pageRows)) as [number, number];
      for (const page of pages.current.keys()) if (page < first || page > last) pages.current.delete(page);
    }
    range(...shown.current);
  };

  const first = useRef(true);
  useEffect(() => {
    restart(!first.current || pages.current.size > 0);
    first.current = false;
    return () => abort.current.abort();
  }, deps);

  return {
    total: state.total,
    error: state.error,
    row: (index) => pages.current.get(Math.floor(index / pageRows))?.[index % pageRows],
    onRange: range,
    reload: () => restart(false),
  };
}
