import type { ComponentChildren, JSX, Ref } from "preact";
import { useId } from "preact/hooks";
import { SearchIcon } from "./icons";

interface FieldProps {
  label: string;
  hint?: ComponentChildren;
  children: (id: string, describedBy: string | undefined) => ComponentChildren;
}

/// A label, what it labels, and a hint below.
export function Field({ label, hint, children }: FieldProps) {
  const id = useId();
  return (
    <div class="field">
      <label class="label" for={id}>
        {label}
      </label>
      {children(id, hint ? `${id}-hint` : undefined)}
      {hint && (
        <span class="hint" id={`${id}-hint`}>
          {hint}
        </span>
      )}
    </div>
  );
}

interface TextFieldProps extends Omit<JSX.IntrinsicElements["input"], "onInput" | "label"> {
  label: string;
  hint?: ComponentChildren;
  value: string;
  onText(value: string): void;
  inputRef?: Ref<HTMLInputElement>;
}

export function TextField({ label, hint, onText, inputRef, class: name, ...rest }: TextFieldProps) {
  return (
    <Field label={label} hint={hint}>
      {(id, describedBy) => (
        <input
          id={id}
          class={`input ${name ?? ""}`}
          autocomplete="off"
          spellcheck={false}
          {...rest}
          aria-describedby={describedBy}
          {...(inputRef && { ref: inputRef })}
          onInput={(event) => onText(event.currentTarget.value)}
        />
      )}
    </Field>
  );
}

interface SearchFieldProps {
  /// For screen readers; the placeholder is what is seen.
  label: string;
  placeholder: string;
  value: string;
  onText(value: string): void;
  onKeyDown?(event: KeyboardEvent): void;
  inputRef?: Ref<HTMLInputElement>;
  class?: string;
}

/// "/" brings the first one of the view into focus, Escape empties it.
export function SearchField({ label, placeholder, value, onText, onKeyDown, inputRef, class: name }: SearchFieldProps) {
  return (
    <div class={`searchbox ${name ?? ""}`} role="search">
      <SearchIcon size={15} />
      <input
        type="search"
        class="input"
        aria-label={label}
        placeholder={placeholder}
        value={value}
        data-search
        autocomplete="off"
        spellcheck={false}
        {...(inputRef && { ref: inputRef })}
        onInput={(event) => onText(event.currentTarget.value)}
        onKeyDown={(event) => {
          if (event.key === "Escape" && value) {
            event.preventDefault();
            event.stopPropagation();
            onText("");
          } else onKeyDown?.(event);
        }}
      />
    </div>
  );
}
