import { useEffect, useState } from "preact/hooks";
import { api } from "../../api/client";
import { status } from "../../api/status";
import { go, hashOf } from "../../app/router";
import type { ViewProps } from "../../app/views";
import { useActions } from "../../ui/actions";
import { Button } from "../../ui/button";
import { askText } from "../../ui/dialog";
import { PlusIcon, UserIcon } from "../../ui/icons";
import { Split } from "../../ui/split";
import { complain } from "../../ui/toast";
import { ViewFrame } from "../../ui/view";
import { plural } from "../../util/format";
import { useLoad, useMedia } from "../../util/hooks";
import { recall, remember } from "../../util/storage";
import { Composer } from "./composer";
import { Messages } from "./messages";
import { Places, type Channel } from "./places";
import { isDirect, loadOlder, rooms } from "./rooms";
import { useChat } from "./use_chat";
import "./chat.css";

const group = "Chat";
const wrongChannel = (name: string) =>
  /^[a-z0-9-][a-z0-9_-]{0,63}$/i.test(name) ? undefined : "Letters, digits, _ and -, at most 64, not beginning with _";
const wrongCallsign = (name: string) =>
  name.trim() && new TextEncoder().encode(name).length <= 64 ? undefined : "1 to 64 bytes";

/// Channels, who is in them, and what is said, as it is said: #/chat/<channel>, #/chat/@<callsign>.
export default function ChatView({ path }: ViewProps) {
  const [chosenName, setChosenName] = useState(recall("callsign"));
  const me = chosenName ?? status.value?.author ?? "user";
  const place = path[0] ?? "general";
  const { connected, roster, say } = useChat(me, place);
  const channels = useLoad(
    async (signal) => (await api.get<{ channels: Channel[] }>("/channels", {}, { signal })).channels,
    [],
  );
  const narrow = useMedia("(max-width: 760px)");
  const here = roster.filter((presence) => presence.channel === place);

  useEffect(channels.reload, [roster, place]);

  const rename = async () => {
    const name = await askText({
      title: "What are you called here?",
      label: "Callsign",
      value: me,
      action: "Take it",
      check: wrongCallsign,
    });
    if (name === null) return;
    remember("callsign", name.trim());
    setChosenName(name.trim());
  };
  const openChannel = async () => {
    const name = await askText({
      title: "Go to a channel",
      label: "Channel",
      action: "Go",
      hint: "It is there as soon as it is named.",
      check: wrongChannel,
    });
    if (name !== null) go(hashOf("chat", [name.toLowerCase()]));
  };
  useActions([
    { id: "chat.channel", title: "Go to a channel…", group, keys: "n", run: () => void openChannel() },
    { id: "chat.name", title: "Change your callsign…", group, run: () => void rename() },
  ]);

  const talk = (
    <section class="talk" aria-label={isDirect(place) ? `Messages with ${place}` : `Channel ${place}`}>
      <div class="pane-head">
        <h2 class="truncate">{isDirect(place) ? place : `#${place}`}</h2>
        {!isDirect(place) && (
          <span class="truncate" title={here.map(({ callsign }) => callsign).join(", ")}>
            {plural(here.length, "person", "people")} here
          </span>
        )}
        <span class="grow" />
        {!connected && (
          <span class="chip warn" role="status">
            not connected
          </span>
        )}
      </div>
      <Messages
        key={place}
        label={`Messages in ${place}`}
        records={rooms.value[place] ?? []}
        me={me}
        onOlder={() => loadOlder(place, me).catch(complain)}
      />
      <Composer place={isDirect(place) ? place : `#${place}`} connected={connected} say={say} />
    </section>
  );
  const places = (
    <Places channels={channels.value ?? [{ channel: "general", members: 0 }]} roster={roster} place={place} me={me} />
  );
  return (
    <ViewFrame
      title="Chat"
      about={narrow && path.length > 0 && <a href="#/chat">Channels</a>}
      tools={
        <>
          <Button small kind="ghost" icon={UserIcon} onClick={rename}>
            <span class="sr-only">You are </span>
            {me}
          </Button>
          <Button small icon={PlusIcon} onClick={openChannel}>
            Channel
          </Button>
        </>
      }
    >
      <Split
        id="chat"
        label="Channels and messages"
        initialRem={16}
        leastRem={10}
        showSecond={path.length > 0}
        first={places}
        second={talk}
      />
    </ViewFrame>
  );
}
