import type { ComponentType } from "preact";
import { useEffect, useErrorBoundary, useState } from "preact/hooks";
import { Button } from "../ui/button";
import { Failed } from "../ui/empty";
import { Loading } from "../ui/progress";
import { route } from "./router";
import { views, type ViewProps, type ViewRow } from "./views";

type Module = ComponentType<ViewProps>;
const loaded = new Map<string, Module>();

/// A view that throws does not take the others with it.
function Guarded({ view: View, ...props }: ViewProps & { view: Module }) {
  const [error, retry] = useErrorBoundary();
  if (error)
    return (
      <Failed error={error instanceof Error ? error : new Error(String(error))}>
        <Button onClick={retry}>Try again</Button>
      </Failed>
    );
  return <View {...props} />;
}

function useView(row: ViewRow): { view?: Module; error?: Error } {
  const [state, setState] = useState<{ id: string; view?: Module; error?: Error }>({ id: "" });
  const known = loaded.get(row.id);
  useEffect(() => {
    if (known) return;
    let shown = true;
    row.load().then(
      (module) => {
        loaded.set(row.id, module.default);
        if (shown) setState({ id: row.id, view: module.default });
      },
      (error: Error) => shown && setState({ id: row.id, error }),
    );
    return () => {
      shown = false;
    };
  }, [row.id]);
  return known ? { view: known } : state.id === row.id ? state : {};
}

/// Shows the view of the address, the first one when the address names none.
export function ViewHost() {
  const { view: id, path, query } = route.value;
  const row = views.find((view) => view.id === id) ?? views[0]!;
  const { view, error } = useView(row);
  useEffect(() => {
    document.title = `${row.title} — Mirebolt`;
  }, [row.id]);
  if (error) return <Failed error={error} />;
  return view ? <Guarded key={row.id} view={view} path={row.id === id ? path : []} query={query} /> : <Loading />;
}
