import { go, hashOf } from "../../app/router";
import { Key } from "../../api/form";
import type { ViewProps } from "../../app/views";
import type { FileRef } from "./data";

/// What the Files view shows, as its address has it:
///   #/files/<part>?store=&author=&since=&folder=&mode=&q=   the list at the left
///   …&file=<store>&path=<path>&a=&b=                         the file at the right, two versions of it

export const parts = ["timeline", "folders", "search"] as const;
export type Part = (typeof parts)[number];

export interface Place {
  part: Part;
  store: string;
  author: string;
  since: string;
  folder: string;
  folderKey: string;
  mode: string;
  q: string;
  options: string;
  file: string;
  path: string;
  pathKey: string;
  /// The version to compare from: empty is the one before `b`.
  a: string;
  b: string;
}

export function placeOf({ path, query }: ViewProps): Place {
  const text = (name: string) => query.get(name) ?? "";
  return {
    part: parts.find((part) => part === path[0]) ?? "timeline",
    store: text("store"),
    author: text("author"),
    since: text("since"),
    folder: text("folder"),
    folderKey: text("folderKey"),
    mode: text("mode") || "names",
    q: text("q"),
    options: text("options"),
    file: text("file"),
    path: text("path"),
    pathKey: text("pathKey"),
    a: text("a"),
    b: text("b"),
  };
}

export function hashOfPlace({ part, mode, ...query }: Place): string {
  return hashOf("files", [part], { ...query, mode: mode === "names" ? "" : mode });
}

export function goTo(place: Place, change: Partial<Place>, options: { replace?: boolean } = {}): void {
  go(hashOfPlace({ ...place, ...change }), options);
}

export function fileOf(place: Place): FileRef | undefined {
  if (!place.file || !place.path) return undefined;
  return { store: place.file, path: place.path, key: Key.of(place.path, place.pathKey || null) };
}

/// The change that shows a file.
export function showing(file: FileRef, b = ""): Partial<Place> {
  const own = file.key.encoded === encodeURIComponent(file.path);
  return { file: file.store, path: file.path, pathKey: own ? "" : file.key.encoded, a: "", b };
}
