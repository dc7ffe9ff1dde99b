/// What a browser remembers for this person: pane sizes, the theme, a call-sign. A browser that
/// stores nothing just forgets.
export function recall(key: string): string | null {
  try {
    return localStorage.getItem(`mb.${key}`);
  } catch {
    return null;
  }
}

export function remember(key: string, value: string | null): void {
  try {
    if (value === null) localStorage.removeItem(`mb.${key}`);
    else localStorage.setItem(`mb.${key}`, value);
  } catch {
    // Private windows and full disks: nothing depends on it.
  }
}
