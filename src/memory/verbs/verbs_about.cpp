// stats, striptotokens and help: the verbs that tell about a context, a text, and the verbs.

#include "common/answer.h"
#include "common/text.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/context_reading.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

std::string number(std::uint64_t value) {
  return std::to_string(value);
}

std::string untimed_remark(std::uint64_t untimed) {
  return untimed == 0 ? "" : "  (" + number(untimed) + " untimed, migrated from MRB2)";
}

std::string models_of(const ContextStore& store) {
  std::uint64_t keys = 0;
  std::string lines;
  for (const Overlay& overlay : store.overlays().all()) {
    keys += overlay.keyed();
    const std::size_t behind = overlay.behind(store.index().memos());
    lines += "\n    " + overlay.name() + ": " + number(overlay.labels().size()) + " label(s), " +
             number(overlay.keyed()) + " keyed, mark @" + number(overlay.mark()) +
             (behind == 0 ? " current" : " behind by " + number(behind));
  }
  for (const std::string& file : store.overlays().damaged()) {
    lines += "\n    " + file + " is damaged and left alone";
  }
  return "\n  models:    " + number(store.overlays().all().size()) + " type(s), " + number(keys) +
         " memo key(s)" + lines;
}

void append_row(std::string& out, const VerbRow& row) {
  const auto line = [&](std::string_view label, std::string_view text) {
    if (!text.empty()) {
      out.append("\n    ").append(label).append(text);
    }
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

}  // namespace

std::string RunStats(const VerbCall& call) {
  const auto reading = ReadContext(call, 2);
  if (!reading) return reading.error();
  const auto& [fields, access] = *reading;
  const ContextStore& store = *access.store;
  const ContextIndex& index = store.index();
  const MemoTotals& totals = index.totals();
  std::string answer = "context '" + std::string(fields[1]) + "'" +
                       "\n  topics:    " + number(index.topics().size()) +
                       untimed_remark(totals.untimed) +
                       "\n  memos:     " + number(index.memos().size()) +
                       "\n  keywords:  " + number(index.keywords().size()) +
                       "\n  temporal:  " + number(index.webs().time().size()) + " time key(s)" +
                       "\n  vectors:   " + number(totals.vectors) + "  (semantic lane " +
                       (store.overlays().settings().armed ? "ARMED" : "off") + ")" +
                       models_of(store) + "\n  bytes:     " + number(store.heap().used()) +
                       " in RAM, " + number(store.bytes_on_disk()) + " on disk" +
                       "\n  written:   " + FormatWritten(totals.oldest) + " .. " +
                       FormatWritten(totals.newest) + " (UTC)";
  if (store.dropped_bytes() > 0) {
    answer +=
        "\n  dropped:   " + number(store.dropped_bytes()) + " byte(s) behind the last whole record";
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
    append_row(answer, row);
  }
  return answer;
}

}  // namespace mrb::memory
