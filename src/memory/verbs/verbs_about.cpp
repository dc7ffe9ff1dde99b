// stats, striptotokens and help: the verbs that tell about a context, a text, and the verbs.
// lint: is everything that a context holds in memory and on the disk in step?

#include "common/answer.h"
#include "common/text.h"
#include "memory/context/lint.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/context_reading.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

std::string UntimedRemark(std::uint64_t untimed) {
  return untimed == 0 ? "" : "  (" + Number(untimed) + " untimed, migrated from MRB2)";
}

std::string ModelsOf(const ContextStore& store) {
  std::uint64_t keys = 0;
  std::string lines;
  for (const Overlay& overlay : store.overlays().all()) {
    keys += overlay.keyed();
    const std::size_t behind = overlay.behind(store.index().memos());
    lines += "\n    " + overlay.name() + ": " + Number(overlay.labels().size()) + " label(s), " +
             Number(overlay.keyed()) + " keyed, mark @" + Number(overlay.mark()) +
             (behind == 0 ? " current" : " behind by " + Number(behind));
  }
  for (const std::string& file : store.overlays().damaged()) {
    lines += "\n    " + file + " is damaged and left alone";
  }
  return "\n  models:    " + Number(store.overlays().all().size()) + " type(s), " + Number(keys) +
         " memo key(s)" + lines;
}

void AppendRow(std::string& out, const VerbRow& row) {
  const auto line = [&](std::string_view label, std::string_view text) {
    if (!text.empty()) out.append("\n    ").append(label).append(text);
  };
  out.append("\n\n  ").append(row.verb);
  line("", row.summary);
  for (const std::string_view usage : Split(row.usage, '\n')) {
    line("usage: ", usage);
  }
  line("aliases: ", row.aliases);
  line("also: ", row.siblings);
  line("note: ", row.note);
}

std::string RunStats(const VerbCall& call) {
  const auto reading = ReadContext(call, 2);
  if (!reading) return reading.error();
  const auto& [fields, access] = *reading;
  const ContextStore& store = *access.store;
  const ContextIndex& index = store.index();
  const MemoTotals& totals = index.totals();
  std::string answer = "context '" + std::string(fields[1]) + "'" +
                       "\n  topics:    " + Number(index.topics().size()) +
                       UntimedRemark(totals.untimed) +
                       "\n  memos:     " + Number(index.memos().size()) +
                       "\n  keywords:  " + Number(index.keywords().size()) +
                       "\n  temporal:  " + Number(index.webs().time().size()) + " time key(s)" +
                       "\n  vectors:   " + Number(totals.vectors) + "  (semantic lane " +
                       (store.overlays().settings().armed ? "ARMED" : "off") + ")" +
                       ModelsOf(store) + "\n  bytes:     " + Number(store.heap().used()) +
                       " in RAM, " + Number(store.bytes_on_disk()) + " on disk" +
                       "\n  written:   " + FormatWritten(totals.oldest) + " .. " +
                       FormatWritten(totals.newest) + " (UTC)";
  if (store.dropped_bytes() > 0) {
    answer +=
        "\n  dropped:   " + Number(store.dropped_bytes()) + " byte(s) behind the last whole record";
  }
  if (const Status writable = store.writable(); !writable) {
    answer += "\n  refused:   " + writable.error().text;
  }
  return OkAnswer(answer);
}

std::string RunStripToTokens(const VerbCall& call) {
  const TokenList tokens = StripToTokens(call.rest);
  std::string answer = "OK:";
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    answer.append(" ").append(tokens[i]);
  }
  return answer;
}

std::string RunHelp(const VerbCall&) {
  std::string answer = OkAnswer(
      "memory — one bucket = one context's memories (topic -> content, keyword-indexed).\n"
      "A topic is a list of memos, addressed as topic#n (from 1) or as @offset.\n"
      "Fields are separated by commas; the LAST field takes the rest of the line, commas "
      "included;\n"
      "\"-\" leaves keywords or props empty. Where a verb adds, <context> may be {ctxA,ctxB}.\n"
      "Everything you can do (generated from the live registry):");
  for (const VerbRow& row : VerbRows()) {
    AppendRow(answer, row);
  }
  return answer;
}

std::string RunLint(const VerbCall& call) {
  const auto reading = ReadContext(call, 2);
  if (!reading) return reading.error();
  const auto& [fields, access] = *reading;
  const std::string context(fields[1]);
  const LintReport report = Lint(*access.store);
  if (report.count == 0) {
    return OkAnswer("context '" + context + "' is clean (" +
                    std::to_string(access.store->index().topics().size()) + " topic(s) checked)");
  }
  std::string answer =
      "WARN: context '" + context + "' has " + std::to_string(report.count) + " finding(s)";
  for (const std::string& finding : report.findings) {
    answer += "\n" + finding;
  }
  if (report.count > report.findings.size()) {
    answer += "\n... (" + std::to_string(report.count - report.findings.size()) + " more)";
  }
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "striptotokens",
     .usage = "memory.striptotokens <text>",
     .summary = "Words only: [a-z0-9] runs, case-folded; every other byte — ()=>?.| etc — is a "
                "separator and can never appear in a token. Common words filtered, deduped.",
     .run = RunStripToTokens},
    {.verb = "stats",
     .aliases = "stat",
     .usage = "memory.stats <botid>, <context>",
     .summary =
         "One grab of a context's shape: topics, memos, keywords, temporal keys, vectors, model "
         "types (each one's labels, keyed memos, mark, CURRENT/BEHIND), bytes, the span of "
         "write times.",
     .note = "Cheap and read-only. 'untimed' counts memos migrated from a pre-timestamp (MRB2) "
             "store — they sort last in recent.",
     .run = RunStats},
    {.verb = "lint",
     .aliases = "check verify",
     .usage = "memory.lint <botid>, <context>",
     .summary = "Cross-check a context's RAM indexes against its record buffer and its disk file. "
                "Read-only; one line per finding, 'clean' when nothing is wrong.",
     .note = "Run it when a store looks odd (counts disagree, a getmemo misses). Findings name the "
             "topic/memo; delete + re-add of that memo (or memory.export / import into a fresh "
             "context) is the repair. Aliases: check, verify.",
     .run = RunLint},
    {.verb = "help",
     .aliases = "? manifest",
     .usage = "memory.help",
     .summary = "Show this full capability reference.",
     .note = "Generated from the live registry — it can't go stale.",
     .run = RunHelp},
};

}  // namespace

std::span<const VerbRow> AboutVerbs() {
  return kRows;
}

}  // namespace mrb::memory
