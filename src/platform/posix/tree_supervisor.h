#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/error.h"
#include "platform/posix/child_start.h"
#include "platform/posix/descriptor.h"

namespace mrb::platform {

/// A small process between this one and a program that it started. Whatever descends from the
/// program and loses its parent becomes the supervisor's child instead of the system's, so that a
/// new session or a cleaned environment hides nobody from who ends the tree. It leaves when this
/// process lets go of it or is gone, or when the program has ended and nobody else is left.
/// Thread-safe but for its making, settling and end.
class TreeSupervisor {
 public:
  /// Starts the program. Errors: the system's, with the program's name.
  [[nodiscard]] static Result<TreeSupervisor> start(const ChildStart& start,
                                                    const std::vector<std::string>& environment);
  TreeSupervisor(TreeSupervisor&&) = default;
  TreeSupervisor& operator=(TreeSupervisor&&) = delete;
  /// Lets go: what is left of the tree is the system's then.
  ~TreeSupervisor();

  /// 0 once it was settled.
  [[nodiscard]] pid_t id() const { return id_; }
  [[nodiscard]] pid_t program() const { return program_; }

  /// Readable once the program has ended; owned by the supervisor.
  [[nodiscard]] int end() const { return control_.get(); }

  /// The program's exit code, 128 + the number of a signal; nothing while it runs. For a supervisor
  /// that somebody killed, as if the program had been.
  [[nodiscard]] std::optional<std::uint32_t> exit_code() const;

  /// Whether somebody killed the supervisor: nobody watches the tree any more.
  [[nodiscard]] bool was_killed() const;

  /// Once there is an exit code: takes leave of a supervisor that stays for nobody.
  void settle();

 private:
  TreeSupervisor(pid_t id, Descriptor control) : id_(id), control_(std::move(control)) {}

  pid_t id_;
  pid_t program_ = 0;
  Descriptor control_;  // none once it was moved from
};

}  // namespace mrb::platform
