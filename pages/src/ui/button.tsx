import type { JSX } from "preact";
import type { IconComponent } from "./icons";

type Native = Omit<JSX.IntrinsicElements["button"], "icon" | "size" | "label">;

interface ButtonProps extends Native {
  kind?: "plain" | "primary" | "danger" | "ghost";
  small?: boolean;
  icon?: IconComponent;
  /// Shows a spinner and takes no second click.
  busy?: boolean;
}

export function Button({
  kind = "plain",
  small,
  icon: Icon,
  busy,
  children,
  disabled,
  class: name,
  ...rest
}: ButtonProps) {
  return (
    <button
      type="button"
      {...rest}
      disabled={disabled || busy}
      class={["button", kind, small && "small", name].filter(Boolean).join(" ")}
    >
      {busy ? <span class="spinner" /> : Icon && <Icon size={small ? 14 : 16} />}
      {children}
    </button>
  );
}

interface IconButtonProps extends Omit<ButtonProps, "icon"> {
  /// What it does: the name for a screen reader and the tool tip.
  label: string;
  icon: IconComponent;
}

export function IconButton({ label, icon: Icon, kind = "ghost", small, class: name, busy, ...rest }: IconButtonProps) {
  return (
    <button
      type="button"
      title={label}
      aria-label={label}
      {...rest}
      disabled={rest.disabled || busy}
      class={["button icon", kind, small && "small", name].filter(Boolean).join(" ")}
    >
      {busy ? <span class="spinner" /> : <Icon size={small ? 15 : 18} />}
    </button>
  );
}

interface SegmentsProps<T extends string> {
  label: string;
  options: readonly { id: T; title: string }[];
  value: T;
  onChange(value: T): void;
}

/// A choice among a few, all of them visible.
export function Segments<T extends string>({ label, options, value, onChange }: SegmentsProps<T>) {
  return (
    <div class="segments" role="group" aria-label={label}>
      {options.map((option) => (
        <button key={option.id} type="button" aria-pressed={option.id === value} onClick={() => onChange(option.id)}>
          {option.title}
        </button>
      ))}
    </div>
  );
}
