import { go, hashOf } from "../../app/router";
import { Key } from "../../api/form";
import type { ViewProps } from "../../app/views";
import type { TopicRef } from "./data";

/// What the Memory view shows, as its address has it:
///   #/memory                          what was written, the newest first
///   #/memory/<context>?filter=&order= the topics of a context
///   …?q=&in=                          a search, over the contexts named (all that are loaded without)
///   …&at=<context>&topic=&n=          the topic at the right

export interface Place {
  context: string;
  filter: string;
  order: string;
  q: string;
  in: string;
  deep: string;
  at: string;
  topic: string;
  topicKey: string;
  n: string;
}

export function placeOf({ path, query }: ViewProps): Place {
  const text = (name: string) => query.get(name) ?? "";
  return {
    context: path[0] ?? "",
    filter: text("filter"),
    order: text("order") || "name",
    q: text("q"),
    in: text("in"),
    deep: text("deep"),
    at: text("at"),
    topic: text("topic"),
    topicKey: text("topicKey"),
    n: text("n"),
  };
}

export function goTo(place: Place, change: Partial<Place>, options: { replace?: boolean } = {}): void {
  const { context, order, ...query } = { ...place, ...change };
  go(hashOf("memory", context ? [context] : [], { ...query, order: order === "name" ? "" : order }), options);
}

export function topicOf(place: Place): TopicRef | undefined {
  if (!place.at) return undefined;
  return { context: place.at, topic: place.topic, key: Key.of(place.topic, place.topicKey || null) };
}

/// The change that shows a topic, or one memo of it.
export function showing(topic: TopicRef, n?: number): Partial<Place> {
  const own = topic.key.encoded === encodeURIComponent(topic.topic);
  return {
    at: topic.context,
    topic: topic.topic,
    topicKey: own ? "" : topic.key.encoded,
    n: n === undefined ? "" : String(n),
  };
}

/// The contexts a search is over; none stands for all that are loaded.
export const chosenOf = (place: Place): string[] => place.in.split("/").filter(Boolean);
