import { FitAddon } from "@xterm/addon-fit";
import { Terminal } from "@xterm/xterm";
import "@xterm/xterm/css/xterm.css";
import { effect } from "@preact/signals";
import { dark } from "../app/theme";
import { wantedInTerminal } from "../ui/actions";
import { darkColours, lightColours } from "./colours";
import { Follower, type Ending, type Piece } from "./follower";
import { Keyboard } from "./keyboard";
import { resizeSession } from "./sessions";

interface ScreenOptions {
  host: HTMLElement;
  /// What a screen reader calls it.
  label: string;
  ended(ending: Ending): void;
  /// Something to tell: keys were refused, the connection is lost.
  problem(message: string): void;
  title?(title: string): void;
  /// Bytes that were printed faster than they could be shown, in all.
  skipped?(bytes: number): void;
}

const scrollback = 5_000;
const settle = 60;

/// One terminal on the page: the emulator, fitted to its box, fed by a Follower and typed into a Keyboard.
export class Screen {
  private readonly terminal: Terminal;
  private readonly fit = new FitAddon();
  private readonly keyboard: Keyboard;
  private readonly undo: (() => void)[] = [];
  private follower: Follower | null = null;
  private id: string | null = null;
  private told = "";
  private began = false;
  private lost = 0;
  private replaying = false;
  private timer: ReturnType<typeof setTimeout> | undefined;

  constructor(private readonly options: ScreenOptions) {
    const { host } = options;
    const style = getComputedStyle(document.documentElement);
    const terminal = new Terminal({
      fontFamily: style.getPropertyValue("--mono"),
      fontSize: Math.round(parseFloat(style.fontSize) * 0.93),
      lineHeight: 1.15,
      scrollback,
      cursorBlink: true,
      cursorInactiveStyle: "outline",
      minimumContrastRatio: 4.5,
      theme: dark.value ? darkColours : lightColours,
      macOptionIsMeta: true,
      // A program's links are not opened: pages ask nothing of other machines.
      linkHandler: { activate: (_, address) => void navigator.clipboard.writeText(address) },
    });
    this.terminal = terminal;
    this.keyboard = new Keyboard(options.problem);
    terminal.loadAddon(this.fit);
    terminal.open(host);
    terminal.textarea?.setAttribute("aria-label", options.label);
    terminal.attachCustomKeyEventHandler((event) => this.mayTake(event));
    terminal.onData((data) => this.speaks() && this.keyboard.type(data));
    terminal.onBinary((data) => this.speaks() && this.keyboard.typeBytes(data));
    terminal.onTitleChange((title) => options.title?.(title));
    this.fit.fit();
    this.watch();
  }

  get size(): { cols: number; rows: number } {
    return { cols: this.terminal.cols, rows: this.terminal.rows };
  }

  /// Shows this session from what is still held of its output on. `fresh`: it was opened for this page,
  /// so its program's questions are ours to answer from the first byte on.
  attach(id: string, fresh = false): void {
    this.detach();
    this.terminal.reset();
    this.terminal.options.disableStdin = false;
    this.id = id;
    this.told = "";
    this.began = false;
    this.keyboard.attach(id);
    this.follower = new Follower({
      id,
      fresh,
      show: (piece) => this.show(piece),
      began: () => {
        this.began = true;
        this.tellSize();
      },
      ended: (ending) => this.finish(ending),
      lost: this.options.problem,
    });
    this.look();
    this.follower.start();
  }

  focus(): void {
    this.terminal.focus();
  }

  /// Ends it all; the session goes on.
  dispose(): void {
    this.detach();
    for (const undo of this.undo) undo();
    this.terminal.dispose();
  }

  private detach(): void {
    this.follower?.stop();
    this.follower = null;
    this.id = null;
  }

  /// Programs ask terminals questions, and the emulator answers as if it were typed. What was asked
  /// before we came is not answered again, and of several pages on one session only the one in use answers.
  private speaks(): boolean {
    return !this.replaying && document.activeElement === this.terminal.textarea;
  }

  private mayTake(event: KeyboardEvent): boolean {
    if (event.type !== "keydown") return true;
    if (event.ctrlKey && event.shiftKey && event.code === "KeyC" && this.terminal.hasSelection()) {
      event.preventDefault();
      void navigator.clipboard.writeText(this.terminal.getSelection());
      return false;
    }
    return !wantedInTerminal(event);
  }

  private show({ text, skipped, replay }: Piece): Promise<void> {
    if (skipped > 0) {
      this.lost += skipped;
      this.options.skipped?.(this.lost);
    }
    // After a gap: end a sequence that was cut off, and its colours.
    const bytes = skipped > 0 ? `\x18\x1b[m${text.slice(text.indexOf("\n") + 1)}` : text;
    this.replaying = replay;
    return new Promise((done) =>
      this.terminal.write(bytes, () => {
        this.replaying = false;
        done();
      }),
    );
  }

  private finish(ending: Ending): void {
    this.id = null;
    this.terminal.options.disableStdin = true;
    this.terminal.write("\x1b[?25l");
    this.options.ended(ending);
  }

  private readonly look = (): void => {
    this.follower?.setSeen(document.visibilityState === "visible");
    this.follower?.setUsed(document.hasFocus() && document.activeElement === this.terminal.textarea);
  };

  private watch(): void {
    const { host } = this.options;
    const observer = new ResizeObserver(() => {
      clearTimeout(this.timer);
      this.timer = setTimeout(() => {
        if (host.clientWidth === 0) return;
        this.fit.fit();
        this.tellSize();
      }, settle);
    });
    observer.observe(host);
    // The focus moves after blur was told of.
    const later = () => setTimeout(this.look);
    const gained = () => {
      this.look();
      this.told = "";
      this.tellSize();
    };
    const on = (target: EventTarget, type: string, handler: () => void) => {
      target.addEventListener(type, handler);
      this.undo.push(() => target.removeEventListener(type, handler));
    };
    on(host, "focusin", gained);
    on(host, "focusout", later);
    on(window, "focus", gained);
    on(window, "blur", later);
    on(document, "visibilitychange", this.look);
    this.undo.push(
      () => observer.disconnect(),
      () => clearTimeout(this.timer),
      effect(() => {
        this.terminal.options.theme = dark.value ? darkColours : lightColours;
      }),
    );
  }

  /// The program's terminal has the size of the one in use, or of the only one.
  private tellSize(): void {
    const { cols, rows } = this.size;
    const size = `${cols}x${rows}`;
    if (this.id === null || !this.began || size === this.told) return;
    this.told = size;
    resizeSession(this.id, cols, rows).catch(() => {
      this.told = "";
    });
  }
}
