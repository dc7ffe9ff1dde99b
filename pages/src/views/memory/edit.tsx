import { useState } from "preact/hooks";
import { Key } from "../../api/form";
import { Button } from "../../ui/button";
import { confirm, Dialog } from "../../ui/dialog";
import { Field, TextField } from "../../ui/field";
import { withProgress } from "../../ui/progress";
import { complain, toast } from "../../ui/toast";
import { plural } from "../../util/format";
import {
  addMemo,
  deleteMemo,
  deleteTopic,
  undo,
  updateMemo,
  type Contexts,
  type Done,
  type Memo,
  type TopicRef,
} from "./data";

let lastUndo = 0;

async function takeBack(number: number): Promise<void> {
  try {
    const back = await undo(number);
    if (lastUndo === number) lastUndo = 0;
    toast(`Taken back: ${back.topic}.`, { kind: "good" });
  } catch (error) {
    complain(error);
  }
}

/// Says what was done, with the offer to take it back.
export function offerUndo(text: string, done: Done): void {
  lastUndo = done.undo;
  const said = done.notice ? `${text} ${done.notice}` : text;
  if (done.undo === 0) toast(`${said} It was too large to be taken back.`, { kind: "warn" });
  else toast(said, { action: { title: "Undo", run: () => void takeBack(done.undo) } });
}

export function undoLast(): void {
  if (lastUndo > 0) void takeBack(lastUndo);
  else toast("There is nothing to take back.");
}

export async function removeMemo(topic: TopicRef, memo: Memo): Promise<void> {
  offerUndo(`Deleted memo ${memo.n} of ${topic.topic}.`, await deleteMemo(topic, memo));
}

export async function removeTopic(topic: TopicRef, memos: number): Promise<void> {
  const sure = await confirm({
    title: `Delete ${topic.topic}?`,
    body: (
      <p>
        {plural(memos, "memo")} of {topic.context} will be deleted. This can be taken back.
      </p>
    ),
    action: "Delete topic",
    danger: true,
  });
  if (!sure) return;
  const done = await withProgress(`Deleting ${topic.topic}`, () => deleteTopic(topic));
  offerUndo(`Deleted ${topic.topic}.`, done);
}

export interface Editing {
  /// Missing: a new memo.
  memo?: Memo & { given: string[] };
  topic: TopicRef;
}

interface EditorProps {
  editing: Editing;
  contexts: Contexts;
  onClose(): void;
  onSaved(topic: TopicRef, n: number): void;
}

/// The dialog in which a memo is written.
export function Editor({ editing: { memo, topic }, contexts, onClose, onSaved }: EditorProps) {
  const [context, setContext] = useState(topic.context);
  const [name, setName] = useState(topic.topic);
  const [types, setTypes] = useState(memo?.types ?? []);
  const [keywords, setKeywords] = useState(
    (memo?.given ?? []).map((word) => (word.includes(" ") ? `"${word}"` : word)).join(" "),
  );
  const [content, setContent] = useState(memo?.text ?? "");
  const [busy, setBusy] = useState(false);
  const toggle = (type: string) =>
    setTypes(types.includes(type) ? types.filter((one) => one !== type) : [...types, type]);
  const ready = context.trim() !== "" && name.trim() !== "" && content.trim() !== "";

  const save = async () => {
    if (!ready || busy) return;
    setBusy(true);
    try {
      const key = memo ? topic.key : Key.of(name.trim());
      const draft = { context: context.trim(), topic: key, content, keywords, types };
      const done = await withProgress("Saving the memo", () =>
        memo ? updateMemo(draft, memo.n, memo.mark) : addMemo(draft),
      );
      offerUndo(memo ? `Changed memo ${done.n} of ${topic.topic}.` : `Added memo ${done.n} to ${name.trim()}.`, done);
      onSaved({ context: draft.context, topic: memo ? topic.topic : name.trim(), key }, done.n);
    } catch (error) {
      complain(error);
      setBusy(false);
    }
  };

  return (
    <Dialog
      title={memo ? `Memo ${memo.n} of ${topic.topic}` : "New memo"}
      onClose={onClose}
      wide
      foot={
        <>
          <span class="hint faint small push-left">Ctrl+Enter saves</span>
          <Button onClick={onClose}>Cancel</Button>
          <Button kind="primary" busy={busy} disabled={!ready} onClick={() => void save()}>
            {memo ? "Save" : "Add memo"}
          </Button>
        </>
      }
    >
      <form
        class="editor"
        onSubmit={(event) => {
          event.preventDefault();
          void save();
        }}
        onKeyDown={(event) => {
          if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) {
            event.preventDefault();
            void save();
          }
        }}
      >
        {!memo && (
          <div class="pair">
            <TextField
              label="Context"
              value={context}
              onText={setContext}
              list="memory-contexts"
              {...(!topic.context && { "data-autofocus": true })}
            />
            <TextField
              label="Topic"
              value={name}
              onText={setName}
              {...(topic.context && !topic.topic && { "data-autofocus": true })}
            />
            <datalist id="memory-contexts">
              {contexts.contexts.map((one) => (
                <option key={one.id} value={one.id} />
              ))}
            </datalist>
          </div>
        )}
        <Field label="Text">
          {(id) => (
            <textarea
              id={id}
              class="input"
              rows={10}
              value={content}
              {...((memo || topic.topic) && { "data-autofocus": true })}
              onInput={(event) => setContent(event.currentTarget.value)}
            />
          )}
        </Field>
        <fieldset class="types">
          <legend>Types</legend>
          {contexts.types.map((type) => (
            <button
              key={type}
              type="button"
              class="chip"
              aria-pressed={types.includes(type)}
              onClick={() => toggle(type)}
            >
              {type}
            </button>
          ))}
        </fieldset>
        <TextField
          label="More keywords"
          value={keywords}
          onText={setKeywords}
          hint="The words of the text are keywords anyway. Blanks separate; “two words” in quotes are one."
        />
      </form>
    </Dialog>
  );
}
