#include "front/file_verbs.h"

#include "platform/folders.h"
#include "server/interpreter_bridge.h"

namespace mrb::front {

vfs::VfsCall CallOf(const Engine& engine) {
  // The caller's folder; a command that runs in the caller's own process has no other.
  const std::string& folder = server::CurrentCallSettings().working_directory;
  return {.author = engine.services->authors->author_of(engine.bot),
          .working_directory = platform::AbsolutePath(folder.empty() ? "." : folder),
          .registers = engine.services->registers->of(engine.bot)};
}

std::string RunFiles(const Engine& engine, std::string_view name_space, std::string_view verb,
                     std::string_view arguments) {
  return engine.services->files->execute(CallOf(engine), name_space, verb, arguments);
}

}  // namespace mrb::front
