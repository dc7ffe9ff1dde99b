/// The chat's WebSocket: a line of words out, a JSON object in. docs/http.md has both.

export interface ChatRecord {
  kind: "msg" | "dm" | "join" | "leave";
  /// Rises by one in a channel; absent for who comes and goes.
  seq?: number;
  /// Milliseconds since 1970.
  at: number;
  channel?: string;
  from: string;
  to?: string;
  terminal?: string;
  text?: string;
}

export interface Presence {
  callsign: string;
  channel: string;
  live: boolean;
}

type Frame =
  | ChatRecord
  | { kind: "joined"; callsign: string; channel: string; roster: Presence[]; history: ChatRecord[] }
  | { kind: "roster"; roster: Presence[] }
  | { kind: "left" }
  | { kind: "answer" | "error"; text: string };

export interface Listener {
  joined(history: ChatRecord[], roster: Presence[]): void;
  record(record: ChatRecord): void;
  roster(roster: Presence[]): void;
  told(text: string, wrong: boolean): void;
  state(connected: boolean): void;
}

const shortest = 300;
const longest = 10_000;

/// Joined to one channel under one callsign until it is closed; comes back by itself.
export class ChatSocket {
  private socket: WebSocket | null = null;
  private timer: ReturnType<typeof setTimeout> | undefined;
  private pause = shortest;
  private closed = false;

  constructor(
    private readonly callsign: string,
    private readonly channel: string,
    private readonly listener: Listener,
  ) {
    this.connect();
  }

  /// False when it is not connected: nothing was sent then.
  send(...lines: string[]): boolean {
    if (this.socket?.readyState !== WebSocket.OPEN) return false;
    this.socket.send(lines.join("\n"));
    return true;
  }

  close(): void {
    this.closed = true;
    clearTimeout(this.timer);
    this.socket?.close();
  }

  private connect(): void {
    const socket = new WebSocket(`${location.origin.replace(/^http/, "ws")}/ui/chat`);
    this.socket = socket;
    socket.onopen = () => {
      this.pause = shortest;
      this.send("join", this.callsign, this.channel);
    };
    socket.onmessage = (message) => !this.closed && this.take(JSON.parse(message.data as string) as Frame);
    socket.onclose = () => {
      if (this.closed) return;
      this.listener.state(false);
      this.timer = setTimeout(() => this.connect(), this.pause);
      this.pause = Math.min(this.pause * 2, longest);
    };
  }

  private take(frame: Frame): void {
    switch (frame.kind) {
      case "joined":
        this.listener.state(true);
        this.listener.joined(frame.history, frame.roster);
        break;
      case "roster":
        this.listener.roster(frame.roster);
        break;
      case "answer":
      case "error":
        this.listener.told(frame.text, frame.kind === "error");
        break;
      case "left":
        break;
      default:
        this.listener.record(frame);
        // Who comes and goes is told of one channel; the list has all of them.
        if (frame.kind === "join" || frame.kind === "leave") this.send("roster", "");
    }
  }
}
