import { useEffect, useRef, useState } from "preact/hooks";

/// The seconds since 1970, again every `every` seconds: for "5 min ago".
export function useNow(every = 30): number {
  const [now, setNow] = useState(Date.now() / 1000);
  useEffect(() => {
    const timer = setInterval(() => setNow(Date.now() / 1000), every * 1000);
    return () => clearInterval(timer);
  }, [every]);
  return now;
}

/// The latest value, for handlers that are registered once.
export function useLatest<T>(value: T): { current: T } {
  const latest = useRef(value);
  latest.current = value;
  return latest;
}

/// The pixels of one rem, which follow the window's width.
export function useRem(): number {
  const read = () => parseFloat(getComputedStyle(document.documentElement).fontSize);
  const [rem, setRem] = useState(read);
  useEffect(() => {
    const again = () => setRem(read());
    window.addEventListener("resize", again);
    return () => window.removeEventListener("resize", again);
  }, []);
  return rem;
}

/// Whether a media query holds.
export function useMedia(query: string): boolean {
  const [matches, setMatches] = useState(() => matchMedia(query).matches);
  useEffect(() => {
    const list = matchMedia(query);
    const again = () => setMatches(list.matches);
    again();
    list.addEventListener("change", again);
    return () => list.removeEventListener("change", again);
  }, [query]);
  return matches;
}

export interface Loaded<T> {
  value?: T;
  error?: Error;
  loading: boolean;
  reload(): void;
}

/// Runs `load` when `deps` change and on reload(). The value before stays until the next is there; an
/// answer that was overtaken by a later call is dropped, and its request aborted.
export function useLoad<T>(load: (signal: AbortSignal) => Promise<T>, deps: readonly unknown[]): Loaded<T> {
  const [state, setState] = useState<Omit<Loaded<T>, "reload">>({ loading: true });
  const [turn, setTurn] = useState(0);
  useEffect(() => {
    const abort = new AbortController();
    setState((before) => ({ ...before, loading: true }));
    load(abort.signal).then(
      (value) => abort.signal.aborted || setState({ value, loading: false }),
      (error: Error) => abort.signal.aborted || setState((before) => ({ ...before, error, loading: false })),
    );
    return () => abort.abort();
  }, [...deps, turn]);
  const reload = useRef(() => setTurn((before) => before + 1));
  return { ...state, reload: reload.current };
}
