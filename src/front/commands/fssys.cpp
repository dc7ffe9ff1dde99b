#include "front/commands/fssys.h"

#include <algorithm>
#include <array>

#include "common/answer.h"
#include "common/text.h"
#include "front/commands/capability_registry.h"

namespace mrb::front {
namespace {

std::string Help(const Engine& /*engine*/, std::string_view /*verb*/, std::string_view /*words*/) {
  return FullReference();
}

std::string Author(const Engine& engine, std::string_view verb, std::string_view name) {
  BotAuthors& authors = *engine.services->authors;
  if (name.empty() && verb == "whoami") {
    return OkAnswer("you are '" + authors.author_of(engine.bot) + "'");
  }
  if (name.empty()) return ErrorAnswer("usage  fssys:author <name>");
  if (!authors.set(engine.bot, name)) return ErrorAnswer("too many bots have set an author");
  return OkAnswer("author is '" + std::string(name) + "'");
}

std::string Registers(const Engine& engine, std::string_view /*verb*/, std::string_view /*words*/) {
  return ListRegisters(*engine.services->registers->of(engine.bot));
}

/// What is about a store belongs to the versioned files.
std::string OfStore(const Engine& engine, std::string_view verb, std::string_view arguments) {
  return RunFiles(engine, "fssys", verb, arguments);
}

struct Verb {
  std::string_view name;
  std::string_view aliases;
  std::string (*run)(const Engine&, std::string_view verb, std::string_view arguments);
};

constexpr std::array kVerbs{
    Verb{"help", "commands man manifest", &Help},
    Verb{"author", "setauthor iam whoami", &Author},
    Verb{"dump", "serialize snapshot", &OfStore},
    Verb{"reload", "", &OfStore},
    Verb{"flush", "", &OfStore},
    Verb{"turndepth", "turns", nullptr},
    Verb{"promote", "", nullptr},
    Verb{"actionrun", "runaction", nullptr},
    Verb{"checkpoint", "ckpt", nullptr},
    Verb{"registers", "", &Registers},
    Verb{"policy", "vcpolicy flags", &OfStore},
};

bool IsNamed(const Verb& row, std::string_view verb) {
  const auto aliases = SplitWords(row.aliases);
  return row.name == verb || std::ranges::find(aliases, verb) != aliases.end();
}

}  // namespace

std::string RunFssys(const Engine& engine, std::string_view /*name_space*/, std::string_view verb,
                     std::string_view arguments) {
  const auto row =
      std::ranges::find_if(kVerbs, [verb](const Verb& known) { return IsNamed(known, verb); });
  if (row == kVerbs.end()) {
    return ErrorAnswer("unknown fssys op '" + std::string(verb) +
                       "' (author|dump|reload|flush|turndepth|turns|promote|actionrun|policy|"
                       "checkpoint)");
  }
  if (row->run == nullptr) return NotInThisBuild("fssys:" + std::string(verb));
  return row->run(engine, verb, arguments);
}

}  // namespace mrb::front
