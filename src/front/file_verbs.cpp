#include "front/file_verbs.h"

#include "platform/folders.h"
#include "server/interpreter_bridge.h"
#include "vfs/vfs_service.h"

namespace mrb::front {

std::string RunFiles(const Engine& engine, std::string_view name_space, std::string_view verb,
                     std::string_view arguments) {
  const vfs::VfsCall call{
      .author = engine.services->authors->author_of(engine.bot),
      // The caller's folder; a command that runs in the caller's own process has no other.
      .working_directory =
          platform::AbsolutePath(server::CurrentCallSettings().working_directory.empty()
                                     ? "."
                                     : server::CurrentCallSettings().working_directory)};
  return engine.services->files->execute(call, name_space, verb, arguments);
}

}  // namespace mrb::front
