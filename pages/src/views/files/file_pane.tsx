import { useMemo, useState } from "preact/hooks";
import { useLive } from "../../api/events";
import { useActions } from "../../ui/actions";
import { Button, IconButton, Segments } from "../../ui/button";
import { confirm } from "../../ui/dialog";
import { Empty, Failed } from "../../ui/empty";
import { ArrowLeftIcon, CloseIcon, DiffIcon, FilesIcon, HistoryIcon, UndoIcon } from "../../ui/icons";
import { Loading, withProgress } from "../../ui/progress";
import { Split } from "../../ui/split";
import { complain, toast } from "../../ui/toast";
import { VirtualList } from "../../ui/virtual_list";
import { formatAgo, formatBytes, plural } from "../../util/format";
import { useLoad, useMedia, useNow } from "../../util/hooks";
import { usePaged } from "../../util/paged";
import { recall, remember } from "../../util/storage";
import { goTo, type Place } from "./address";
import {
  folderOf,
  loadDiff,
  loadVersions,
  nameOf,
  restoreFile,
  revertFile,
  secondsOf,
  type FileRef,
  type Version,
} from "./data";
import { DiffView, type Shape } from "./diff_view";

function VersionRow({
  version,
  now,
  base,
  onBase,
}: {
  version: Version | undefined;
  now: number;
  base: boolean;
  onBase(): void;
}) {
  if (!version) return <span class="faint">…</span>;
  return (
    <>
      <span class="version nums">v{version.version}</span>
      <span class="stack grow">
        <span class="truncate">
          {version.deleted ? <span class="chip bad">deleted</span> : formatBytes(version.size)}{" "}
          <span class="faint">by</span> {version.author || "unknown"}
        </span>
        <time class="faint small truncate" title={version.stamp}>
          {formatAgo(secondsOf(version.stamp), now)}
        </time>
      </span>
      {/* For the mouse: a row of a listbox holds no buttons. There is one above the difference, and a key. */}
      <span
        class={`pin ${base ? "pressed" : ""}`}
        aria-hidden="true"
        title={base ? "No longer compare from this version" : "Compare from this version"}
        onClick={(event) => {
          event.stopPropagation();
          onBase();
        }}
      >
        <DiffIcon size={15} />
      </span>
    </>
  );
}

async function revert(file: FileRef, version: number): Promise<void> {
  const sure = await confirm({
    title: `Revert ${nameOf(file.path)} to v${version}?`,
    body: (
      <p>The bytes of v{version} become the newest version, and the file on the disk. The versions in between stay.</p>
    ),
    action: `Revert to v${version}`,
  });
  if (!sure) return;
  const done = await withProgress(`Reverting ${nameOf(file.path)}`, () => revertFile(file, version));
  toast(`${nameOf(file.path)} is as in v${version} again, now v${done.version}.`, { kind: "good" });
}

async function restore(file: FileRef): Promise<void> {
  const sure = await confirm({
    title: `Bring ${nameOf(file.path)} back?`,
    body: <p>The file is written to the disk again as it was before it was deleted.</p>,
    action: "Restore",
  });
  if (!sure) return;
  const done = await withProgress(`Restoring ${nameOf(file.path)}`, () => restoreFile(file));
  toast(`${nameOf(file.path)} is back, as v${done.version}.`, { kind: "good" });
}

interface ChosenProps {
  file: FileRef;
  a: number;
  b: number;
  newest: number;
  deleted: boolean;
  fresh: number;
  /// Makes b the version to compare from, or a no longer.
  onPin(): void;
  pinned: boolean;
}

/// The difference between the two chosen versions, with what can be done about them.
function Chosen({ file, a, b, newest, deleted, fresh, onPin, pinned }: ChosenProps) {
  const narrow = useMedia("(max-width: 1000px)");
  const [shape, setShape] = useState<Shape>(() => (recall("diff.shape") as Shape | null) ?? "sides");
  const [whole, setWhole] = useState(false);
  const diff = useLoad(
    (signal) => loadDiff(file, a, b, whole, signal),
    [file.store, file.key.encoded, a, b, whole, fresh],
  );
  const shown = narrow ? "inline" : shape;
  const choose = (next: Shape) => {
    setShape(next);
    remember("diff.shape", next);
  };
  useActions([
    {
      id: "files.shape",
      title: "Side by side or inline",
      group: "Files",
      keys: "d",
      run: () => choose(shape === "sides" ? "inline" : "sides"),
    },
    { id: "files.whole", title: "Changes or the whole file", group: "Files", keys: "w", run: () => setWhole(!whole) },
    ...(b !== newest
      ? [
          {
            id: "files.revert",
            title: `Revert to v${b}`,
            group: "Files",
            keys: "r",
            run: () => void revert(file, b).catch(complain),
          },
        ]
      : []),
    ...(deleted
      ? [
          {
            id: "files.restore",
            title: "Restore the deleted file",
            group: "Files",
            run: () => void restore(file).catch(complain),
          },
        ]
      : []),
  ]);
  const value = diff.value;
  return (
    <div class="stack fill">
      <div class="pane-head wraps">
        <strong class="nums">{a > 0 ? `v${a} → v${b}` : `v${b}`}</strong>
        <Button small kind="ghost" icon={pinned ? CloseIcon : DiffIcon} aria-pressed={pinned} onClick={onPin}>
          {pinned ? `From v${a}` : `Compare from v${b}`}
        </Button>
        {value && !value.binary && (
          <span class="nums">
            <span class="plus">+{value.added}</span> <span class="minus">−{value.removed}</span>
          </span>
        )}
        <span class="grow" />
        <Segments
          label="How much"
          value={whole ? "whole" : "changes"}
          onChange={(next) => setWhole(next === "whole")}
          options={[
            { id: "changes", title: "Changes" },
            { id: "whole", title: "Whole file" },
          ]}
        />
        {!narrow && (
          <Segments
            label="How the difference is shown"
            value={shape}
            onChange={choose}
            options={[
              { id: "sides", title: "Side by side" },
              { id: "inline", title: "Inline" },
            ]}
          />
        )}
        {deleted && (
          <Button small kind="primary" icon={UndoIcon} onClick={() => void restore(file).catch(complain)}>
            Restore…
          </Button>
        )}
        {b !== newest && (
          <Button small icon={HistoryIcon} onClick={() => void revert(file, b).catch(complain)}>
            Revert to v{b}…
          </Button>
        )}
      </div>
      {value?.cut && <p class="notice">This is not all of it: the difference is too long to be shown whole.</p>}
      {diff.error && !value ? (
        <Failed error={diff.error} />
      ) : !value ? (
        <Loading label="Comparing" />
      ) : value.binary ? (
        <Empty icon={FilesIcon} title="These bytes are not text">
          <p>
            {formatBytes(value.a.size)} before, {formatBytes(value.b.size)} after.
          </p>
        </Empty>
      ) : value.same && !whole ? (
        <Empty icon={FilesIcon} title="Nothing differs">
          <p>Both versions hold the same bytes.</p>
        </Empty>
      ) : (
        <DiffView key={`${a} ${b} ${whole}`} diff={value} shape={shown} label={`Differences from v${a} to v${b}`} />
      )}
    </div>
  );
}

/// One file: its versions, and two of them compared.
export function FilePane({ file, place, root }: { file: FileRef; place: Place; root: string }) {
  const now = useNow();
  const narrow = useMedia("(max-width: 760px)");
  const [facts, setFacts] = useState({ deleted: false, lock: "" });
  const [fresh, setFresh] = useState(0);
  const versions = usePaged(
    async (offset, limit, signal) => {
      const page = await loadVersions(file, offset, limit, signal);
      setFacts({ deleted: page.deleted, lock: page.lock });
      return page;
    },
    [file.store, file.key.encoded],
  );
  useLive(["file"], (event) => {
    if (event.kind === "file" && (event.store !== file.store || event.path !== file.path)) return;
    versions.reload();
    setFresh((before) => before + 1);
  });

  const newest = versions.row(0)?.version ?? 0;
  const b = Number(place.b) || newest;
  // Rows are the newest first, and numbers may be missing, so the row is looked for near where it should be.
  const selected = useMemo(() => {
    for (let index = Math.max(0, newest - b - 64); index <= newest - b; index += 1)
      if (versions.row(index)?.version === b) return index;
    return versions.total >= 0 && newest - b < versions.total ? newest - b : -1;
  }, [newest, b, versions.total, versions.row(0)]);
  const before = versions.row(selected + 1)?.version ?? Math.max(0, b - 1);
  const a = Number(place.a) || before;
  const pin = (version: number) => goTo(place, { a: Number(place.a) === version ? "" : String(version), b: String(b) });
  useActions([
    { id: "files.base", title: "Compare from the chosen version", group: "Files", keys: "p", run: () => pin(b) },
    {
      id: "files.close",
      title: "Close the file",
      group: "Files",
      keys: "Escape",
      run: () => goTo(place, { file: "", path: "", pathKey: "", a: "", b: "" }),
    },
  ]);

  const list = (
    <VirtualList
      class="versions"
      label={`Versions of ${nameOf(file.path)}`}
      count={Math.max(0, versions.total)}
      rowRem={3}
      selected={selected}
      onRange={versions.onRange}
      onSelect={(index) => {
        const version = versions.row(index);
        if (version) goTo(place, { b: String(version.version) }, { replace: true });
      }}
      render={(index) => {
        const version = versions.row(index);
        return (
          <VersionRow
            version={version}
            now={now}
            base={version !== undefined && place.a !== "" && Number(place.a) === version.version}
            onBase={() => version && pin(version.version)}
          />
        );
      }}
    />
  );
  return (
    <div class="stack fill">
      <div class="item-head">
        <IconButton
          class="back"
          icon={ArrowLeftIcon}
          label="Back to the list"
          onClick={() => goTo(place, { file: "", path: "", pathKey: "", a: "", b: "" })}
        />
        <div class="stack grow">
          <h2 class="truncate">{nameOf(file.path)}</h2>
          <p class="faint small truncate" title={`${root}/${file.path}`}>
            {root}/{folderOf(file.path)}
          </p>
        </div>
        {facts.deleted && <span class="chip bad">deleted</span>}
        {facts.lock && <span class="chip warn">locked by {facts.lock}</span>}
        {versions.total >= 0 &&
          (narrow && place.b ? (
            <Button small icon={HistoryIcon} onClick={() => goTo(place, { a: "", b: "" })}>
              {plural(versions.total, "version")}
            </Button>
          ) : (
            <span class="chip nums">{plural(versions.total, "version")}</span>
          ))}
      </div>
      {versions.error && versions.total < 0 ? (
        <Failed error={versions.error}>
          <Button onClick={versions.reload}>Try again</Button>
        </Failed>
      ) : versions.total < 0 ? (
        <Loading />
      ) : (
        <div class="history fill">
          <Split
            id="versions"
            label="Width of the list of versions"
            initialRem={16}
            leastRem={11}
            first={list}
            showSecond={place.b !== ""}
            second={
              newest > 0 ? (
                <Chosen
                  file={file}
                  a={a}
                  b={b}
                  newest={newest}
                  deleted={facts.deleted}
                  fresh={fresh}
                  pinned={place.a !== ""}
                  onPin={() => pin(place.a ? Number(place.a) : b)}
                />
              ) : (
                <Loading />
              )
            }
          />
        </div>
      )}
    </div>
  );
}
