#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "common/error.h"
#include "platform/windows/handle.h"

namespace mrb::platform {

struct ChildStart {
  std::wstring program;  ///< its path; empty: the first word of the command line, searched for
  std::wstring command_line;
  std::wstring folder;  ///< empty: this process's own
  DWORD flags = 0;
  HANDLE input = nullptr;   ///< with an output: the child's streams, the only handles it inherits;
  HANDLE output = nullptr;  ///< both null: it has the streams of its console
  void* pseudo_console = nullptr;  ///< its console
};

/// The start-up flag of a child without a stream of ours: where it is missing, Windows copies this
/// process's files and pipes into the child, even into one that has a console of its own. Wine does
/// not, and would leave a child that has the flag without its console's streams; there it is 0.
[[nodiscard]] DWORD NoStreamsFlag();

/// A child in a job of its own, which holds whatever it starts.
class ChildProcess {
 public:
  [[nodiscard]] static Result<std::unique_ptr<ChildProcess>> start(ChildStart start);

  /// Signalled once the child has ended.
  [[nodiscard]] HANDLE process() const { return process_.get(); }
  [[nodiscard]] DWORD exit_code() const;

  /// Ends it with everything it started. Any thread.
  void end_tree() const;

 private:
  ChildProcess(Handle process, Handle job);

  Handle process_;
  Handle job_;
};

}  // namespace mrb::platform
