/// The one way to the resident. Every answer is JSON with "ok"; what is not ok, not JSON or not reachable
/// is thrown as an ApiError, whose message can be shown as it is.

export class ApiError extends Error {
  /// 0 when there was no answer at all.
  constructor(
    message: string,
    readonly status: number,
  ) {
    super(message);
  }
}

export type Params = Record<string, string | number | boolean | undefined>;
interface Options {
  params?: Params;
  signal?: AbortSignal;
}

function address(path: string, params: Params = {}): string {
  const query = new URLSearchParams();
  for (const [key, value] of Object.entries(params)) {
    if (value !== undefined) query.set(key, String(value));
  }
  const text = query.toString();
  return text ? `${path}?${text}` : path;
}

function errorIn(answer: unknown, status: number): string {
  const text = (answer as { error?: unknown } | null)?.error;
  return typeof text === "string" && text ? text : `the resident answered ${status}`;
}

async function request<T>(path: string, options: Options, init: RequestInit): Promise<T> {
  let response: Response;
  try {
    response = await fetch(address(path, options.params), {
      ...init,
      signal: options.signal ?? null,
      cache: "no-store",
    });
  } catch (error) {
    if (options.signal?.aborted) throw error;
    throw new ApiError("the resident does not answer", 0);
  }
  let answer: unknown;
  try {
    answer = await response.json();
  } catch (error) {
    if (options.signal?.aborted) throw error;
    throw new ApiError(`no JSON from ${path} (${response.status})`, response.status);
  }
  if (!response.ok || (answer as { ok?: unknown } | null)?.ok === false) {
    throw new ApiError(errorIn(answer, response.status), response.status);
  }
  return answer as T;
}

export const api = {
  get<T>(path: string, params?: Params, options: Omit<Options, "params"> = {}): Promise<T> {
    return request<T>(path, { ...options, ...(params && { params }) }, { method: "GET" });
  },

  /// A string or bytes go out as they are, fields as a form, anything else as JSON.
  post<T>(path: string, body?: unknown, options: Options = {}): Promise<T> {
    const form = body instanceof URLSearchParams;
    const raw = typeof body === "string" || body instanceof Uint8Array;
    const type = form ? "application/x-www-form-urlencoded" : raw ? "text/plain; charset=utf-8" : "application/json";
    return request<T>(path, options, {
      method: "POST",
      body: body === undefined ? null : form ? body.toString() : raw ? (body as BodyInit) : JSON.stringify(body),
      headers: { "Content-Type": type },
    });
  },

  /// A post of fields, as the routes below /ui/api/ take them; undefined ones are left out.
  send<T>(path: string, fields: Params, options: Options = {}): Promise<T> {
    return api.post<T>(path, new URLSearchParams(address("", fields).slice(1)), options);
  },
};

/// Runs one command line as `mb` would and gives its answer text; an "ERROR: …" answer is thrown.
export async function runLine(line: string, bot = "cli"): Promise<string> {
  const { out } = await api.post<{ out: string }>("/console/exec", line, { params: { bot } });
  if (out.startsWith("ERROR:")) throw new ApiError(out.slice(6).trim(), 200);
  return out;
}
