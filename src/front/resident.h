#pragma once

#include "front/client/command_line.h"
#include "front/homes.h"
#include "front/options.h"

namespace mrb::front {

/// `boot` and `boot gui`: the resident proper, without a console of its own. Returns the exit
/// status when it is closed, or at once when another resident holds the port (0) or the port cannot
/// be had (1): a resident without a listener is never left running.
[[nodiscard]] int RunBoot(const Options& options, const Homes& homes, bool open_page);

/// A resident in the foreground (`serve`, `gui`, …, by `role`; `word` is the line itself). When
/// another resident holds the port, its page is opened or its address printed instead.
[[nodiscard]] int RunInteractive(const Options& options, const Homes& homes, Role role,
                                 std::string_view word);

/// Opens a page of the resident, or prints its address where there is no browser to open it in.
void ShowPage(std::int32_t port, std::string_view path);

/// `vc:start`: follows the enrolled directories until the process is ended, without a server. The
/// exit status, where it cannot begin.
[[nodiscard]] int RunVersionControl(const Homes& homes);

}  // namespace mrb::front
