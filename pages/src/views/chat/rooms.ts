import { signal } from "@preact/signals";
import { api } from "../../api/client";
import type { ChatRecord } from "./chat_socket";

/// What was said, by place: a channel's name, or "@" and the callsign of the other one.
type Rooms = Readonly<Record<string, readonly ChatRecord[]>>;

const most = 2_000;
export const rooms = signal<Rooms>({});
/// The direct conversations with something new in them.
export const unread = signal<ReadonlySet<string>>(new Set());

export const isDirect = (place: string) => place.startsWith("@");

/// Where a record belongs, as seen by `me`.
export function placeOf(record: ChatRecord, me: string): string {
  if (record.kind !== "dm") return record.channel ?? "general";
  return `@${record.from === me ? record.to : record.from}`;
}

const key = (record: ChatRecord) =>
  record.seq === undefined ? `${record.kind} ${record.from} ${record.at}` : String(record.seq);

/// Puts records where they belong, in their order; what is there already stays once.
export function addRecords(place: string, records: readonly ChatRecord[]): void {
  const before = rooms.value[place] ?? [];
  const known = new Set(before.map(key));
  const fresh = records.filter((record) => !known.has(key(record)));
  if (fresh.length === 0 && rooms.value[place]) return;
  const all = [...before, ...fresh].sort((a, b) => a.at - b.at || (a.seq ?? 0) - (b.seq ?? 0));
  rooms.value = { ...rooms.value, [place]: all.slice(-most) };
}

export function setUnread(place: string, isNew: boolean): void {
  if (unread.value.has(place) === isNew) return;
  const next = new Set(unread.value);
  if (isNew) next.add(place);
  else next.delete(place);
  unread.value = next;
}

/// The log of a channel, or of a conversation, as far back as it is held.
export async function loadOlder(place: string, me: string): Promise<void> {
  const answer = isDirect(place)
    ? await api.get<{ messages: ChatRecord[] }>("/dm/thread", { me, with: place.slice(1), last: 500 })
    : await api.get<{ messages: ChatRecord[] }>("/chatlog", { channel: place, lines: most });
  addRecords(place, answer.messages);
}
