import { readOutput } from "./sessions";

/// Reads a session's output by its offset, only while somebody looks, and never faster than it is drawn.

export interface Piece {
  text: string;
  /// Bytes before it that the resident no longer had.
  skipped: number;
  /// The first piece: what was there before we came.
  replay: boolean;
}

export interface Ending {
  /// Null when the session was closed by somebody and nothing is known of it.
  exitCode: number | null;
}

interface FollowerOptions {
  id: string;
  /// Nothing was printed before we came.
  fresh: boolean;
  /// It is there and alive: told once, before anything is shown.
  began(): void;
  /// Draws the piece; the next is asked for when it is done.
  show(piece: Piece): Promise<void>;
  ended(ending: Ending): void;
  lost(message: string): void;
}

const longestWait = 10_000;
/// Between reads of a session that is seen but not used: a browser opens six connections to a host, so
/// only the one in use holds one open.
const besidePause = 200;
const besideLongest = 1_500;
const retryPause = 1_000;
const encoder = new TextEncoder();
const endLine = /\r?\n\[session ended, exit (-?\d+)\]\n$/;

const sleep = (ms: number) => new Promise((done) => setTimeout(done, ms));
const nextFrame = () => new Promise((done) => requestAnimationFrame(done));

export class Follower {
  private since = 0;
  private seen = true;
  private used = true;
  private stopped = false;
  private pause = besidePause;
  private known = false;
  private replayed: boolean;
  private lastCode = 0;
  private waiting = new AbortController();
  private wake: () => void = () => {};

  constructor(private readonly options: FollowerOptions) {
    this.replayed = options.fresh;
  }

  start(): void {
    void this.run();
  }

  /// Whether it can be seen at all; while not, nothing is read.
  setSeen(seen: boolean): void {
    this.seen = seen;
    if (seen) this.wake();
  }

  /// Whether it is the one in use: then an answer is waited for, else asked for now and then.
  setUsed(used: boolean): void {
    if (used === this.used) return;
    this.used = used;
    this.pause = besidePause;
    // A read that waits gives its connection back.
    if (!used) this.waiting.abort();
    else this.wake();
  }

  stop(): void {
    this.stopped = true;
    this.waiting.abort();
    this.wake();
  }

  private async run(): Promise<void> {
    while (!this.stopped) {
      if (!this.seen) await this.idle();
      else if (!(await this.step())) return;
    }
  }

  /// Until somebody looks again, or until `time` is over.
  private idle(time?: number): Promise<unknown> {
    const woken = new Promise<void>((done) => {
      this.wake = done;
    });
    return time === undefined ? woken : Promise.race([woken, sleep(time)]);
  }

  /// One read. False when there will be no more.
  private async step(): Promise<boolean> {
    this.waiting = new AbortController();
    const wait = this.used && this.known ? longestWait : 0;
    let output;
    try {
      output = await readOutput(this.options.id, this.since, wait, this.waiting.signal);
    } catch (error) {
      return this.failed(error);
    }
    if (this.stopped) return false;
    if (output.alive && !this.known) this.options.began();
    this.known = true;
    await this.take(output.data, output.len);
    if (!output.alive) {
      this.options.ended({ exitCode: Number(endLine.exec(output.data)?.[1] ?? this.lastCode) });
      return false;
    }
    if (!this.used) await this.rest(output.data !== "");
    return true;
  }

  private async take(data: string, len: number): Promise<void> {
    const bytes = data === "" ? 0 : encoder.encode(data).length;
    // Replacement characters make the text longer than the bytes were, so this never claims too much.
    const skipped = this.replayed ? Math.max(0, len - this.since - bytes) : 0;
    this.since = len;
    const replay = !this.replayed;
    this.replayed = true;
    const code = endLine.exec(data)?.[1];
    if (code !== undefined) this.lastCode = Number(code);
    // The line about the end has no carriage return of its own.
    const text = data.replace(endLine, "\r\n\x1b[2m[session ended, exit $1]\x1b[22m\r\n");
    if (text === "") return;
    await this.options.show({ text, skipped, replay });
    // One piece per frame: whatever is printed, the page gets its turn.
    if (data.length > 65_536) await nextFrame();
  }

  private rest(active: boolean): Promise<unknown> {
    this.pause = active ? besidePause : Math.min(this.pause * 1.5, besideLongest);
    return this.idle(this.pause);
  }

  private async failed(error: unknown): Promise<boolean> {
    if (this.stopped) return false;
    if (this.waiting.signal.aborted) return true;
    if ((error as { status?: number }).status === 404) {
      this.options.ended({ exitCode: null });
      return false;
    }
    this.options.lost(error instanceof Error ? error.message : String(error));
    await this.idle(retryPause);
    return true;
  }
}
