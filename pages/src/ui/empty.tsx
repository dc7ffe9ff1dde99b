import type { ComponentChildren } from "preact";
import { WarnIcon, type IconComponent } from "./icons";

interface EmptyProps {
  icon: IconComponent;
  title: string;
  /// What can be done about it; the command that would fill it.
  children?: ComponentChildren;
}

/// What a place says that has nothing to show.
export function Empty({ icon: Icon, title, children }: EmptyProps) {
  return (
    <div class="empty">
      <Icon />
      <h2>{title}</h2>
      {children}
    </div>
  );
}

/// The same when it is because of an error.
export function Failed({ error, children }: { error: Error; children?: ComponentChildren }) {
  return (
    <Empty icon={WarnIcon} title="This did not work">
      <p role="alert">{error.message}</p>
      {children}
    </Empty>
  );
}
