/// 13 B, 4.2 KB, 1.9 MB: as the program's own answers write sizes, 1024 to the step.
export function formatBytes(bytes: number): string {
  const units = ["B", "KB", "MB", "GB", "TB"];
  let size = bytes;
  let unit = 0;
  while (size >= 1024 && unit + 1 < units.length) {
    size /= 1024;
    unit += 1;
  }
  return `${unit === 0 || size >= 100 ? Math.round(size) : size.toFixed(1)} ${units[unit]}`;
}

const numbers = new Intl.NumberFormat("en");
export function formatCount(count: number): string {
  return numbers.format(count);
}

/// "1 file", "3 files".
export function plural(count: number, one: string, many = `${one}s`): string {
  return `${formatCount(count)} ${count === 1 ? one : many}`;
}

/// 42 s, 12 min, 3 h 5 min, 2 d 4 h.
export function formatDuration(seconds: number): string {
  const s = Math.max(0, Math.floor(seconds));
  if (s < 60) return `${s} s`;
  if (s < 3600) return `${Math.floor(s / 60)} min`;
  if (s < 86400) return `${Math.floor(s / 3600)} h ${Math.floor((s % 3600) / 60)} min`;
  return `${Math.floor(s / 86400)} d ${Math.floor((s % 86400) / 3600)} h`;
}

const two = (n: number) => String(n).padStart(2, "0");

/// 2026-11-23 05:31:07 in local time, as the verbs print it. Seconds since 1970.
export function formatTime(seconds: number): string {
  const t = new Date(seconds * 1000);
  return `${formatDay(seconds)} ${two(t.getHours())}:${two(t.getMinutes())}:${two(t.getSeconds())}`;
}

export function formatDay(seconds: number): string {
  const t = new Date(seconds * 1000);
  return `${t.getFullYear()}-${two(t.getMonth() + 1)}-${two(t.getDate())}`;
}

/// "just now", "5 min ago", "yesterday 14:02", else the day and the time.
export function formatAgo(seconds: number, now = Date.now() / 1000): string {
  const age = now - seconds;
  if (age < 10) return "just now";
  if (age < 60) return `${Math.floor(age)} s ago`;
  if (age < 3600) return `${Math.floor(age / 60)} min ago`;
  const clock = formatTime(seconds).slice(11, 16);
  if (formatDay(seconds) === formatDay(now)) return clock;
  if (formatDay(seconds) === formatDay(now - 86400)) return `yesterday ${clock}`;
  return `${formatDay(seconds)} ${clock}`;
}
