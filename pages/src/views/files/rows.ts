import type { Diff } from "./data";

/// One line of one side.
export interface Line {
  number: number;
  text: string;
}
/// One row of a shown difference. A changed row has what was and what is; inline it is shown as two.
export type Row =
  | { kind: "same"; left: Line; right: Line }
  | { kind: "changed"; left?: Line; right?: Line; pair?: [string, string] }
  | { kind: "gap"; count: number; line: number };

/// The rows side by side: what was removed stands beside what came in its place.
export function sideBySide(diff: Diff): Row[] {
  const rows: Row[] = [];
  let removed: Line[] = [];
  let added: Line[] = [];
  const flush = () => {
    for (let i = 0; i < Math.max(removed.length, added.length); i += 1) {
      const left = removed[i];
      const right = added[i];
      rows.push({
        kind: "changed",
        ...(left && { left }),
        ...(right && { right }),
        ...(left && right && { pair: [left.text, right.text] as [string, string] }),
      });
    }
    removed = [];
    added = [];
  };
  for (const run of diff.runs) {
    if (run.change === "same") flush();
    if (!run.lines) {
      rows.push({ kind: "gap", count: run.count, line: run.line2 });
      continue;
    }
    run.lines.forEach((text, index) => {
      const left = { number: run.line1 + index + 1, text };
      const right = { number: run.line2 + index + 1, text };
      if (run.change === "same") rows.push({ kind: "same", left, right });
      else if (run.change === "removed") removed.push(left);
      else added.push(right);
    });
  }
  flush();
  return rows;
}

/// The same one below the other: all that was removed in a place, then all that was added.
export function inline(rows: readonly Row[]): Row[] {
  const flat: Row[] = [];
  let added: Row[] = [];
  for (const row of rows) {
    if (row.kind !== "changed") {
      flat.push(...added, row);
      added = [];
      continue;
    }
    const pair = row.pair && { pair: row.pair };
    if (row.left) flat.push({ kind: "changed", left: row.left, ...pair });
    if (row.right) added.push({ kind: "changed", right: row.right, ...pair });
  }
  return [...flat, ...added];
}

/// The length of the longest line, for the width of the whole.
export function longest(rows: readonly Row[]): number {
  return rows.reduce(
    (most, row) =>
      row.kind === "gap" ? most : Math.max(most, row.left?.text.length ?? 0, row.right?.text.length ?? 0),
    0,
  );
}
