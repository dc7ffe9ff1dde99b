import { computed, signal } from "@preact/signals";

interface Work {
  label: string;
  since: number;
  part?: number;
}
const work = signal<Work[]>([]);

/// What is going on now, the latest first; shown in the status bar.
export const activities = computed(() => [...work.value].reverse());

/// Shows `label` in the status bar for as long as the work goes on. `report` may be called with the part
/// done, 0 to 1.
export async function withProgress<T>(label: string, run: (report: (part: number) => void) => Promise<T>): Promise<T> {
  let entry: Work = { label, since: Date.now() };
  work.value = [...work.value, entry];
  const replace = (next?: Work) => {
    const before = entry;
    if (next) entry = next;
    work.value = work.value.flatMap((other) => (other !== before ? [other] : next ? [next] : []));
  };
  try {
    return await run((part) => replace({ ...entry, part }));
  } finally {
    replace();
  }
}

export function Loading({ label = "Loading" }: { label?: string }) {
  return (
    <div class="empty" role="status">
      <span class="spinner" aria-hidden="true" />
      <span>{label}…</span>
    </div>
  );
}
