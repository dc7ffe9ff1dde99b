import { ask, Key, tell } from "../../api/form";
import type { Page } from "../../util/paged";

/// What the routes below /ui/api/memory/ answer; docs/http.md says more.

export interface Context {
  id: string;
  loaded: boolean;
  topics: number;
  memos: number;
  bytes: number;
  legacy: boolean;
}
export interface Contexts {
  contexts: Context[];
  types: string[];
}
export interface Topic {
  topic: string;
  topic_key?: string;
  memos: number;
  written: number;
}
export interface Memo {
  topic: string;
  topic_key?: string;
  n: number;
  mark: string;
  types: string[];
  written: number;
  size: number;
  text: string;
  cut: boolean;
}
export interface Recent extends Memo {
  context: string;
}
export interface Reason {
  term: string;
  word: string;
  how: "exact" | "starts" | "related" | "theme";
}
export interface Hit extends Recent {
  score: number;
  lanes: ("words" | "meaning" | "date")[];
  why: Reason[];
  lead: boolean;
}
/// Contexts that could not be read, and why.
export interface Failed {
  failed: { context: string; error: string }[];
}
export interface TopicPage extends Page<Topic> {
  all: number;
  memos: number;
  keywords: number;
  bytes: number;
}

export const orders = [
  { id: "name", title: "By name" },
  { id: "recent", title: "Last written" },
  { id: "size", title: "Most memos" },
  { id: "added", title: "As they came" },
] as const;

/// A topic by its context and its name.
export interface TopicRef {
  context: string;
  topic: string;
  key: Key;
}
export function refOf(context: string, row: { topic: string; topic_key?: string | undefined }): TopicRef {
  return { context, topic: row.topic, key: Key.of(row.topic, row.topic_key) };
}

const quicklyLoaded = 16 * 1024 * 1024;
const mostTogether = 100;
/// What is looked through unless contexts are chosen: those that are loaded, and those that soon would be.
export function usualContexts(contexts: readonly Context[]): string[] {
  return contexts
    .filter((context) => context.loaded || context.bytes < quicklyLoaded)
    .slice(0, mostTogether)
    .map((context) => context.id);
}

export function loadContexts(signal: AbortSignal): Promise<Contexts> {
  return ask<Contexts>("memory/contexts", {}, signal);
}

export async function loadTopics(
  context: string,
  filter: string,
  order: string,
  offset: number,
  limit: number,
  signal: AbortSignal,
): Promise<TopicPage> {
  const answer = await ask<Omit<TopicPage, "rows"> & { topics: Topic[] }>(
    "memory/topics",
    { context, filter, order, offset, limit },
    signal,
  );
  return { ...answer, rows: answer.topics };
}

export function loadMemos(
  topic: TopicRef,
  offset: number,
  limit: number,
  signal: AbortSignal,
): Promise<{ total: number; memos: Memo[] }> {
  return ask("memory/memos", { context: topic.context, topic: topic.key, offset, limit }, signal);
}

export function loadMemo(topic: TopicRef, n: number): Promise<Memo & { given: string[] }> {
  return ask("memory/memo", { context: topic.context, topic: topic.key, n });
}

export async function loadRecent(
  contexts: readonly string[],
  offset: number,
  limit: number,
  signal?: AbortSignal,
): Promise<{ memos: Recent[]; more: boolean } & Failed> {
  return ask("memory/recent", { contexts: contexts.join("/"), offset, limit }, signal);
}

export function search(
  q: string,
  contexts: readonly string[],
  deep: boolean,
  signal: AbortSignal,
): Promise<{ hits: Hit[] } & Failed> {
  return ask("memory/search", { q, contexts: contexts.join("/"), deep, limit: 100 }, signal);
}

export interface Draft {
  context: string;
  topic: Key;
  content: string;
  keywords: string;
  types: string[];
}
export interface Done {
  n: number;
  undo: number;
  notice: string;
}
const valuesOf = ({ types, ...rest }: Draft) => ({ ...rest, types: types.join("|") });

export function addMemo(draft: Draft): Promise<Done> {
  return tell("memory/add", valuesOf(draft));
}
export function updateMemo(draft: Draft, n: number, mark: string): Promise<Done> {
  return tell("memory/update", { ...valuesOf(draft), n, mark });
}
export function deleteMemo(topic: TopicRef, memo: { n: number; mark: string }): Promise<Done> {
  return tell("memory/delete", { context: topic.context, topic: topic.key, n: memo.n, mark: memo.mark });
}
export function deleteTopic(topic: TopicRef): Promise<Done> {
  return tell("memory/delete", { context: topic.context, topic: topic.key });
}
export function undo(number: number): Promise<{ context: string; topic: string; n: number }> {
  return tell("memory/undo", { undo: number });
}
export function exportContext(context: string, path: string): Promise<{ path: string; bytes: number }> {
  return tell("memory/export", { context, path });
}
export function downloadAddress(context: string): string {
  return `/ui/api/memory/download?context=${encodeURIComponent(context)}`;
}
