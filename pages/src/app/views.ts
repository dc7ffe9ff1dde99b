import type { ComponentType } from "preact";
import { ChatIcon, FilesIcon, MemoryIcon, TerminalIcon, type IconComponent } from "../ui/icons";

/// What a view is given: the parts and the query of its address (see router.ts).
export interface ViewProps {
  path: string[];
  query: URLSearchParams;
}

/// One row of the rail. The module is fetched when the view is first shown.
export interface ViewRow {
  id: string;
  title: string;
  icon: IconComponent;
  keys: string;
  load: () => Promise<{ default: ComponentType<ViewProps> }>;
}

export const views: readonly ViewRow[] = [
  { id: "files", title: "Files", icon: FilesIcon, keys: "g f", load: () => import("../views/files/index") },
  { id: "memory", title: "Memory", icon: MemoryIcon, keys: "g m", load: () => import("../views/memory/index") },
  {
    id: "terminals",
    title: "Terminals",
    icon: TerminalIcon,
    keys: "g t",
    load: () => import("../views/terminals/index"),
  },
  { id: "chat", title: "Chat", icon: ChatIcon, keys: "g c", load: () => import("../views/chat/index") },
];
