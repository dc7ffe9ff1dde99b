import { signal } from "@preact/signals";
import type { ComponentChildren } from "preact";
import { useEffect, useId, useRef, useState } from "preact/hooks";
import { Button } from "./button";
import { TextField } from "./field";

interface DialogProps {
  title: string;
  onClose(): void;
  children: ComponentChildren;
  foot?: ComponentChildren;
  wide?: boolean;
  /// The title is only read, not shown.
  bare?: boolean;
  class?: string;
}

/// A modal dialog. The browser keeps the focus inside, gives it back afterwards and closes it on Escape.
export function Dialog({ title, onClose, children, foot, wide, bare, class: name }: DialogProps) {
  const box = useRef<HTMLDialogElement>(null);
  const id = useId();
  useEffect(() => {
    const dialog = box.current!;
    const before = document.activeElement;
    dialog.showModal();
    dialog.querySelector<HTMLElement>("[data-autofocus]")?.focus();
    return () => {
      dialog.close();
      if (before instanceof HTMLElement && before.isConnected) before.focus();
    };
  }, []);
  return (
    <dialog
      ref={box}
      class={["dialog", wide && "wide", name].filter(Boolean).join(" ")}
      aria-labelledby={id}
      onCancel={(event) => {
        event.preventDefault();
        onClose();
      }}
      onKeyDown={(event) => event.stopPropagation()}
      onMouseDown={(event) => {
        if (event.target === box.current) onClose();
      }}
    >
      {bare ? (
        <h2 id={id} class="sr-only">
          {title}
        </h2>
      ) : (
        <div class="dialog-head">
          <h2 id={id}>{title}</h2>
        </div>
      )}
      {bare ? (
        children
      ) : (
        <div class="dialog-body" tabIndex={-1}>
          {children}
        </div>
      )}
      {foot && <div class="dialog-foot">{foot}</div>}
    </dialog>
  );
}

interface Question {
  title: string;
  /// What will happen, and whether it can be undone.
  body?: ComponentChildren;
  /// The verb on the button: "Delete memo", not "OK".
  action: string;
  danger?: boolean;
}
interface TextQuestion extends Question {
  label: string;
  value?: string;
  hint?: string;
  /// An error text, or nothing when the value is fine.
  check?(value: string): string | undefined;
}
type Asked = (Question | TextQuestion) & { done(answer: string | null): void };

const asked = signal<Asked[]>([]);

function ask(question: Question | TextQuestion): Promise<string | null> {
  return new Promise((resolve) => {
    const entry: Asked = {
      ...question,
      done: (answer) => {
        asked.value = asked.value.filter((other) => other !== entry);
        resolve(answer);
      },
    };
    asked.value = [...asked.value, entry];
  });
}

/// Asks before something that matters. True when the action was chosen.
export async function confirm(question: Question): Promise<boolean> {
  return (await ask(question)) !== null;
}

/// Asks for one line of text; null when it was called off.
export function askText(question: TextQuestion): Promise<string | null> {
  return ask(question);
}

function QuestionDialog({ question }: { question: Asked }) {
  const text = "label" in question ? question : undefined;
  const [value, setValue] = useState(text?.value ?? "");
  const wrong = text?.check?.(value);
  const cancel = () => question.done(null);
  const accept = () => !wrong && question.done(value);
  return (
    <Dialog
      title={question.title}
      onClose={cancel}
      foot={
        <>
          <Button onClick={cancel} data-autofocus={question.danger ? true : undefined}>
            Cancel
          </Button>
          <Button
            kind={question.danger ? "danger" : "primary"}
            onClick={accept}
            disabled={Boolean(wrong)}
            data-autofocus={!text && !question.danger ? true : undefined}
          >
            {question.action}
          </Button>
        </>
      }
    >
      {question.body}
      {text && (
        <form
          onSubmit={(event) => {
            event.preventDefault();
            accept();
          }}
        >
          <TextField
            label={text.label}
            value={value}
            onText={setValue}
            hint={wrong ?? text.hint}
            aria-invalid={Boolean(wrong)}
            data-autofocus
          />
        </form>
      )}
    </Dialog>
  );
}

/// Shows what confirm() and askText() ask; once per page.
export function DialogHost() {
  return (
    <>
      {asked.value.map((question, index) => (
        <QuestionDialog key={index} question={question} />
      ))}
    </>
  );
}
