import { ask, Key, tell } from "../../api/form";
import type { LiveEvent } from "../../api/events";
import type { Page } from "../../util/paged";

/// What the routes below /ui/api/files/ answer; docs/http.md says more.

export interface Store {
  id: string;
  root: string;
  category: "enrolled" | "files" | "configuration";
  active: boolean;
  watched: boolean;
  versioned: boolean;
  policy: string;
  files: number;
  deleted: number;
  bytes: number;
}
export interface FileRow {
  path: string;
  path_key?: string;
  version: number;
  author: string;
  stamp: string;
  size: number;
  deleted: boolean;
}
export interface FolderRow {
  folder: string;
  folder_key?: string;
  files: number;
}
export type Entry = FileRow | FolderRow;
export interface Change extends Omit<FileRow, "deleted"> {
  store: string;
  kind: string;
}
export interface Version {
  version: number;
  author: string;
  stamp: string;
  size: number;
  deleted: boolean;
}
export interface Run {
  change: "same" | "removed" | "added";
  line1: number;
  line2: number;
  count: number;
  lines?: string[];
}
export interface Diff {
  a: { version: number; size: number };
  b: { version: number; size: number };
  binary: boolean;
  same: boolean;
  runs: Run[];
  cut: boolean;
  added: number;
  removed: number;
}
export interface Match {
  line: number;
  lead: boolean;
  before: string;
  hit: string;
  after: string;
}
export interface MatchedFile {
  store: string;
  path: string;
  path_key?: string;
  found: number;
  lines: Match[];
}

/// A file by its store and its path.
export interface FileRef {
  store: string;
  path: string;
  key: Key;
}
export function refOf(store: string, row: { path: string; path_key?: string | undefined }): FileRef {
  return { store, path: row.path, key: Key.of(row.path, row.path_key) };
}

export const isFile = (entry: Entry): entry is FileRow => "path" in entry;

/// The seconds since 1970 of "2026-11-23 09:05:00", local time.
export function secondsOf(stamp: string): number {
  return new Date(stamp.replace(" ", "T")).getTime() / 1000;
}

export const nameOf = (path: string): string => path.slice(path.lastIndexOf("/") + 1);
export const folderOf = (path: string): string => path.slice(0, Math.max(0, path.lastIndexOf("/")));

export async function loadStores(signal: AbortSignal): Promise<Store[]> {
  return (await ask<{ stores: Store[] }>("files/stores", {}, signal)).stores;
}

export async function loadFolder(
  store: string,
  folder: Key,
  deleted: boolean,
  offset: number,
  limit: number,
  signal: AbortSignal,
): Promise<Page<Entry>> {
  const answer = await ask<{ total: number; entries: Entry[] }>(
    "files/folder",
    { store, folder, deleted, offset, limit },
    signal,
  );
  return { total: answer.total, rows: answer.entries };
}

export async function loadVersions(
  file: FileRef,
  offset: number,
  limit: number,
  signal: AbortSignal,
): Promise<Page<Version> & { deleted: boolean; lock: string }> {
  const answer = await ask<{ total: number; versions: Version[]; deleted: boolean; lock: string }>(
    "files/versions",
    { store: file.store, path: file.key, offset, limit },
    signal,
  );
  return { ...answer, rows: answer.versions };
}

export interface TimelineFilter {
  store: string;
  author: string;
  since: string;
}
export interface Timeline {
  changes: Change[];
  more: boolean;
  before: string;
  authors?: string[];
}
export function loadTimeline(filter: TimelineFilter, before: string, signal?: AbortSignal): Promise<Timeline> {
  return ask<Timeline>("files/timeline", { ...filter, before, limit: 200 }, signal);
}

export function loadDiff(file: FileRef, a: number, b: number, whole: boolean, signal: AbortSignal): Promise<Diff> {
  return ask<Diff>("files/diff", { store: file.store, path: file.key, a, b, context: whole ? 20_000 : 3 }, signal);
}

interface Listed {
  store: string;
  file: FileRow;
}
interface Found extends Page<Listed> {
  /// Why an expression cannot be read, while it is being written for example.
  problem?: string;
}
export async function findFiles(
  mode: "names" | "query",
  q: string,
  store: string,
  offset: number,
  limit: number,
  signal: AbortSignal,
): Promise<Found> {
  const answer = await ask<{ total: number; files: Listed[]; problem?: string }>(
    `files/${mode}`,
    { q, store, offset, limit },
    signal,
  );
  return { ...answer, rows: answer.files };
}

export interface Grep {
  files: MatchedFile[];
  matched: number;
  found: number;
  shown: number;
  problem?: string;
}
export function grepFiles(
  q: string,
  store: string,
  options: { case: boolean; literal: boolean },
  signal: AbortSignal,
): Promise<Grep> {
  return ask<Grep>("files/grep", { q, store, ...options }, signal);
}

export function restoreFile(file: FileRef): Promise<{ version: number }> {
  return tell("files/restore", { store: file.store, path: file.key });
}
export function revertFile(file: FileRef, version: number): Promise<{ version: number; notice: string }> {
  return tell("files/revert", { store: file.store, path: file.key, version });
}

/// The change that an event tells of, as the timeline has it.
export function changeOf(event: LiveEvent): Change | undefined {
  if (event.kind !== "file" || event.what === "mirror-fail") return undefined;
  const { what, ...rest } = event;
  return { ...rest, kind: String(what) } as unknown as Change;
}
