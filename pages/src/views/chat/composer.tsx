import { useLayoutEffect, useRef, useState } from "preact/hooks";
import { Button } from "../../ui/button";
import { toast } from "../../ui/toast";

/// What the resident takes in one message, in bytes of UTF-8.
const mostBytes = 65_536;
const mostRows = 8;

interface ComposerProps {
  place: string;
  connected: boolean;
  say(text: string): boolean;
}

/// Enter sends, Shift+Enter begins a line. What could not be sent stays.
export function Composer({ place, connected, say }: ComposerProps) {
  const [text, setText] = useState("");
  const area = useRef<HTMLTextAreaElement>(null);
  useLayoutEffect(() => area.current?.focus(), [place]);

  const send = () => {
    if (text.trim() === "") return;
    if (new TextEncoder().encode(text).length > mostBytes) toast("That is longer than 64 KB", { kind: "bad" });
    else if (say(text)) setText("");
    else toast("Not connected: nothing was sent", { kind: "bad" });
  };
  return (
    <form
      class="composer"
      onSubmit={(event) => {
        event.preventDefault();
        send();
      }}
    >
      <textarea
        ref={area}
        class="input"
        aria-label={`Message to ${place}`}
        placeholder={`Message to ${place}`}
        value={text}
        rows={Math.min(mostRows, text.split("\n").length)}
        onInput={(event) => setText(event.currentTarget.value)}
        onKeyDown={(event) => {
          if (event.key !== "Enter" || event.shiftKey || event.isComposing) return;
          event.preventDefault();
          send();
        }}
      />
      <Button kind="primary" type="submit" disabled={!connected || text.trim() === ""}>
        Send
      </Button>
    </form>
  );
}
