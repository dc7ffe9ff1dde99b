import { useEffect, useId, useRef, useState } from "preact/hooks";
import { IconButton } from "./button";
import type { IconComponent } from "./icons";

export interface MenuItem {
  title: string;
  icon?: IconComponent;
  danger?: boolean;
  run(): void;
}

/// A button that opens a list of further commands. Arrow keys move, Escape closes.
export function Menu({
  label,
  icon,
  items,
  small,
}: {
  label: string;
  icon: IconComponent;
  items: readonly MenuItem[];
  small?: boolean;
}) {
  const [open, setOpen] = useState(false);
  const id = useId();
  const box = useRef<HTMLDivElement>(null);
  const entries = () => [...(box.current?.querySelectorAll<HTMLElement>("[role=menuitem]") ?? [])];
  const opener = () => box.current?.querySelector<HTMLElement>("[aria-haspopup]");

  useEffect(() => {
    if (!open) return;
    entries()[0]?.focus();
    const away = (event: Event) => !box.current?.contains(event.target as Node) && setOpen(false);
    document.addEventListener("pointerdown", away);
    document.addEventListener("focusin", away);
    return () => {
      document.removeEventListener("pointerdown", away);
      document.removeEventListener("focusin", away);
    };
  }, [open]);

  const onKeyDown = (event: KeyboardEvent) => {
    if (!open) return;
    const all = entries();
    const at = all.indexOf(document.activeElement as HTMLElement);
    const to = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: all.length - 1 }[event.key];
    if (to !== undefined) all[(to + all.length) % all.length]?.focus();
    else if (event.key === "Escape") {
      setOpen(false);
      opener()?.focus();
    } else return;
    event.preventDefault();
    event.stopPropagation();
  };
  const choose = (item: MenuItem) => {
    setOpen(false);
    opener()?.focus();
    item.run();
  };

  return (
    <div ref={box} class="menu" onKeyDown={onKeyDown}>
      <IconButton
        label={label}
        icon={icon}
        aria-haspopup="menu"
        aria-expanded={open}
        aria-controls={open ? id : undefined}
        {...(small && { small })}
        onClick={() => setOpen(!open)}
      />
      {open && (
        <div class="popover" role="menu" id={id} aria-label={label}>
          {items.map(({ title, icon: Icon, danger, ...item }) => (
            <button
              key={title}
              type="button"
              role="menuitem"
              tabIndex={-1}
              class={`menu-item ${danger ? "bad" : ""}`}
              onClick={() => choose({ title, ...item })}
            >
              {Icon && <Icon size={16} />}
              {title}
            </button>
          ))}
        </div>
      )}
    </div>
  );
}
