import type { ComponentChildren } from "preact";
import { useEffect, useId, useLayoutEffect, useRef, useState } from "preact/hooks";
import { useLatest, useRem } from "../util/hooks";

interface VirtualListProps {
  label: string;
  count: number;
  /// The height of every row, in rem.
  rowRem: number;
  render(index: number): ComponentChildren;
  keyOf?(index: number): string | number;
  /// -1 or absent: none.
  selected?: number;
  /// A click, Enter, or an arrow key: the list is used like a menu of what is beside it.
  onSelect?(index: number): void;
  /// Called when the last rows come near, for lists that are fetched in pieces.
  onNearEnd?(): void;
  /// Called with the first and last visible rows, for rows that are fetched as they are shown.
  onRange?(first: number, last: number): void;
  /// Keeps the newest row in sight when rows are appended, as long as the end was in sight.
  stickToEnd?: boolean;
  class?: string;
}

const overscan = 8;
/// Browsers lay out no more than about 33 million pixels; beyond this the scroll bar is scaled.
const tallest = 16_000_000;

/// A list of any length of which only the visible rows exist. With onSelect it is a listbox: arrows, Page
/// Up and Down, Home, End and Enter work; without, its rows are for reading and it only scrolls.
export function VirtualList(props: VirtualListProps) {
  const { label, count, rowRem, render, keyOf, selected = -1, onSelect, onNearEnd, onRange, stickToEnd } = props;
  const id = useId();
  const rem = useRem();
  const row = Math.round(rowRem * rem);
  const box = useRef<HTMLDivElement>(null);
  const [view, setView] = useState({ top: 0, height: 600 });
  const [current, setCurrent] = useState(Math.max(selected, 0));
  const atEnd = useRef(true);

  const full = count * row;
  const shown = Math.min(full, tallest);
  // From the scroll bar's place to the place in the list, and back; 1 for all but enormous lists.
  const scale = full > tallest ? (full - view.height) / (tallest - view.height) : 1;
  const top = view.top * scale;
  const first = Math.max(0, Math.floor(top / row) - overscan);
  const last = Math.min(count - 1, Math.ceil((top + view.height) / row) + overscan);

  useLayoutEffect(() => {
    const element = box.current!;
    const measure = () => setView({ top: element.scrollTop, height: element.clientHeight });
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    measure();
    return () => observer.disconnect();
  }, []);

  useLayoutEffect(() => {
    const element = box.current!;
    if (stickToEnd && atEnd.current) element.scrollTop = element.scrollHeight;
    // A list that got shorter moves by itself; we only have to notice.
    if (element.scrollTop !== view.top) setView({ top: element.scrollTop, height: element.clientHeight });
  }, [count, row]);

  const latest = useLatest({ onNearEnd, onRange });
  useEffect(() => {
    if (last >= count - 1 - overscan && count > 0) latest.current.onNearEnd?.();
  }, [last, count]);
  useEffect(() => {
    if (count > 0) latest.current.onRange?.(first, last);
  }, [first, last, count]);

  const bringIntoView = (index: number) => {
    const element = box.current!;
    const start = index * row;
    if (start < element.scrollTop * scale) element.scrollTop = start / scale;
    else if (start + row > element.scrollTop * scale + element.clientHeight) {
      element.scrollTop = (start + row - element.clientHeight) / scale;
    }
  };

  useLayoutEffect(() => {
    if (selected < 0) return;
    setCurrent(selected);
    bringIntoView(selected);
  }, [selected]);

  const moveTo = (index: number) => {
    const next = Math.max(0, Math.min(count - 1, index));
    setCurrent(next);
    bringIntoView(next);
    onSelect?.(next);
  };

  const onKeyDown = (event: KeyboardEvent) => {
    if (!onSelect || count === 0 || event.ctrlKey || event.altKey || event.metaKey) return;
    const page = Math.max(1, Math.floor(view.height / row) - 1);
    const target: Record<string, number> = {
      ArrowDown: current + 1,
      ArrowUp: current - 1,
      PageDown: current + page,
      PageUp: current - page,
      Home: 0,
      End: count - 1,
      Enter: current,
      " ": current,
    };
    const index = target[event.key];
    if (index === undefined) return;
    event.preventDefault();
    moveTo(index);
  };

  const rows = [];
  for (let index = first; index <= last; index += 1) {
    rows.push(
      <div
        key={keyOf ? keyOf(index) : index}
        id={`${id}-${index}`}
        style={{ top: `${index * row - (top - view.top)}px`, height: `${row}px` }}
        class={`vlist-row${index === current ? " current" : ""}`}
        {...(onSelect
          ? {
              role: "option",
              "aria-selected": index === selected,
              "aria-setsize": count,
              "aria-posinset": index + 1,
              onClick: () => moveTo(index),
            }
          : { role: "listitem", "aria-setsize": count, "aria-posinset": index + 1 })}
      >
        {render(index)}
      </div>,
    );
  }

  const active = onSelect && current >= first && current <= last ? `${id}-${current}` : undefined;
  return (
    <div
      ref={box}
      class={`vlist${onSelect ? "" : " plain"} ${props.class ?? ""}`}
      role={onSelect ? "listbox" : "list"}
      aria-label={label}
      tabIndex={0}
      aria-activedescendant={active}
      onKeyDown={onKeyDown}
      onScroll={(event) => {
        const element = event.currentTarget;
        atEnd.current = element.scrollTop + element.clientHeight >= element.scrollHeight - row;
        setView({ top: element.scrollTop, height: element.clientHeight });
      }}
    >
      <div class="vlist-space" role="presentation" style={{ height: `${shown}px` }}>
        {rows}
      </div>
    </div>
  );
}
