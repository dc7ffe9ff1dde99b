#include "server/terminals/saved_hosts.h"

#include <algorithm>

#include "common/text.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "server/terminals/terminal_command.h"

namespace mrb::server {
namespace {

auto FindHost(std::vector<TerminalHost>& hosts, std::string_view name) {
  return std::ranges::find(hosts, name, &TerminalHost::name);
}

}  // namespace

std::vector<TerminalHost> ParseHosts(std::string_view text) {
  std::vector<TerminalHost> hosts;
  for (std::string_view line : Split(text, '\n')) {
    line = Trim(line);
    const auto sign = line.find('=');
    if (line.starts_with('#') || sign == std::string_view::npos) continue;
    TerminalHost host{LowerAscii(Trim(line.substr(0, sign))),
                      std::string(Trim(line.substr(sign + 1)))};
    const bool usable = IsTerminalName(host.name) && !host.command.empty() &&
                        host.command.find('\0') == std::string::npos;
    if (usable && FindHost(hosts, host.name) == hosts.end()) hosts.push_back(std::move(host));
  }
  return hosts;
}

std::string FormatHosts(const std::vector<TerminalHost>& hosts) {
  std::string text = "# Terminals by name: name = command line\n";
  for (const TerminalHost& host : hosts) text += host.name + " = " + host.command + "\n";
  return text;
}

Result<std::vector<TerminalHost>> SavedHosts::read() {
  const auto text = platform::ReadFile(files_, path_);
  if (!text && text.error().kind == ErrorKind::kNotFound) return std::vector<TerminalHost>{};
  if (!text) return std::unexpected(text.error());
  if (text->size() > kMaxBytes) return Fail(ErrorKind::kCorrupt, path_ + " is too large");
  return ParseHosts(*text);
}

Status SavedHosts::write(const std::vector<TerminalHost>& hosts) {
  if (Status made = platform::MakeDirectories(files_, platform::ParentPath(path_)); !made) {
    return made;
  }
  return platform::ReplaceFile(files_, path_, FormatHosts(hosts));
}

std::vector<TerminalHost> SavedHosts::list() {
  const std::scoped_lock lock(mutex_);
  return read().value_or(std::vector<TerminalHost>{});
}

std::optional<std::string> SavedHosts::command_of(std::string_view name) {
  std::vector<TerminalHost> hosts = list();
  const auto found = FindHost(hosts, name);
  if (found == hosts.end()) return std::nullopt;
  return std::move(found->command);
}

Status SavedHosts::save(const TerminalHost& host) {
  const std::scoped_lock lock(mutex_);
  auto hosts = read();
  if (!hosts) return std::unexpected(std::move(hosts.error()));  // or what is there would be lost
  const auto found = FindHost(*hosts, host.name);
  if (found == hosts->end()) {
    hosts->push_back(host);
  } else {
    found->command = host.command;
  }
  if (FormatHosts(*hosts).size() > kMaxBytes) return Fail(ErrorKind::kNoSpace, path_ + " is full");
  return write(*hosts);
}

Status SavedHosts::remove(std::string_view name) {
  const std::scoped_lock lock(mutex_);
  auto hosts = read();
  if (!hosts) return std::unexpected(std::move(hosts.error()));
  if (std::erase_if(*hosts, [name](const TerminalHost& host) { return host.name == name; }) == 0) {
    return Fail(ErrorKind::kNotFound, "host not found");
  }
  return write(*hosts);
}

}  // namespace mrb::server
