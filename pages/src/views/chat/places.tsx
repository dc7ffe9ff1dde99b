import { hashOf } from "../../app/router";
import { HashIcon, UserIcon } from "../../ui/icons";
import type { Presence } from "./chat_socket";
import { isDirect, rooms, unread } from "./rooms";

export interface Channel {
  channel: string;
  members: number;
}

interface PlacesProps {
  channels: readonly Channel[];
  roster: readonly Presence[];
  place: string;
  me: string;
}

/// Where one can be: the channels, and those one can write to or has written to.
export function Places({ channels, roster, place, me }: PlacesProps) {
  const known =
    channels.some(({ channel }) => channel === place) || isDirect(place)
      ? channels
      : [...channels, { channel: place, members: 1 }];
  const talks = Object.keys(rooms.value)
    .filter(isDirect)
    .map((name) => name.slice(1));
  const people = [
    ...new Set([...roster.map(({ callsign }) => callsign), ...talks, ...(isDirect(place) ? [place.slice(1)] : [])]),
  ]
    .filter((callsign) => callsign !== me)
    .sort((a, b) => a.localeCompare(b));
  const live = new Map(roster.map((presence) => [presence.callsign, presence.live]));
  return (
    <nav class="places scroll" aria-label="Channels and people">
      <h2>Channels</h2>
      <ul>
        {known.map(({ channel, members }) => (
          <li key={channel}>
            <a href={hashOf("chat", [channel])} aria-current={channel === place ? "page" : undefined}>
              <HashIcon size={14} />
              <span class="truncate grow">{channel}</span>
              {members > 0 && (
                <span class="faint nums small">
                  {members}
                  <span class="sr-only"> in it</span>
                </span>
              )}
            </a>
          </li>
        ))}
      </ul>
      <h2>People and agents</h2>
      {people.length === 0 && <p class="faint small">Nobody else is here</p>}
      <ul>
        {people.map((callsign) => (
          <li key={callsign}>
            <a href={hashOf("chat", [`@${callsign}`])} aria-current={place === `@${callsign}` ? "page" : undefined}>
              <UserIcon size={14} />
              <span class="truncate grow">{callsign}</span>
              {unread.value.has(`@${callsign}`) && <span class="chip good">new</span>}
              <span class={`dot ${live.get(callsign) ? "good" : live.has(callsign) ? "warn" : ""}`} />
              <span class="sr-only">
                {live.get(callsign) ? "connected" : live.has(callsign) ? "reads now and then" : "away"}
              </span>
            </a>
          </li>
        ))}
      </ul>
    </nav>
  );
}
