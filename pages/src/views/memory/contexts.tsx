import { Empty } from "../../ui/empty";
import { HistoryIcon, MemoryIcon } from "../../ui/icons";
import { VirtualList } from "../../ui/virtual_list";
import { formatBytes, plural } from "../../util/format";
import { chosenOf, goTo, type Place } from "./address";
import type { Context } from "./data";

interface ContextRowProps {
  context: Context;
  open: boolean;
  searched: boolean;
  onOpen(): void;
  onSearched(): void;
}

function ContextRow({ context, open, searched, onOpen, onSearched }: ContextRowProps) {
  return (
    <>
      <button type="button" class="open-row" aria-current={open} onClick={onOpen}>
        <span class="stack grow">
          <span class="truncate">
            <strong>{context.id}</strong>
          </span>
          <span class="faint small nums truncate">
            {context.loaded ? `${plural(context.topics, "topic")}, ${plural(context.memos, "memo")}, ` : ""}
            {formatBytes(context.bytes)}
            {!context.loaded && (context.legacy ? ", of an older format" : " on disk")}
          </span>
        </span>
      </button>
      <label class="pick" title={`Search ${context.id}`}>
        <input type="checkbox" checked={searched} aria-label={`Search ${context.id}`} onChange={onSearched} />
      </label>
    </>
  );
}

/// All contexts with their sizes; the ticked ones are searched.
export function ContextList({ place, contexts }: { place: Place; contexts: readonly Context[] }) {
  const chosen = chosenOf(place);
  const toggle = (id: string) => {
    const next = chosen.includes(id) ? chosen.filter((one) => one !== id) : [...chosen, id];
    goTo(place, { in: next.join("/") }, { replace: true });
  };
  const open = (context: string) => goTo(place, { context, q: "", filter: "" });
  return (
    <>
      <div class="pane-head">
        <h2>Contexts</h2>
        <span class="push faint">{chosen.length > 0 ? `${chosen.length} searched` : "ticked ones are searched"}</span>
      </div>
      <VirtualList
        class="contexts"
        label="Contexts"
        count={contexts.length + 1}
        rowRem={3.2}
        render={(index) => {
          if (index === 0) {
            return (
              <button type="button" class="open-row" aria-current={!place.q && !place.context} onClick={() => open("")}>
                <HistoryIcon size={16} class="accent" />
                <strong>What was written</strong>
              </button>
            );
          }
          const context = contexts[index - 1]!;
          return (
            <ContextRow
              context={context}
              open={!place.q && place.context === context.id}
              searched={chosen.includes(context.id)}
              onOpen={() => open(context.id)}
              onSearched={() => toggle(context.id)}
            />
          );
        }}
      />
      {contexts.length === 0 && (
        <Empty icon={MemoryIcon} title="Nothing is remembered yet">
          <p>
            <code>mb memory.add me, notes, build, , the build needs VS 17.9</code>
          </p>
        </Empty>
      )}
    </>
  );
}
