import { signal } from "@preact/signals";

/// The address after "#": #/<view>/<part>/<part>?<key>=<value>. Everything that can be looked at has one, so
/// that it can be kept, sent and gone back to.
export interface Route {
  view: string;
  path: string[];
  query: URLSearchParams;
}

function decode(part: string): string {
  try {
    return decodeURIComponent(part);
  } catch {
    return part;
  }
}

export function parseHash(hash: string): Route {
  const [path = "", query = ""] = hash.replace(/^#\/?/, "").split(/\?(.*)/s);
  const [view = "", ...rest] = path.split("/").filter(Boolean).map(decode);
  return { view, path: rest, query: new URLSearchParams(query) };
}

/// "#/files/<path…>?…"; undefined and empty query values are left out.
export function hashOf(
  view: string,
  path: readonly string[] = [],
  query: Record<string, string | number | undefined> = {},
): string {
  const values = new URLSearchParams();
  for (const [key, value] of Object.entries(query)) {
    if (value !== undefined && value !== "") values.set(key, String(value));
  }
  const text = values.toString();
  return `#/${[view, ...path].map(encodeURIComponent).join("/")}${text ? `?${text}` : ""}`;
}

export const route = signal<Route>(parseHash(location.hash));

window.addEventListener("hashchange", () => {
  route.value = parseHash(location.hash);
});

/// Goes to an address made by hashOf(). With `replace` the step is not one to go back over: for what
/// changes with every key.
export function go(hash: string, { replace = false } = {}): void {
  if (hash === location.hash) return;
  if (!replace) {
    location.hash = hash;
    return;
  }
  history.replaceState(null, "", hash);
  route.value = parseHash(hash);
}
