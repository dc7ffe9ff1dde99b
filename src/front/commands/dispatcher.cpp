#include "front/commands/dispatcher.h"

#include <algorithm>
#include <array>
#include <optional>

#include "common/answer.h"
#include "common/text.h"
#include "front/commands/command_text.h"
#include "front/commands/engine.h"
#include "front/commands/fssys.h"
#include "front/commands/plain_language.h"
#include "memory/verbs/memory_service.h"

namespace mrb::front {
namespace {

/// Runs a verb, already in lower case, of the namespace or family.
using Handler = std::string (*)(const Engine& engine, std::string_view name, std::string_view verb,
                                std::string_view arguments);

/// A namespace, `name:verb`. A row without a handler belongs to a subsystem that this build has
/// not.
struct NamespaceRow {
  std::string_view name;
  std::string_view only_verb;  ///< when set, other verbs are as good as unknown
  Handler handler;
};

constexpr std::array kNamespaces{
    NamespaceRow{"fsvctl", "", &RunFiles},   NamespaceRow{"fsraw", "", &RunFiles},
    NamespaceRow{"fs", "", &RunFiles},       NamespaceRow{"fsmk", "", &RunFiles},
    NamespaceRow{"fslock", "", &RunFiles},   NamespaceRow{"fsstat", "", &RunFiles},
    NamespaceRow{"fssys", "", &RunFssys},    NamespaceRow{"config", "", nullptr},
    NamespaceRow{"claude", "", nullptr},     NamespaceRow{"callsigns", "", nullptr},
    NamespaceRow{"keys", "", nullptr},       NamespaceRow{"mem0", "", nullptr},
    NamespaceRow{"langchain", "", nullptr},  NamespaceRow{"journal", "", nullptr},
    NamespaceRow{"budget", "", nullptr},     NamespaceRow{"remotein", "", nullptr},
    NamespaceRow{"workflow", "", nullptr},   NamespaceRow{"job", "", nullptr},
    NamespaceRow{"grep", "edit", &RunFiles},
};

std::string RunMemory(const Engine& engine, std::string_view /*name*/, std::string_view verb,
                      std::string_view arguments) {
  return engine.services->memory->execute(engine.bot, verb, arguments);
}

/// A family, `name.verb`, known by its name alone too when a verb is given for that.
struct FamilyRow {
  std::string_view name;
  std::string_view verb_without_dot;
  Handler handler;
};

constexpr std::array kFamilies{
    FamilyRow{"memory", "help", &RunMemory},
    FamilyRow{"bots", "", nullptr},
    FamilyRow{"mem0", "help", nullptr},
    FamilyRow{"langchain", "help", nullptr},
};

constexpr std::string_view kScriptRefusal =
    "?() queries and script statements don't replay here (action bodies / REPL front-end carry "
    "commands only — fs:/fsraw:/fsvctl:/fsmk:/fslock:/fsstat:/fssys: or natural language). Keep "
    "loops "
    "and queries in the live turn; put the verbs in the action.";

bool IsSelfAddress(std::string_view lower_name) {
  return lower_name == "mirebolt" || lower_name == "mrb" || lower_name == "nl";
}

bool IsScriptText(std::string_view line) {
  return std::ranges::any_of(std::array<std::string_view, 4>{"?(", "{", "$", "#["},
                             [line](std::string_view start) { return line.starts_with(start); });
}

/// The family row of a head in lower case, and the verb in it.
struct FamilyCall {
  const FamilyRow* row;
  std::string_view verb;
};

std::optional<FamilyCall> FindFamily(std::string_view lower_head) {
  for (const FamilyRow& row : kFamilies) {
    if (!lower_head.starts_with(row.name)) continue;
    const std::string_view rest = lower_head.substr(row.name.size());
    if (rest.empty()) return FamilyCall{&row, row.verb_without_dot};
    if (rest[0] == '.') return FamilyCall{&row, rest.substr(1)};
  }
  return std::nullopt;
}

std::string RunHandler(const Engine& engine, Handler handler, std::string_view name, char separator,
                       std::string_view verb, std::string_view arguments) {
  const std::string lower_verb = LowerAscii(Trim(verb));
  if (handler == nullptr) {
    return NotInThisBuild(std::string(name) + separator + lower_verb);
  }
  const TraceSpan span(engine, std::string(name) + "." + lower_verb);
  return handler(engine, name, lower_verb, arguments);
}

std::string RunNamespace(const Engine& engine, const CommandText& command) {
  const auto row = std::ranges::find(kNamespaces, command.name_space, &NamespaceRow::name);
  if (row == kNamespaces.end() ||
      (!row->only_verb.empty() && !EqualsIgnoreCase(Trim(command.verb), row->only_verb))) {
    return ErrorAnswer("unknown namespace '" + std::string(command.name_space) +
                       "' — use Mirebolt:<what you want> (or legacy "
                       "fs/fsraw/fsvctl/fsmk/fslock/fsstat/fssys · or "
                       "config/claude/callsigns/journal/budget/workflow/job)");
  }
  return RunHandler(engine, row->handler, row->name, ':', command.verb, command.arguments);
}

std::string PlainText(const CommandText& command) {
  std::string text(command.verb);
  if (!command.arguments.empty()) text.append(" ").append(command.arguments);
  return text;
}

std::string Route(const Engine& engine, const CommandText& command) {
  if (command.line.empty()) return ErrorAnswer("empty command");
  if (IsSelfAddress(LowerAscii(command.name_space))) {
    return RunPlainLanguage(engine, PlainText(command));
  }
  const std::string lower_head = LowerAscii(command.head);
  if (const auto family = FindFamily(lower_head)) {
    return RunHandler(engine, family->row->handler, family->row->name, '.', family->verb,
                      command.arguments);
  }
  if (IsScriptText(command.line)) return ErrorAnswer(kScriptRefusal);
  if (!command.has_colon) {
    return ErrorAnswer("no namespace (expected fs:/fsraw:/fsvctl: — or Mirebolt:<what you want>)");
  }
  if (command.verb.empty()) {
    return ErrorAnswer("no verb after '" + std::string(command.name_space) + ":'");
  }
  return RunNamespace(engine, command);
}

}  // namespace

void Dispatch(const Engine& engine, std::string& answer, std::string_view line) {
  answer = Route(engine, SplitCommand(line));
}

std::string RunPlainLanguage(const Engine& engine, std::string_view text) {
  const TraceSpan span(engine, "Mirebolt.nl(total)");
  PlainCommand said = ReadPlainLanguage(text);
  if (!said.refusal.empty()) return std::move(said.refusal);
  std::string answer;
  Dispatch(engine, answer, said.command);
  return answer;
}

bool HasRoute(std::string_view line) {
  const CommandText command = SplitCommand(line);
  return command.has_colon || IsSelfAddress(LowerAscii(command.name_space)) ||
         FindFamily(LowerAscii(command.head)).has_value();
}

}  // namespace mrb::front
