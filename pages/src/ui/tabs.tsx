import { useId, useRef } from "preact/hooks";
import type { ComponentChildren } from "preact";

interface TabsProps<T extends string> {
  label: string;
  tabs: readonly { id: T; title: ComponentChildren }[];
  value: T;
  onChange(value: T): void;
  /// What the chosen tab shows.
  children: ComponentChildren;
}

/// Tabs above one panel; the arrow keys go from one to the next.
export function Tabs<T extends string>({ label, tabs, value, onChange, children }: TabsProps<T>) {
  const id = useId();
  const list = useRef<HTMLDivElement>(null);
  const onKeyDown = (event: KeyboardEvent) => {
    const at = tabs.findIndex((tab) => tab.id === value);
    const to = { ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: tabs.length - 1 }[event.key];
    if (to === undefined) return;
    event.preventDefault();
    const index = (to + tabs.length) % tabs.length;
    onChange(tabs[index]!.id);
    (list.current?.children[index] as HTMLElement | undefined)?.focus();
  };
  return (
    <div class="stack fill">
      <div ref={list} class="tabs" role="tablist" aria-label={label} onKeyDown={onKeyDown}>
        {tabs.map((tab) => (
          <button
            key={tab.id}
            type="button"
            role="tab"
            id={`${id}-${tab.id}`}
            aria-selected={tab.id === value}
            aria-controls={`${id}-panel`}
            tabIndex={tab.id === value ? 0 : -1}
            onClick={() => onChange(tab.id)}
          >
            {tab.title}
          </button>
        ))}
      </div>
      <div class="stack fill" role="tabpanel" id={`${id}-panel`} aria-labelledby={`${id}-${value}`}>
        {children}
      </div>
    </div>
  );
}
