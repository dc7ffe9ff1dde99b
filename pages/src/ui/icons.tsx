import type { ComponentChildren, JSX } from "preact";

export interface IconProps {
  /// In pixels where a rem has 14.
  size?: number;
  class?: string;
}
export type IconComponent = (props: IconProps) => JSX.Element;

/// All icons are drawn on 20 × 20 with one line width, in the colour of the text around them.
function drawn(children: ComponentChildren): IconComponent {
  return ({ size = 18, class: name }) => (
    <svg
      width={`${size / 14}rem`}
      height={`${size / 14}rem`}
      viewBox="0 0 20 20"
      fill="none"
      stroke="currentColor"
      stroke-width="1.5"
      stroke-linecap="round"
      stroke-linejoin="round"
      aria-hidden="true"
      class={name}
    >
      {children}
    </svg>
  );
}
const path = (d: string): IconComponent => drawn(<path d={d} />);

export const FilesIcon = path(
  "M5 2.75h6.2L15.25 6.8v9.2a1.25 1.25 0 0 1-1.25 1.25H6A1.25 1.25 0 0 1 4.75 16V4A1.25 1.25 0 0 1 6 2.75M11 3v4h4M7.5 10.5h5M7.5 13.5h5",
);
export const MemoryIcon = drawn(
  <>
    <ellipse cx="10" cy="5" rx="6" ry="2.25" />
    <path d="M4 5v5c0 1.25 2.7 2.25 6 2.25s6-1 6-2.25V5M4 10v5c0 1.25 2.7 2.25 6 2.25s6-1 6-2.25v-5" />
  </>,
);
export const TerminalIcon = drawn(
  <>
    <rect x="2.75" y="3.75" width="14.5" height="12.5" rx="1.75" />
    <path d="m6 8 2.5 2L6 12M10.5 12.5H14" />
  </>,
);
export const ChatIcon = path(
  "M4.5 3.75h11A1.75 1.75 0 0 1 17.25 5.5v6.25a1.75 1.75 0 0 1-1.75 1.75H9.25L5.5 16.75V13.5h-1a1.75 1.75 0 0 1-1.75-1.75V5.5A1.75 1.75 0 0 1 4.5 3.75M6.5 7.25h7M6.5 10h4.5",
);
export const SearchIcon = drawn(
  <>
    <circle cx="8.75" cy="8.75" r="5" />
    <path d="m12.5 12.5 4 4" />
  </>,
);
export const CloseIcon = path("m5 5 10 10M15 5 5 15");
export const PlusIcon = path("M10 4.25v11.5M4.25 10h11.5");
export const CheckIcon = path("m4.5 10.5 3.5 3.5 7.5-8");
export const ChevronRightIcon = path("m7.5 4.5 5.5 5.5-5.5 5.5");
export const ChevronDownIcon = path("m4.5 7.5 5.5 5.5 5.5-5.5");
export const ArrowLeftIcon = path("M16 10H4.5M9 5l-5 5 5 5");
export const HistoryIcon = path("M3.5 10a6.5 6.5 0 1 0 2-4.7L3.5 7.2M3.5 3.5v3.75h3.75M10 6.75V10l2.5 1.75");
export const UndoIcon = path("M7 4 3.5 7.5 7 11M3.75 7.5h7.5a4.25 4.25 0 0 1 0 8.5H8");
export const TrashIcon = path(
  "M3.75 5.5h12.5M8 5.25V3.5h4v1.75M5.25 5.75l.7 9.9a1.25 1.25 0 0 0 1.25 1.1h5.6a1.25 1.25 0 0 0 1.25-1.1l.7-9.9M8.5 9v4.5M11.5 9v4.5",
);
export const EditIcon = path("m4 16 .75-3.25 8-8a1.75 1.75 0 0 1 2.5 2.5l-8 8zM11.5 6l2.5 2.5");
export const FolderIcon = path(
  "M2.75 5.5A1.25 1.25 0 0 1 4 4.25h3.5L9.25 6H16a1.25 1.25 0 0 1 1.25 1.25v7.25A1.25 1.25 0 0 1 16 15.75H4a1.25 1.25 0 0 1-1.25-1.25z",
);
export const DiffIcon = path("M10 3v8M6 7h8M6 15.5h8");
export const ShareIcon = drawn(
  <>
    <circle cx="5" cy="10" r="2" />
    <circle cx="14.5" cy="4.75" r="2" />
    <circle cx="14.5" cy="15.25" r="2" />
    <path d="m6.8 9 5.9-3.3M6.8 11l5.9 3.3" />
  </>,
);
export const ExpandIcon = path("M11.5 3.5h5v5M16.25 3.75 11 9M8.5 16.5h-5v-5M3.75 16.25 9 11");
export const SunIcon = drawn(
  <>
    <circle cx="10" cy="10" r="3.25" />
    <path d="M10 2.25v1.5M10 16.25v1.5M2.25 10h1.5M16.25 10h1.5M4.5 4.5l1.1 1.1M14.4 14.4l1.1 1.1M15.5 4.5l-1.1 1.1M5.6 14.4l-1.1 1.1" />
  </>,
);
export const MoonIcon = path("M16.5 11.6A6.75 6.75 0 0 1 8.4 3.5a6.75 6.75 0 1 0 8.1 8.1");
export const SystemIcon = drawn(
  <>
    <circle cx="10" cy="10" r="6.75" />
    <path d="M10 3.25v13.5a6.75 6.75 0 0 0 0-13.5" fill="currentColor" stroke="none" />
  </>,
);
export const KeyboardIcon = drawn(
  <>
    <rect x="2.25" y="5" width="15.5" height="10" rx="1.75" />
    <path d="M5.5 8.25h0M8.5 8.25h0M11.5 8.25h0M14.5 8.25h0M7 11.75h6" />
  </>,
);
export const MoreIcon = drawn(
  <>
    <circle cx="4.5" cy="10" r="0.9" fill="currentColor" />
    <circle cx="10" cy="10" r="0.9" fill="currentColor" />
    <circle cx="15.5" cy="10" r="0.9" fill="currentColor" />
  </>,
);
export const WarnIcon = path("M10 3.25 17.25 16H2.75zM10 8.25v3.25M10 13.75h0");
export const UserIcon = drawn(
  <>
    <circle cx="10" cy="6.75" r="3" />
    <path d="M4 16.5c.6-3 3-4.75 6-4.75s5.4 1.75 6 4.75" />
  </>,
);
export const HashIcon = path("M7.75 3.5 6.25 16.5M13.75 3.5l-1.5 13M3.75 7.5h13M3.25 12.5h13");
export const DownloadIcon = path("M10 3.5v9M6 9l4 4 4-4M3.75 16.25h12.5");
export const RefreshIcon = path("M16 4v4h-4M4 16v-4h4M15.6 8A6.25 6.25 0 0 0 4.7 6.3M4.4 12a6.25 6.25 0 0 0 10.9 1.7");
export const MarkIcon = path("M11 2 4.5 11.25h4.25L8 18l7-9.75h-4.5z");
