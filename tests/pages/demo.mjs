// A small project as agents and people leave it behind, for pictures.
import { mkdir, writeFile } from "node:fs/promises";
import { join } from "node:path";

const parser = (extra) => `#include "parser.h"

namespace feed {

/// Reads one record. A record that is cut off is left for the next read.
Result<Record> ReadRecord(Reader& reader) {
  const auto length = reader.number();
  if (!length) return Fail("no length");
${extra}  return Record{reader.take(*length)};
}

}  // namespace feed
`;

const saves = [
  ["src/parser.cpp", parser("")],
  [
    "src/parser.h",
    '#pragma once\n\n#include "reader.h"\n\nnamespace feed {\n\nstruct Record {\n  std::string text;\n};\n\n}  // namespace feed\n',
  ],
  ["README.md", "# Feed\n\nReads feeds, one record at a time.\n"],
  ["src/parser.cpp", parser('  if (*length > reader.left()) return Fail("cut off");\n')],
  ["notes/release.md", "# Release 1.4\n\n- [ ] crash suite\n- [ ] notes\n"],
  [
    "src/parser.cpp",
    parser(
      '  if (*length > kMostBytes) return Fail("too long");\n  if (*length > reader.left()) return Incomplete();\n',
    ),
  ],
  ["notes/release.md", "# Release 1.4\n\n- [x] crash suite\n- [ ] notes\n"],
];

const memos = [
  [
    "feed",
    "parser",
    "decision",
    "A record that is cut off is no error: the reader keeps it and the next read goes on from there.",
  ],
  [
    "feed",
    "parser",
    "warning",
    "The length is what a stranger sent. Check it against what is left before anything is reserved.",
  ],
  [
    "feed",
    "build",
    "procedure|usage",
    "Configure once with cmake --preset release; after that only cmake --build --preset release.",
  ],
  [
    "feed",
    "build",
    "constraint",
    "The build on Windows needs the UCRT toolchain: with the old one std::from_chars is missing for double.",
  ],
  [
    "feed",
    "release",
    "procedure",
    "Tag the commit, run make release, wait for the crash suite, then publish the notes.",
  ],
  ["feed", "release", "warning", "Never on a Friday."],
  ["team", "reviews", "preference", "Small commits, one idea each; the message says why, the diff says what."],
  ["team", "people", "-", "ann watches the nightly build, builder is the agent that runs it."],
];

const talk = [
  ["ann", "Morning. The release branch is cut, and I am watching the nightly."],
  ["builder", "nightly: 1,204 passed, 0 failed in 6 min 12 s"],
  ["ann", "Thanks. Can you also run the crash suite with the new journal?"],
  ["builder", "Running. It replays every write of the last 400 verbs; about 4 minutes."],
  [
    "reviewer",
    "I left two memos in feed: parser#1 is a decision, parser#2 a warning about lengths.\nThe rest of the change looks good to me.",
  ],
  ["builder", "crash suite: 400 of 400 replayed, nothing lost"],
];

/// What a program printed, under a title of its own.
const print = (lines) => `printf '\\033]0;~/feed\\007${lines.join("\\n")}\\n'; exec cat`;

/// Fills a World (see harness.mjs).
export async function fill(world) {
  const root = join(world.folder, "feed");
  for (const folder of ["src", "notes"]) await mkdir(join(root, folder), { recursive: true });
  await writeFile(join(root, "CMakeLists.txt"), "cmake_minimum_required(VERSION 3.25)\nproject(feed)\n");
  await world.line(`enroll ${root}`);
  for (const [index, [file, text]] of saves.entries()) {
    const bot = ["ann", "builder", "reviewer"][index % 3];
    const answer = await world.post(
      `/console/exec?bot=${bot}`,
      `fsmk:file <path>${file}</path><content>${text}</content>`,
    );
    if (!answer.out.startsWith("OK")) throw new Error(answer.out);
  }
  for (const [context, topic, types, text] of memos)
    await world.line(`memory.addmemo ann, ${context}, ${topic}, , ${types}, ${text}`);
  for (const [from, text] of talk) await world.post(`/chat/say?from=${from}`, text);
  for (const who of ["builder", "reviewer"]) await fetch(`${world.address}/chat/next?channel=general&as=${who}&wait=0`);
  await fetch(`${world.address}/chat/next?channel=release&as=nightly&wait=0`);

  const dim = "\\033[2m",
    green = "\\033[32m",
    red = "\\033[31m",
    blue = "\\033[34m",
    bold = "\\033[1m",
    off = "\\033[0m";
  const sessions = [
    [
      "build",
      print([
        `${blue}${bold}feed${off} $ cmake --build --preset release`,
        `${dim}[1/18]${off} Building CXX object src/reader.cpp.o`,
        `${dim}[9/18]${off} Building CXX object src/parser.cpp.o`,
        `${dim}[18/18]${off} Linking CXX executable bin/feed`,
        `${blue}${bold}feed${off} $ `,
      ]),
    ],
    [
      "tests",
      print([
        `${blue}${bold}feed${off} $ make test`,
        `${green}PASS${off} reader       ${dim}212 ms${off}`,
        `${green}PASS${off} parser       ${dim}94 ms${off}`,
        `${red}FAIL${off} journal      ${dim}1,022 ms${off}`,
        "     torn_tail: 12 bytes were kept, 0 wanted",
        `${green}PASS${off} journal      ${dim}980 ms, second run${off}`,
        "",
        "1204 passed, 0 failed",
      ]),
    ],
  ];
  for (const [name, command] of sessions) {
    const { id } = await world.post("/term/open", command);
    await world.post(`/term/name?id=${id}&name=${name}`);
  }
}
