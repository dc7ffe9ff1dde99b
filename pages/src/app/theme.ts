import { signal } from "@preact/signals";
import { recall, remember } from "../util/storage";

export type Theme = "system" | "light" | "dark";

const system = matchMedia("(prefers-color-scheme: dark)");
const stored = recall("theme");
export const theme = signal<Theme>(stored === "light" || stored === "dark" ? stored : "system");

/// Whether the page is dark now, by choice or by the system.
export const dark = signal(isDark());

function isDark(): boolean {
  return theme.value === "system" ? system.matches : theme.value === "dark";
}

export function setTheme(next: Theme): void {
  theme.value = next;
  remember("theme", next === "system" ? null : next);
  if (next === "system") delete document.documentElement.dataset.theme;
  else document.documentElement.dataset.theme = next;
  dark.value = isDark();
}

system.addEventListener("change", () => {
  dark.value = isDark();
});
