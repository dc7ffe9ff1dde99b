#pragma once

#include <optional>
#include <span>

#include "server/routes/route.h"

namespace mrb::server {

/// All routes, in the order in which they are tried.
[[nodiscard]] std::span<const Route> Routes();

/// The first row that matches; null when none does.
[[nodiscard]] const Route* FindRoute(const RequestLine& line);

/// The 403 for a caller that may not enter the route (null: any may); nothing for one that may.
/// Needs the request's head alone.
[[nodiscard]] std::optional<Response> RefuseRequest(const Request& request, const Route* route);

/// Runs the handler of the row that matches, or refuses the caller; 404 "not found" without a row.
/// Never throws: what a handler could not do for want of memory, or for an error it did not expect,
/// is a 500.
[[nodiscard]] Response AnswerRequest(const Request& request, const Services& services);

/// Whether the caller of a request has that access.
[[nodiscard]] bool MayEnter(const Request& request, Access access);

}  // namespace mrb::server
