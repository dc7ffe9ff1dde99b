/// Which words of two lines differ.

export interface Piece {
  text: string;
  changed: boolean;
}

const mostTokens = 400;
const tokensOf = (line: string): string[] => line.match(/[\p{L}\p{N}_]+|\s+|[^\p{L}\p{N}_\s]/gu) ?? [];

/// For each token of both sides, whether a longest common subsequence leaves it out.
function compare(a: string[], b: string[]): [boolean[], boolean[]] {
  const width = b.length + 1;
  const lengths = new Uint16Array((a.length + 1) * width);
  for (let i = a.length - 1; i >= 0; i -= 1) {
    for (let j = b.length - 1; j >= 0; j -= 1) {
      lengths[i * width + j] =
        a[i] === b[j]
          ? lengths[(i + 1) * width + j + 1]! + 1
          : Math.max(lengths[(i + 1) * width + j]!, lengths[i * width + j + 1]!);
    }
  }
  const left = a.map(() => true);
  const right = b.map(() => true);
  for (let i = 0, j = 0; i < a.length && j < b.length;) {
    if (a[i] === b[j]) {
      left[i] = right[j] = false;
      i += 1;
      j += 1;
    } else if (lengths[(i + 1) * width + j]! >= lengths[i * width + j + 1]!) i += 1;
    else j += 1;
  }
  return [left, right];
}

function join(tokens: string[], changed: boolean[]): Piece[] {
  const pieces: Piece[] = [];
  tokens.forEach((text, index) => {
    const last = pieces.at(-1);
    if (last && last.changed === changed[index]) last.text += text;
    else pieces.push({ text, changed: changed[index]! });
  });
  return pieces;
}

/// A line before and after, in pieces; nothing where the two have so little in common that marks would only
/// be noise, or are too long to compare.
export function compareWords(before: string, after: string): [Piece[], Piece[]] | undefined {
  const a = tokensOf(before);
  const b = tokensOf(after);
  if (a.length === 0 || b.length === 0 || a.length > mostTokens || b.length > mostTokens) return undefined;
  const [left, right] = compare(a, b);
  const kept = a.reduce((sum, token, index) => sum + (left[index] ? 0 : token.trim().length), 0);
  if (kept * 4 < Math.max(before.trim().length, after.trim().length)) return undefined;
  return [join(a, left), join(b, right)];
}
