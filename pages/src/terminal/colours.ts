import type { ITheme } from '@xterm/xterm';

/// The emulator needs plain colours; these go with tokens.css. It lifts what a program prints to a readable
/// contrast by itself.
export const darkColours: ITheme = {
  background: '#0c0f10', foreground: '#dfe4e3', cursor: '#4cc4b3', cursorAccent: '#0c0f10', selectionBackground: '#1f5a54',
  black: '#23292b', red: '#f28b82', green: '#6cc78d', yellow: '#e0b252', blue: '#7fb0f5', magenta: '#d59bf0', cyan: '#5cc9d6', white: '#c9d1cf',
  brightBlack: '#8f9a98', brightRed: '#ffaba3', brightGreen: '#8fe0ab', brightYellow: '#f3cd7c', brightBlue: '#a6c9ff', brightMagenta: '#e6bcfa', brightCyan: '#8be0ea', brightWhite: '#f4f7f6',
  scrollbarSliderBackground: '#6b767955', scrollbarSliderHoverBackground: '#6b767999', scrollbarSliderActiveBackground: '#6b7679cc',
};

export const lightColours: ITheme = {
  background: '#fdfdfc', foreground: '#1a2120', cursor: '#0a6b62', cursorAccent: '#ffffff', selectionBackground: '#b9e2db',
  black: '#1a2120', red: '#b3261e', green: '#1c6b3a', yellow: '#855600', blue: '#1f5cb8', magenta: '#8a3aa8', cyan: '#0b6e7c', white: '#626d6a',
  brightBlack: '#4b5653', brightRed: '#c9372e', brightGreen: '#23804a', brightYellow: '#946200', brightBlue: '#2f6fd0', brightMagenta: '#9c4bbb', brightCyan: '#117f8f', brightWhite: '#3a4341',
  scrollbarSliderBackground: '#868f8c55', scrollbarSliderHoverBackground: '#868f8c99', scrollbarSliderActiveBackground: '#868f8ccc',
};
