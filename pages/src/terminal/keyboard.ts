import { ApiError } from "../api/client";
import { sendKeys } from "./sessions";

type Bytes = Uint8Array<ArrayBuffer>;

function joined(pieces: readonly Bytes[]): Bytes {
  const all = new Uint8Array(pieces.reduce((sum, piece) => sum + piece.length, 0));
  let at = 0;
  for (const piece of pieces) {
    all.set(piece, at);
    at += piece.length;
  }
  return all;
}

/// What was typed into one session, sent in order: one request at a time, and what is typed meanwhile goes
/// with the next. Keys that come before there is a session wait for it.
export class Keyboard {
  private waiting: Bytes[] = [];
  private sending = false;
  private id: string | null = null;

  /// `refused` is told when keys were not taken; they are gone then.
  constructor(private readonly refused: (message: string) => void) {}

  attach(id: string): void {
    this.id = id;
    void this.drain();
  }

  type(text: string): void {
    this.push(new TextEncoder().encode(text));
  }

  /// One byte per character, as old mouse reports have them.
  typeBytes(binary: string): void {
    this.push(Uint8Array.from(binary, (character) => character.charCodeAt(0)));
  }

  private push(bytes: Bytes): void {
    this.waiting.push(bytes);
    void this.drain();
  }

  private async drain(): Promise<void> {
    if (this.sending || this.id === null) return;
    this.sending = true;
    while (this.waiting.length > 0) {
      const keys = joined(this.waiting);
      this.waiting = [];
      try {
        await sendKeys(this.id, keys);
      } catch (error) {
        this.waiting = [];
        this.refused(error instanceof ApiError ? error.message : String(error));
      }
    }
    this.sending = false;
  }
}
