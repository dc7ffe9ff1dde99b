import { api } from "./client";

/// A name as a form value: what a row's "<name>_key" holds when the name is not UTF-8, else the name, encoded.
export class Key {
  constructor(readonly encoded: string) {}
  static of(text: string, encoded?: string | null): Key {
    return new Key(encoded ?? encodeURIComponent(text));
  }
}

type Values = Record<string, string | number | boolean | Key | undefined>;

/// Parameters as the routes of /ui/api/ take them; true is "1", what is undefined, false or empty is left out.
export function form(values: Values): string {
  const pieces = [];
  for (const [name, value] of Object.entries(values)) {
    if (value === undefined || value === "" || value === false) continue;
    pieces.push(`${name}=${value instanceof Key ? value.encoded : encodeURIComponent(value === true ? "1" : value)}`);
  }
  return pieces.join("&");
}

const root = "/ui/api/";

export function ask<T>(route: string, values: Values = {}, signal?: AbortSignal): Promise<T> {
  const text = form(values);
  return api.get<T>(`${root}${route}${text && `?${text}`}`, undefined, signal ? { signal } : {});
}

/// For what changes something.
export function tell<T>(route: string, values: Values): Promise<T> {
  return api.post<T>(`${root}${route}`, form(values));
}
