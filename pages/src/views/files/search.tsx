import { useMemo, useState } from "preact/hooks";
import { Segments } from "../../ui/button";
import { Empty, Failed } from "../../ui/empty";
import { SearchField } from "../../ui/field";
import { SearchIcon } from "../../ui/icons";
import { Loading } from "../../ui/progress";
import { formatCount, plural } from "../../util/format";
import { useLoad, useNow } from "../../util/hooks";
import { usePaged } from "../../util/paged";
import { goTo, showing, type Place } from "./address";
import { findFiles, grepFiles, nameOf, folderOf, refOf, type Match, type MatchedFile } from "./data";
import { FileLine, OpenList } from "./folders";

const modes = [
  { id: "names", title: "Name" },
  { id: "query", title: "Query" },
  { id: "grep", title: "Lines" },
] as const;
type Mode = (typeof modes)[number]["id"];

const hints: Record<Mode, { placeholder: string; text: preact.ComponentChildren }> = {
  names: {
    placeholder: "build*.cpp",
    text: (
      <>
        Part of a name or path, or a glob: <code>src/*_test.cpp</code>
      </>
    ),
  },
  query: {
    placeholder: 'name()=="*.h" && body("todo")',
    text: (
      <>
        An expression over names, folders, keywords and text: <code>topics("src") &amp;&amp; !deleted()</code>
      </>
    ),
  },
  grep: {
    placeholder: "open\\(.*O_RDONLY",
    text: <>A regular expression, searched in the current bytes of every file</>,
  },
};

function Problem({ text }: { text: string }) {
  return (
    <Empty icon={SearchIcon} title="Not yet an expression">
      <p role="status">{text}</p>
    </Empty>
  );
}

function Found({ place, mode }: { place: Place; mode: "names" | "query" }) {
  const now = useNow();
  const [problem, setProblem] = useState<string>();
  const found = usePaged(
    async (offset, limit, signal) => {
      const page = await findFiles(mode, place.q, place.store, offset, limit, signal);
      setProblem(page.problem);
      return page;
    },
    [mode, place.q, place.store],
  );
  if (found.error && found.total < 0) return <Failed error={found.error} />;
  if (found.total < 0) return <Loading label="Searching" />;
  if (problem) return <Problem text={problem} />;
  if (found.total === 0) return <Empty icon={SearchIcon} title="Nothing fits" />;
  return (
    <>
      <p class="found faint small" role="status">
        {plural(found.total, "file")}
      </p>
      <OpenList
        label="Files found"
        count={found.total}
        onRange={found.onRange}
        onOpen={(index) => {
          const row = found.row(index);
          if (row) goTo(place, showing(refOf(row.store, row.file)));
        }}
        render={(index) => {
          const row = found.row(index);
          return row ? <FileLine file={row.file} now={now} path /> : <span class="faint">…</span>;
        }}
      />
    </>
  );
}

type GrepRow = { file: MatchedFile; match?: Match };

function Grepped({ place }: { place: Place }) {
  const options = { case: place.options.includes("c"), literal: place.options.includes("l") };
  const found = useLoad(
    (signal) => grepFiles(place.q, place.store, options, signal),
    [place.q, place.store, place.options],
  );
  const rows = useMemo<GrepRow[]>(
    () => (found.value?.files ?? []).flatMap((file) => [{ file }, ...file.lines.map((match) => ({ file, match }))]),
    [found.value],
  );
  if (found.error) return <Failed error={found.error} />;
  if (!found.value) return <Loading label="Searching" />;
  if (found.value.problem) return <Problem text={found.value.problem} />;
  if (rows.length === 0) return <Empty icon={SearchIcon} title="No line fits" />;
  const { matched, found: all, shown } = found.value;
  return (
    <>
      <p class="found faint small" role="status">
        {plural(all, "line")} in {plural(matched, "file")}
        {shown < all && `, the first ${formatCount(shown)} are shown`}
      </p>
      <OpenList
        label="Lines found"
        count={rows.length}
        rowRem={1.8}
        onOpen={(index) => goTo(place, showing(refOf(rows[index]!.file.store, rows[index]!.file)))}
        render={(index) => {
          const { file, match } = rows[index]!;
          if (!match)
            return (
              <span class="truncate">
                <strong>{nameOf(file.path)}</strong> <span class="faint">{folderOf(file.path)}</span>
              </span>
            );
          return (
            <>
              <span class="line-number faint nums">{match.line}</span>
              <code class="truncate">
                {match.lead && "…"}
                {match.before.trimStart()}
                <mark>{match.hit}</mark>
                {match.after}
              </code>
            </>
          );
        }}
      />
    </>
  );
}

/// Files by name, by a query expression, and by their lines.
export function Search({ place }: { place: Place }) {
  const mode = modes.find((one) => one.id === place.mode)?.id ?? "names";
  const toggle = (letter: string) =>
    goTo(
      place,
      { options: place.options.includes(letter) ? place.options.replace(letter, "") : place.options + letter },
      { replace: true },
    );
  return (
    <>
      <div class="filters stacked">
        <SearchField
          label="Search the files"
          placeholder={hints[mode].placeholder}
          value={place.q}
          onText={(q) => goTo(place, { q }, { replace: true })}
        />
        <div class="row">
          <Segments
            label="What is searched"
            options={modes}
            value={mode}
            onChange={(next) => goTo(place, { mode: next, options: "" }, { replace: true })}
          />
          {mode === "grep" && (
            <>
              <label class="check small">
                <input type="checkbox" checked={place.options.includes("c")} onChange={() => toggle("c")} /> Case
              </label>
              <label class="check small">
                <input type="checkbox" checked={place.options.includes("l")} onChange={() => toggle("l")} /> As it is
              </label>
            </>
          )}
        </div>
      </div>
      {place.q.trim() === "" ? (
        <Empty icon={SearchIcon} title="Search the files">
          <p>{hints[mode].text}</p>
        </Empty>
      ) : mode === "grep" ? (
        <Grepped place={place} />
      ) : (
        <Found key={mode} place={place} mode={mode} />
      )}
    </>
  );
}
