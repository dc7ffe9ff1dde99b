import { ApiError } from '../api/client';
import { sendKeys } from './sessions';

/// What was typed into one session, sent in order: one request at a time, and what is typed meanwhile goes
/// with the next. Keys that come before there is a session wait for it.
export class Keyboard {
  private waiting: Uint8Array<ArrayBuffer>[] = [];
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

  private push(bytes: Uint8Array<ArrayBuffer>): void {
    this.waiting.push(bytes);
    void this.drain();
  }

  private async drain(): Promise<void> {
    if (this.sending || this.id === null) return;
    this.sending = true;
    while (this.waiting.length > 0) {
      const keys = new Blob(this.waiting);
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
