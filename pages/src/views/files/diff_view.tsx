import { useMemo, useRef } from "preact/hooks";
import { VirtualList } from "../../ui/virtual_list";
import { plural } from "../../util/format";
import type { Diff } from "./data";
import { inline, longest, sideBySide, type Line, type Row } from "./rows";
import { compareWords, type Piece } from "./words";

export type Shape = "sides" | "inline";

const widest = 600;

function Text({ text, pieces }: { text: string; pieces?: Piece[] | undefined }) {
  return (
    <span class="line">
      <code>
        {pieces
          ? pieces.map((piece, index) =>
              piece.changed ? (
                <span key={index} class="word">
                  {piece.text}
                </span>
              ) : (
                piece.text
              ),
            )
          : text || " "}
      </code>
    </span>
  );
}

function Half({ line, sign, pieces }: { line: Line | undefined; sign: "" | "-" | "+"; pieces?: Piece[] | undefined }) {
  const kind = !line ? "none" : sign === "-" ? "del" : sign === "+" ? "add" : "";
  return (
    <div class={`half ${kind}`}>
      <span class="number" aria-hidden="true">
        {line?.number}
      </span>
      <span class="sign" aria-hidden={!sign}>
        {sign}
      </span>
      {line && <Text text={line.text} pieces={pieces} />}
    </div>
  );
}

function Gap({ count }: { count: number }) {
  return <div class="gap">{plural(count, "equal line")}</div>;
}

function InlineRow({ row }: { row: Exclude<Row, { kind: "gap" }> }) {
  const words = useMemo(() => row.kind === "changed" && row.pair && compareWords(...row.pair), [row]);
  const removed = row.kind === "changed" && row.left !== undefined;
  const line = row.left ?? row.right!;
  const kind = row.kind === "same" ? "" : removed ? "del" : "add";
  return (
    <div class={`half whole ${kind}`}>
      <span class="number" aria-hidden="true">
        {row.left?.number}
      </span>
      <span class="number" aria-hidden="true">
        {row.right?.number}
      </span>
      <span class="sign" aria-hidden={!kind}>
        {kind === "del" ? "-" : kind === "add" ? "+" : ""}
      </span>
      <Text text={line.text} pieces={words ? words[removed ? 0 : 1] : undefined} />
    </div>
  );
}

function SidesRow({ row }: { row: Exclude<Row, { kind: "gap" }> }) {
  const words = useMemo(() => row.kind === "changed" && row.pair && compareWords(...row.pair), [row]);
  const changed = row.kind === "changed";
  return (
    <>
      <Half line={row.left} sign={changed && row.left ? "-" : ""} pieces={words ? words[0] : undefined} />
      <Half line={row.right} sign={changed && row.right ? "+" : ""} pieces={words ? words[1] : undefined} />
    </>
  );
}

/// Two versions, line by line. Only the rows in sight exist. Long lines move sideways all at once, under the one
/// bar at the bottom, so that both halves stay in sight.
export function DiffView({ diff, shape, label }: { diff: Diff; shape: Shape; label: string }) {
  const box = useRef<HTMLDivElement>(null);
  const bar = useRef<HTMLDivElement>(null);
  const rows = useMemo(() => {
    const sides = sideBySide(diff);
    return shape === "sides" ? sides : inline(sides);
  }, [diff, shape]);
  const width = Math.min(
    widest,
    useMemo(() => longest(rows), [rows]),
  );
  return (
    <div
      ref={box}
      class={`diff ${shape} fill stack`}
      style={{ "--columns": String(width) }}
      onWheel={(event) => {
        if (bar.current && event.deltaX !== 0) bar.current.scrollLeft += event.deltaX;
      }}
      onKeyDown={(event) => {
        const step = { ArrowLeft: -80, ArrowRight: 80 }[event.key];
        if (!bar.current || step === undefined || event.altKey || event.ctrlKey || event.metaKey) return;
        event.preventDefault();
        bar.current.scrollLeft += step;
      }}
    >
      <VirtualList
        label={label}
        count={rows.length}
        rowRem={1.5}
        render={(index) => {
          const row = rows[index]!;
          if (row.kind === "gap") return <Gap count={row.count} />;
          return shape === "sides" ? <SidesRow row={row} /> : <InlineRow row={row} />;
        }}
      />
      <div
        ref={bar}
        class="sideways"
        tabIndex={-1}
        aria-hidden="true"
        onScroll={(event) => box.current?.style.setProperty("--x", `${-event.currentTarget.scrollLeft}px`)}
      >
        <div />
      </div>
    </div>
  );
}
