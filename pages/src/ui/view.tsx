import type { ComponentChildren } from "preact";

interface ViewFrameProps {
  title: string;
  about?: ComponentChildren;
  tools?: ComponentChildren;
  children: ComponentChildren;
}

/// The frame of every view: its name, a line about it, its tools, and below a body that fills the rest.
export function ViewFrame({ title, about, tools, children }: ViewFrameProps) {
  return (
    <section class="view" aria-label={title}>
      <header class="view-head">
        <h1>{title}</h1>
        {about && <div class="about">{about}</div>}
        {tools && <div class="tools">{tools}</div>}
      </header>
      <div class="view-body">{children}</div>
    </section>
  );
}
