import { useState } from "preact/hooks";
import { useLive } from "../../api/events";
import { Key } from "../../api/form";
import type { ViewProps } from "../../app/views";
import { useActions } from "../../ui/actions";
import { Button } from "../../ui/button";
import { Empty, Failed } from "../../ui/empty";
import { SearchField } from "../../ui/field";
import { ArrowLeftIcon, MemoryIcon, PlusIcon } from "../../ui/icons";
import { Loading } from "../../ui/progress";
import { Split } from "../../ui/split";
import { ViewFrame } from "../../ui/view";
import { formatBytes, plural } from "../../util/format";
import { useLoad, useMedia } from "../../util/hooks";
import { chosenOf, goTo, placeOf, showing, topicOf } from "./address";
import { ContextList } from "./contexts";
import { loadContexts, usualContexts } from "./data";
import { Editor, undoLast, type Editing } from "./edit";
import { Hits, RecentList, TopicList } from "./lists";
import "../../styles/lists.css";
import "./memory.css";
import { TopicPane } from "./topic_pane";

export default function MemoryView(props: ViewProps) {
  const place = placeOf(props);
  const narrow = useMedia("(max-width: 760px)");
  const contexts = useLoad(loadContexts, []);
  const [editing, setEditing] = useState<Editing>();
  const [picking, setPicking] = useState(false);
  useLive(["memory"], () => contexts.reload());
  const topic = topicOf(place);
  const known = contexts.value;
  const create = () => setEditing({ topic: { context: place.context || place.at, topic: "", key: Key.of("") } });
  useActions([
    { id: "memory.new", title: "New memo", group: "Memory", keys: "n", run: create },
    { id: "memory.undo", title: "Take the last change back", group: "Memory", keys: "u", run: undoLast },
    {
      id: "memory.recent",
      title: "What was written",
      group: "Memory",
      keys: "1",
      run: () => goTo(place, { context: "", q: "" }),
    },
  ]);

  if (!known)
    return contexts.error ? (
      <Failed error={contexts.error}>
        <Button onClick={contexts.reload}>Try again</Button>
      </Failed>
    ) : (
      <Loading />
    );
  const chosen = chosenOf(place);
  const contextsShown = chosen.length > 0 ? chosen : usualContexts(known.contexts);
  const list =
    place.q.trim() !== "" ? (
      <Hits place={place} contexts={contextsShown} />
    ) : place.context ? (
      <TopicList key={place.context} place={place} />
    ) : (
      <RecentList place={place} contexts={contextsShown} />
    );
  const picker = <ContextList place={place} contexts={known.contexts} />;
  const middle = narrow ? (
    <>
      <div class="filters">
        <Button
          small
          icon={picking ? ArrowLeftIcon : MemoryIcon}
          aria-expanded={picking}
          onClick={() => setPicking(!picking)}
        >
          {picking ? "Back" : place.context || "Contexts"}
        </Button>
      </div>
      <div
        class="stack fill"
        onClick={(event) => {
          if (picking && (event.target as Element).closest(".open-row")) setPicking(false);
        }}
      >
        {picking ? picker : list}
      </div>
    </>
  ) : (
    <Split
      id="memory.contexts"
      label="Width of the contexts"
      initialRem={17}
      leastRem={11}
      first={picker}
      second={list}
    />
  );
  const bytes = known.contexts.reduce((sum, context) => sum + context.bytes, 0);
  return (
    <ViewFrame
      title="Memory"
      about={
        <>
          {plural(known.contexts.length, "context")}, {formatBytes(bytes)}
        </>
      }
      tools={
        <>
          <SearchField
            class="memory-search"
            label="Search the memory"
            placeholder="Search the memory"
            value={place.q}
            onText={(q) => goTo(place, { q, deep: "" }, { replace: true })}
            onKeyDown={(event) => {
              if (event.key === "Enter" && place.q) goTo(place, { deep: "1" }, { replace: true });
            }}
          />
          <Button kind="primary" icon={PlusIcon} onClick={create}>
            New memo
          </Button>
        </>
      }
    >
      <Split
        id="memory"
        label="Width of the lists"
        initialRem={46}
        leastRem={20}
        showSecond={topic !== undefined}
        first={middle}
        second={
          topic ? (
            <TopicPane key={`${topic.context}/${topic.key.encoded}`} topic={topic} place={place} onEdit={setEditing} />
          ) : (
            <Empty icon={MemoryIcon} title="Choose a memo or a topic">
              <p>Its memos appear here, to be read and changed.</p>
            </Empty>
          )
        }
      />
      {editing && (
        <Editor
          editing={editing}
          contexts={known}
          onClose={() => setEditing(undefined)}
          onSaved={(saved, n) => {
            setEditing(undefined);
            goTo(place, showing(saved, n));
          }}
        />
      )}
    </ViewFrame>
  );
}
