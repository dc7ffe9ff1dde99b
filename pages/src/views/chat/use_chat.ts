import { useEffect, useRef, useState } from "preact/hooks";
import { complain, toast } from "../../ui/toast";
import { useLatest } from "../../util/hooks";
import { ChatSocket, type Presence } from "./chat_socket";
import { addRecords, isDirect, loadOlder, placeOf, setUnread } from "./rooms";

export interface Chat {
  connected: boolean;
  roster: Presence[];
  /// False when it could not be sent.
  say(text: string): boolean;
}

/// One is told who comes and goes in one's own channel only.
const rosterEvery = 4_000;

/// Being in a place under a callsign, for as long as the view is shown. In a direct conversation one stays
/// in the channel before.
export function useChat(callsign: string, place: string): Chat {
  const [connected, setConnected] = useState(false);
  const [roster, setRoster] = useState<Presence[]>([]);
  const socket = useRef<ChatSocket | null>(null);
  const latest = useLatest(place);
  const lastChannel = useRef("general");
  if (!isDirect(place)) lastChannel.current = place;
  const channel = lastChannel.current;

  useEffect(() => {
    const opened = new ChatSocket(callsign, channel, {
      state: setConnected,
      joined: (history) => {
        addRecords(channel, history);
        opened.send("roster", "");
      },
      record: (record) => {
        const where = placeOf(record, callsign);
        addRecords(where, [record]);
        if (isDirect(where) && where !== latest.current) setUnread(where, true);
      },
      roster: setRoster,
      told: (text, wrong) => toast(text, wrong ? { kind: "bad" } : {}),
    });
    socket.current = opened;
    const timer = setInterval(() => document.visibilityState === "visible" && opened.send("roster", ""), rosterEvery);
    return () => {
      clearInterval(timer);
      opened.close();
    };
  }, [callsign, channel]);

  useEffect(() => {
    setUnread(place, false);
    if (isDirect(place)) loadOlder(place, callsign).catch(complain);
  }, [place, callsign]);

  const say = (text: string) =>
    (isDirect(place) ? socket.current?.send("dm", place.slice(1), text) : socket.current?.send("msg", text)) ?? false;
  return { connected, roster, say };
}
