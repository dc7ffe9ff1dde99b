import { useLive } from "../../api/events";
import { Key } from "../../api/form";
import { Button } from "../../ui/button";
import { Empty, Failed } from "../../ui/empty";
import { FilesIcon, FolderIcon } from "../../ui/icons";
import { Loading } from "../../ui/progress";
import { VirtualList } from "../../ui/virtual_list";
import { formatAgo, formatBytes, plural } from "../../util/format";
import { useNow } from "../../util/hooks";
import { usePaged } from "../../util/paged";
import { goTo, showing, type Place } from "./address";
import { isFile, loadFolder, nameOf, refOf, secondsOf, type Entry, type FileRow, type Store } from "./data";

export function FileLine({ file, now, path }: { file: FileRow; now: number; path?: boolean }) {
  return (
    <>
      <FilesIcon size={16} class="faint" />
      <span class={`truncate grow ${file.deleted ? "gone" : ""}`}>{path ? file.path : nameOf(file.path)}</span>
      {file.deleted && <span class="chip bad">deleted</span>}
      <span class="faint small nums">{formatAgo(secondsOf(file.stamp), now)}</span>
      <span class="version nums">v{file.version}</span>
    </>
  );
}

function EntryRow({ entry, now }: { entry: Entry | undefined; now: number }) {
  if (!entry) return <span class="faint">…</span>;
  if (isFile(entry)) return <FileLine file={entry} now={now} />;
  return (
    <>
      <FolderIcon size={16} class="accent" />
      <span class="truncate grow">{nameOf(entry.folder)}</span>
      <span class="faint small nums">{plural(entry.files, "file")}</span>
    </>
  );
}

function StoreRow({ store }: { store: Store }) {
  return (
    <>
      <span class={`dot ${store.watched ? "good" : ""}`} title={store.watched ? "watched" : "not watched"} />
      <span class="stack grow">
        <span class="truncate" title={store.root}>
          <strong>{nameOf(store.root) || store.root}</strong> <span class="faint">{store.root}</span>
        </span>
        <span class="small faint nums truncate">
          {plural(store.files, "file")}, {formatBytes(store.bytes)}
          {store.deleted > 0 && `, ${store.deleted} deleted`}
          {!store.versioned && ", no versions"}
          {!store.watched && ", not watched"}
        </span>
      </span>
    </>
  );
}

function Crumbs({ place, store }: { place: Place; store: Store }) {
  const names = place.folder.split("/").filter(Boolean);
  return (
    <nav class="crumbs" aria-label="Folder">
      <button type="button" onClick={() => goTo(place, { store: "", folder: "", folderKey: "" })}>
        Stores
      </button>
      <button type="button" onClick={() => goTo(place, { folder: "", folderKey: "" })}>
        {nameOf(store.root) || store.root}
      </button>
      {names.map((name, index) => (
        <button
          key={index}
          type="button"
          onClick={() => goTo(place, { folder: names.slice(0, index + 1).join("/"), folderKey: "" })}
          aria-current={index === names.length - 1 ? "page" : undefined}
        >
          {name}
        </button>
      ))}
    </nav>
  );
}

function FolderList({ place, store }: { place: Place; store: Store }) {
  const now = useNow();
  const deleted = place.options === "deleted";
  const folder = Key.of(place.folder, place.folderKey || null);
  const entries = usePaged(
    (offset, limit, signal) => loadFolder(store.id, folder, deleted, offset, limit, signal),
    [store.id, folder.encoded, deleted],
  );
  useLive(["file"], (event) => {
    if (event.kind !== "file" || event.store === store.id) entries.reload();
  });
  const open = (index: number) => {
    const entry = entries.row(index);
    if (!entry) return;
    if (isFile(entry)) goTo(place, showing(refOf(store.id, entry)));
    else goTo(place, { folder: entry.folder, folderKey: entry.folder_key ?? "" });
  };
  return (
    <>
      <Crumbs place={place} store={store} />
      <label class="filters check">
        <input
          type="checkbox"
          checked={deleted}
          onChange={(event) => goTo(place, { options: event.currentTarget.checked ? "deleted" : "" })}
        />{" "}
        Show deleted files
      </label>
      {entries.error && entries.total < 0 ? (
        <Failed error={entries.error}>
          <Button onClick={entries.reload}>Try again</Button>
        </Failed>
      ) : entries.total < 0 ? (
        <Loading />
      ) : entries.total === 0 ? (
        <Empty icon={FolderIcon} title="No files here" />
      ) : (
        <OpenList
          label={`Files in ${place.folder || store.root}`}
          count={entries.total}
          onRange={entries.onRange}
          onOpen={open}
          render={(index) => <EntryRow entry={entries.row(index)} now={now} />}
        />
      )}
    </>
  );
}

interface OpenListProps {
  label: string;
  count: number;
  rowRem?: number;
  onRange?(first: number, last: number): void;
  onOpen(index: number): void;
  render(index: number): preact.ComponentChildren;
}

/// A list whose rows lead elsewhere: a click or Enter goes there, the arrows only move.
export function OpenList({ label, count, rowRem = 2.1, onRange, onOpen, render }: OpenListProps) {
  return (
    <VirtualList
      label={label}
      count={count}
      rowRem={rowRem}
      {...(onRange && { onRange })}
      render={(index) => (
        <button type="button" class="open-row" onClick={() => onOpen(index)}>
          {render(index)}
        </button>
      )}
    />
  );
}

/// The stores, and what lies in their folders.
export function Folders({ place, stores }: { place: Place; stores: readonly Store[] }) {
  const store = stores.find((one) => one.id === place.store);
  if (store) return <FolderList place={place} store={store} />;
  if (stores.length === 0) {
    return (
      <Empty icon={FolderIcon} title="No directory is enrolled">
        <p>
          Every save of an enrolled directory becomes a version: <code>mb enroll &lt;directory&gt;</code>
        </p>
      </Empty>
    );
  }
  return (
    <OpenList
      label="Stores"
      count={stores.length}
      rowRem={3.4}
      onOpen={(index) => goTo(place, { store: stores[index]!.id })}
      render={(index) => <StoreRow store={stores[index]!} />}
    />
  );
}
