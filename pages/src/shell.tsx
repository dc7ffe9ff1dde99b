import { render } from "preact";
import { followStatus } from "./api/status";
import { nextTheme, Rail } from "./app/rail";
import { go, hashOf, route } from "./app/router";
import { StatusBar } from "./app/status_bar";
import { ViewHost } from "./app/view_host";
import { views } from "./app/views";
import { everywhere, listenForKeys, useActions } from "./ui/actions";
import { DialogHost } from "./ui/dialog";
import { PaletteHost, showKeys, showPalette } from "./ui/palette";
import { ToastHost } from "./ui/toast";

function focusMain(): void {
  document.getElementById("main")?.focus();
}

function focusSearch(): void {
  document.querySelector<HTMLElement>("#main [data-search]")?.focus();
}

function Shell() {
  useActions([
    { id: "palette", title: "All commands", group: everywhere, keys: "mod+k", run: showPalette },
    { id: "keys", title: "All keys", group: everywhere, keys: "?", run: showKeys },
    { id: "search", title: "Search in this view", group: everywhere, keys: "/", run: focusSearch },
    { id: "theme", title: "Change the theme", group: everywhere, run: nextTheme },
    ...views.map((view) => ({
      id: `go.${view.id}`,
      title: `Go to ${view.title}`,
      group: everywhere,
      keys: view.keys,
      run: () => {
        go(hashOf(view.id));
        focusMain();
      },
    })),
  ]);
  return (
    <>
      <a
        class="button skip"
        href="#main"
        onClick={(event) => {
          event.preventDefault();
          focusMain();
        }}
      >
        Skip to the view
      </a>
      <Rail />
      <main id="main" class="main" tabIndex={-1}>
        <ViewHost />
      </main>
      <StatusBar />
      <ToastHost />
      <DialogHost />
      <PaletteHost />
    </>
  );
}

if (!views.some((view) => view.id === route.value.view)) go(hashOf(views[0]!.id), { replace: true });
listenForKeys();
followStatus();
const app = document.getElementById("app")!;
app.replaceChildren();
render(<Shell />, app);
