import { signal } from "@preact/signals";
import { useId, useMemo, useRef, useState } from "preact/hooks";
import { allActions, everywhere, keyNames, type Action } from "./actions";
import { Dialog } from "./dialog";

const open = signal<"palette" | "keys" | null>(null);

export function showPalette(): void {
  open.value = "palette";
}
export function showKeys(): void {
  open.value = "keys";
}

export function Keys({ keys }: { keys: string }) {
  return (
    <span class="keys">
      {keyNames(keys).map((name, index) => (
        <kbd key={index} class="kbd">
          {name}
        </kbd>
      ))}
    </span>
  );
}

/// The letters of what was typed occur in the title in this order; how well, the higher the better, or
/// nothing.
function score(title: string, typed: string): number | undefined {
  const text = title.toLowerCase();
  const wanted = typed.toLowerCase().replaceAll(" ", "");
  const whole = text.indexOf(typed.toLowerCase());
  if (whole >= 0) return 1000 - whole;
  let at = -1;
  let gaps = 0;
  for (const letter of wanted) {
    const next = text.indexOf(letter, at + 1);
    if (next < 0) return undefined;
    gaps += next - at - 1;
    at = next;
  }
  return 500 - gaps;
}

function Palette({ close }: { close(): void }) {
  const [typed, setTyped] = useState("");
  const [at, setAt] = useState(0);
  const id = useId();
  const list = useRef<HTMLUListElement>(null);
  // The view's own come before those that are always there.
  const actions = useMemo(
    () => [...allActions()].sort((a, b) => Number(a.group === everywhere) - Number(b.group === everywhere)),
    [],
  );
  const found = useMemo(
    () =>
      actions
        .map((action) => ({ action, points: score(`${action.group} ${action.title}`, typed) }))
        .filter((entry): entry is { action: Action; points: number } => entry.points !== undefined)
        .sort((a, b) => b.points - a.points)
        .map((entry) => entry.action),
    [typed],
  );
  const run = (action: Action | undefined) => {
    if (!action) return;
    close();
    // After the dialog has given the focus back, so that the action may take it.
    setTimeout(action.run);
  };
  const move = (to: number) => {
    const next = (to + found.length) % Math.max(found.length, 1);
    setAt(next);
    list.current?.children[next]?.scrollIntoView({ block: "nearest" });
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.key === "ArrowDown") move(at + 1);
    else if (event.key === "ArrowUp") move(at - 1);
    else if (event.key === "Enter") run(found[at]);
    else return;
    event.preventDefault();
  };
  return (
    <Dialog title="Commands" onClose={close} bare class="palette">
      <input
        class="palette-input"
        data-autofocus
        placeholder="Type a command"
        role="combobox"
        aria-label="Command"
        aria-expanded="true"
        aria-controls={`${id}-list`}
        aria-activedescendant={found[at] ? `${id}-${at}` : undefined}
        autocomplete="off"
        spellcheck={false}
        value={typed}
        onKeyDown={onKeyDown}
        onInput={(event) => {
          setTyped(event.currentTarget.value);
          setAt(0);
        }}
      />
      <ul ref={list} class="palette-list" role="listbox" id={`${id}-list`} aria-label="Commands">
        {found.map((action, index) => (
          <li
            key={action.id}
            id={`${id}-${index}`}
            role="option"
            aria-selected={index === at}
            onMouseMove={() => setAt(index)}
            onClick={() => run(action)}
          >
            <span class="grow truncate">{action.title}</span>
            <span class="group">{action.group}</span>
            {action.keys && <Keys keys={action.keys} />}
          </li>
        ))}
        {found.length === 0 && (
          <li role="option" aria-selected="false" aria-disabled="true" class="faint">
            Nothing is called that
          </li>
        )}
      </ul>
    </Dialog>
  );
}

function KeysOverlay({ close }: { close(): void }) {
  const groups = new Map<string, Action[]>();
  for (const action of allActions()) {
    if (action.keys) groups.set(action.group, [...(groups.get(action.group) ?? []), action]);
  }
  return (
    <Dialog title="Keys" onClose={close} wide>
      <div class="help-grid">
        {[...groups].map(([group, actions]) => (
          <section key={group}>
            <h3>{group}</h3>
            <ul>
              {actions.map((action) => (
                <li key={action.id}>
                  <span>{action.title}</span>
                  <Keys keys={action.keys!} />
                </li>
              ))}
            </ul>
          </section>
        ))}
        <section>
          <h3>In a list</h3>
          <ul>
            <li>
              <span>Move</span>
              <Keys keys="ArrowUp ArrowDown" />
            </li>
            <li>
              <span>Move by a page, to an end</span>
              <Keys keys="PgUp PgDn Home End" />
            </li>
            <li>
              <span>Open</span>
              <Keys keys="Enter" />
            </li>
          </ul>
        </section>
        <section>
          <h3>In a field</h3>
          <ul>
            <li>
              <span>Leave it</span>
              <Keys keys="Escape" />
            </li>
          </ul>
        </section>
      </div>
    </Dialog>
  );
}

/// The palette and the overlay of keys, when one of them is open; once per page.
export function PaletteHost() {
  const close = () => {
    open.value = null;
  };
  if (open.value === "palette") return <Palette close={close} />;
  return open.value === "keys" ? <KeysOverlay close={close} /> : null;
}
