import { signal } from "@preact/signals";
import { connection, onLive } from "./events";
import { api } from "./client";

/// What the resident says about itself: GET /ui/api/status.
export interface Status {
  version: string;
  port: number;
  /// Seconds since it started.
  uptime: number;
  /// The name under which the pages write.
  author: string;
  /// Bytes: what the resident holds, what the machine has, what is free.
  memory: { resident: number; total: number; available: number };
  roots: { id: string; root: string; watched: boolean }[];
  /// The loaded contexts, and how their memos are found: by words always, by meaning when armed.
  lanes: { context: string; memos: number; semantic: boolean; model: string; vectors: number }[];
}

export const status = signal<Status | null>(null);
const every = 15_000;

async function load(): Promise<void> {
  try {
    status.value = await api.get<Status>("/ui/api/status");
  } catch {
    // The connection's state says it already.
  }
}

/// Keeps `status` fresh while the page is visible; once per page.
export function followStatus(): void {
  void load();
  onLive([], () => void load());
  setInterval(() => document.visibilityState === "visible" && connection.value !== "lost" && void load(), every);
}
