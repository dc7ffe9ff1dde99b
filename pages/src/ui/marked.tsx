import { useMemo } from "preact/hooks";

/// A text in which some words are marked, whatever their case.
export function Marked({ text, words }: { text: string; words: readonly string[] }) {
  const pieces = useMemo(() => {
    const wanted = [...new Set(words.filter(Boolean))].sort((a, b) => b.length - a.length);
    if (wanted.length === 0) return [text];
    const escaped = wanted.map((word) => word.replace(/[.*+?^${}()|[\]\\]/g, "\\$&"));
    return text.split(new RegExp(`(${escaped.join("|")})`, "iu"));
  }, [text, words.join("\n")]);
  return <>{pieces.map((piece, index) => (index % 2 === 1 ? <mark key={index}>{piece}</mark> : piece))}</>;
}
