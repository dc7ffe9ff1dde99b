#include "front/interpreter.h"

#include <chrono>
#include <exception>
#include <utility>

#include "common/answer.h"
#include "front/commands/line_driver.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/local_time.h"
#include "platform/process.h"

namespace mrb::front {
namespace {

std::uint64_t UnixSeconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

/// Where the caller of this thread's command is.
CallerFolder CallersFolder() {
  return server::CurrentCallSettings().folder;
}

/// Long work tells how far it has come, to whoever watches this process' console.
void ShowProgress(const std::string& text) {
  if (platform::StderrIsConsole()) {
    platform::WriteStderr("Mirebolt: " + text + "\n");
  }
}

vfs::VfsOptions FileOptions(const Homes& homes, const BotAuthors& authors,
                            std::function<void(std::string_view)> print, bool is_console,
                            vfs::ChangeObserver changed) {
  vfs::VfsOptions options;
  options.files = &platform::SystemFiles();
  options.data_home = homes.data_home;
  options.executable_folder = homes.executable_folder;
  options.settings_files = homes.settings_files();
  options.user_profile = platform::UserHome();
  // Whoever works at this machine uses the command line too: their editor's saves are theirs.
  options.outside_author = [&authors] { return authors.author_of("cli"); };
  options.print = std::move(print);
  options.print_is_console = is_console;
  options.changed = std::move(changed);
  return options;
}

/// The versions of an enrolled folder's files as the memory takes them.
std::optional<std::vector<memory::FileVersion>> VersionsForMemory(vfs::VfsService& files,
                                                                  const std::string& folder) {
  auto versions = files.versions_in(folder);
  if (!versions) return std::nullopt;
  std::vector<memory::FileVersion> taken;
  for (const auto& version : *versions) {
    const VersionStamp& stamp = version.stamp;
    taken.push_back(
        {.name = version.name,
         .bytes = std::string(version.bytes.bytes()),
         .written = platform::UnixSecondsOfLocal(
             {stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second})});
  }
  return taken;
}

}  // namespace

Interpreter::Interpreter(const Homes& homes, std::function<void(std::string_view)> print,
                         bool is_console, WriteObservers observers)
    : memory_({.contexts_folder = homes.contexts_folder(),
               .files = &platform::SystemFiles(),
               .now = &UnixSeconds,
               .folder = &CallersFolder,
               .progress = &ShowProgress,
               .file_versions =
                   [this](const std::string& folder) { return VersionsForMemory(files_, folder); },
               .registers = [this](std::string_view bot) { return registers_.of(bot); },
               .changed = std::move(observers.memory)}),
      files_(
          FileOptions(homes, authors_, std::move(print), is_console, std::move(observers.files))),
      services_{.memory = &memory_,
                .files = &files_,
                .authors = &authors_,
                .registers = &registers_,
                .trace = {},
                .ending = &ending_} {}

Engine Interpreter::engine_for(std::string_view bot) const {
  return {.bot = std::string(bot), .store_label = "fs", .services = &services_};
}

void Interpreter::execute(std::string_view bot, std::string_view command, std::string& answer) {
  // The last line of defence of a resident that serves others too: a command that runs out of
  // memory is that command's failure.
  try {
    answer = RunLine(engine_for(bot), command).answer;
  } catch (const std::exception& problem) {
    answer = ErrorAnswer(std::string("the command failed: ") + problem.what());
  }
}

}  // namespace mrb::front
