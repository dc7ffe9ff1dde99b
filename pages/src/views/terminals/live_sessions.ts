import { useEffect } from "preact/hooks";
import { connection, useLive } from "../../api/events";
import { listSessions, type Session } from "../../terminal/sessions";
import { useLoad, type Loaded } from "../../util/hooks";

const withoutEvents = 3_000;

/// The resident's sessions, the oldest first, as they come and go. Without the stream of events they are
/// asked for now and then.
export function useSessions(): Loaded<Session[]> {
  const sessions = useLoad(listSessions, []);
  useLive(["terminal"], sessions.reload);
  const live = connection.value === "live";
  useEffect(() => {
    if (live) return;
    const timer = setInterval(() => document.visibilityState === "visible" && sessions.reload(), withoutEvents);
    return () => clearInterval(timer);
  }, [live]);
  return sessions;
}
