// lint: is everything that a context holds in memory and on the disk in step?

#include "common/answer.h"
#include "memory/context/lint.h"
#include "memory/verbs/context_reading.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

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

}  // namespace mrb::memory
