import { api } from "../api/client";

/// The resident's terminals: see docs/terminals.md for what each route does.

export interface Session {
  id: string;
  name: string;
  cmd: string;
  alive: boolean;
}

export interface Host {
  name: string;
  cmd: string;
}

export interface Output {
  len: number;
  alive: boolean;
  data: string;
}

export async function listSessions(signal?: AbortSignal): Promise<Session[]> {
  return (await api.get<{ sessions: Session[] }>("/term/list", {}, signal ? { signal } : {})).sessions;
}

export async function listHosts(signal?: AbortSignal): Promise<Host[]> {
  return (await api.get<{ hosts: Host[] }>("/term/host/list", {}, signal ? { signal } : {})).hosts;
}

/// An empty command is the user's shell.
export async function openSession(how: { cmd?: string; host?: string; cols?: number; rows?: number }): Promise<string> {
  const { cmd = "", ...params } = how;
  return (await api.post<{ id: string }>("/term/open", cmd, { params })).id;
}

export function readOutput(id: string, since: number, wait: number, signal: AbortSignal): Promise<Output> {
  return api.get<Output>("/term/read", { id, since, wait }, { signal });
}

/// Keys as they are, without an Enter behind them.
export function sendKeys(id: string, keys: Uint8Array<ArrayBuffer>): Promise<unknown> {
  return api.post("/term/send", keys, { params: { id, raw: 1 } });
}

export function resizeSession(id: string, cols: number, rows: number): Promise<unknown> {
  return api.post("/term/resize", "", { params: { id, cols, rows } });
}

export function nameSession(id: string, name: string): Promise<unknown> {
  return api.post("/term/name", "", { params: { id, name } });
}

export function shareSession(id: string, bot: string): Promise<unknown> {
  return api.post("/term/share", "", { params: { id, bot } });
}

export function closeSession(id: string): Promise<unknown> {
  return api.post("/term/close", "", { params: { id } });
}

export function saveHost(name: string, from: { session: string } | { cmd: string }): Promise<unknown> {
  if ("session" in from) return api.post("/term/host/save", "", { params: { name, from: from.session } });
  return api.post("/term/host/save", from.cmd, { params: { name } });
}

export function removeHost(name: string): Promise<unknown> {
  return api.post("/term/host/remove", "", { params: { name } });
}

/// What a session is called: its name, else what was started, without the path to it.
export function titleOf(session: Session): string {
  return (
    session.name || session.cmd.replace(/^(?:"[^"]*[\\/]|\S*[\\/])/, "").replace(/^([^"\s]+)"/, "$1") || session.id
  );
}

/// The number in its id, which tells two shells apart.
export function numberOf(session: Session): string {
  return /^t(\d+)/.exec(session.id)?.[1] ?? "";
}

/// The rule for names, as an error text.
export function wrongName(name: string): string | undefined {
  return /^[a-z0-9_-]{1,32}$/i.test(name) ? undefined : "Letters, digits, _ and -, at most 32";
}
