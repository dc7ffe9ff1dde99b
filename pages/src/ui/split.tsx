import type { ComponentChildren } from "preact";
import { useRef, useState } from "preact/hooks";
import { useMedia, useRem } from "../util/hooks";
import { recall, remember } from "../util/storage";

interface SplitProps {
  /// Under this name the place of the bar is remembered.
  id: string;
  /// What the bar separates: its name for a screen reader.
  label: string;
  first: ComponentChildren;
  second: ComponentChildren;
  /// The first pane's size until somebody moves the bar, and its smallest, in rem.
  initialRem?: number;
  leastRem?: number;
  direction?: "across" | "down";
  /// On a narrow window only one pane is shown: the second when this is true.
  showSecond?: boolean;
}

/// Two panes with a bar between them that the mouse and the arrow keys move.
export function Split({
  id,
  label,
  first,
  second,
  initialRem = 22,
  leastRem = 12,
  direction = "across",
  showSecond,
}: SplitProps) {
  const narrow = useMedia("(max-width: 760px)");
  const rem = useRem();
  const box = useRef<HTMLDivElement>(null);
  const [size, setSize] = useState(() => Number(recall(`split.${id}`)) || initialRem);
  const across = direction === "across";

  if (narrow && across) {
    return (
      <div class="split">
        <div class="pane second">{showSecond ? second : first}</div>
      </div>
    );
  }

  const bound = (wanted: number) => {
    const whole = (across ? box.current?.clientWidth : box.current?.clientHeight) ?? 1000;
    return Math.max(leastRem, Math.min(wanted, whole / rem - leastRem));
  };
  const move = (wanted: number) => {
    const next = bound(wanted);
    setSize(next);
    remember(`split.${id}`, next.toFixed(2));
  };
  const onPointerMove = (event: PointerEvent) => {
    if (!(event.currentTarget as Element).hasPointerCapture(event.pointerId)) return;
    const start = box.current!.getBoundingClientRect();
    move((across ? event.clientX - start.left : event.clientY - start.top) / rem);
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const step = event.shiftKey ? 4 : 1;
    const change = { ArrowLeft: -step, ArrowUp: -step, ArrowRight: step, ArrowDown: step }[event.key];
    if (change === undefined) return;
    event.preventDefault();
    move(size + change);
  };

  return (
    <div ref={box} class={`split ${across ? "" : "down"}`}>
      <div
        class="pane first"
        style={{ [across ? "width" : "height"]: `${size}rem`, maxWidth: across ? "70%" : undefined }}
      >
        {first}
      </div>
      <div
        class="bar"
        role="separator"
        tabIndex={0}
        aria-label={label}
        aria-orientation={across ? "vertical" : "horizontal"}
        aria-valuenow={Math.round(size)}
        aria-valuemin={leastRem}
        onPointerDown={(event) => event.currentTarget.setPointerCapture(event.pointerId)}
        onPointerMove={onPointerMove}
        onKeyDown={onKeyDown}
      />
      <div class="pane second">{second}</div>
    </div>
  );
}
