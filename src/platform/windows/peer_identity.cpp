#include "platform/peer_identity.h"

#include <winsock2.h>
//
#include <windows.h>
//
#include <iphlpapi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/text.h"
#include "platform/uid_identity.h"
#include "platform/windows/access_list.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

// The system's table of TCP connections names the process that opened each
// (https://learn.microsoft.com/windows/win32/api/iphlpapi/nf-iphlpapi-getextendedtcptable), and the
// process' token its user.

namespace mrb::platform {
namespace {

/// An IPv4 address and a port, both in network byte order.
struct End {
  DWORD ipv4 = 0;
  USHORT port = 0;
  bool operator==(const End&) const = default;
};

/// A connection as one of its ends has it.
struct Pair {
  End local;
  End remote;
};

End EndOf(const sockaddr_in& address) {
  return {address.sin_addr.s_addr, address.sin_port};
}

/// The connection as its other end has it; nothing when it is not connected any more.
std::optional<Pair> OtherEnd(const Socket& socket) {
  sockaddr_in own{};
  sockaddr_in other{};
  int own_length = sizeof own;
  int other_length = sizeof other;
  if (::getsockname(socket.native_handle(), reinterpret_cast<sockaddr*>(&own), &own_length) != 0 ||
      ::getpeername(socket.native_handle(), reinterpret_cast<sockaddr*>(&other), &other_length) !=
          0 ||
      own.sin_family != AF_INET || other.sin_family != AF_INET) {
    return std::nullopt;
  }
  return Pair{EndOf(other), EndOf(own)};
}

using Row = MIB_TCPROW_OWNER_MODULE;

End LocalEnd(const Row& row) {
  // The upper half of a port is not defined.
  return {row.dwLocalAddr, static_cast<USHORT>(row.dwLocalPort)};
}

End RemoteEnd(const Row& row) {
  return {row.dwRemoteAddr, static_cast<USHORT>(row.dwRemotePort)};
}

Result<std::vector<Row>> ReadTable(TCP_TABLE_CLASS which) {
  constexpr int kTries = 8;  // connections come while it is read
  std::vector<std::byte> bytes(std::size_t{1} << 16U);
  for (int i = 0; i < kTries; ++i) {
    auto size = static_cast<DWORD>(bytes.size());
    const DWORD error = ::GetExtendedTcpTable(bytes.data(), &size, FALSE, AF_INET, which, 0);
    if (error == ERROR_INSUFFICIENT_BUFFER) {
      bytes.resize(std::max<std::size_t>(size, bytes.size()) * 2);
      continue;
    }
    if (error != NO_ERROR) {
      return std::unexpected(SystemError(error, "list", "the TCP connections"));
    }
    DWORD count = 0;
    std::memcpy(&count, bytes.data(), sizeof count);
    constexpr std::size_t kFirst = offsetof(MIB_TCPTABLE_OWNER_MODULE, table);
    count = std::min(count, static_cast<DWORD>((bytes.size() - kFirst) / sizeof(Row)));
    std::vector<Row> rows(count);
    if (count > 0) std::memcpy(rows.data(), bytes.data() + kFirst, count * sizeof(Row));
    return rows;
  }
  return Fail(ErrorKind::kUnavailable, "the list of TCP connections does not hold still");
}

PeerOwner Unknown(const Error& error) {
  const bool is_gone = error.kind == ErrorKind::kNotFound;
  return {PeerOwner::Kind::kUnknown, {}, is_gone ? std::string() : error.text};
}

/// The row of a connection; kNotFound when there is none. No system reads its table at one stroke:
/// a row that is missed once may be there.
Result<Row> FindConnection(const Pair& pair) {
  for (int reading = 0; reading < 2; ++reading) {
    const auto rows = ReadTable(TCP_TABLE_OWNER_MODULE_CONNECTIONS);
    if (!rows) return std::unexpected(rows.error());
    for (const Row& row : *rows) {
      if (LocalEnd(row) == pair.local && RemoteEnd(row) == pair.remote) return row;
    }
  }
  return Fail(ErrorKind::kNotFound, "no such connection");
}

/// The row that takes the connections to an end: that of the more exact address.
const Row* FindListener(const std::vector<Row>& rows, const End& end) {
  const Row* found = nullptr;
  for (const Row& row : rows) {
    if (row.dwState != MIB_TCP_STATE_LISTEN || LocalEnd(row).port != end.port) continue;
    if (row.dwLocalAddr == end.ipv4) return &row;
    if (row.dwLocalAddr == INADDR_ANY) found = &row;
  }
  return found;
}

/// Whether a program may still hold an end in this state. One that has sent its request may have
/// shut its sending side down.
bool IsConnected(const Row& row) {
  switch (row.dwState) {
    case MIB_TCP_STATE_ESTAB:
    case MIB_TCP_STATE_FIN_WAIT1:
    case MIB_TCP_STATE_FIN_WAIT2:
    case MIB_TCP_STATE_CLOSE_WAIT:
    case MIB_TCP_STATE_CLOSING:
    case MIB_TCP_STATE_LAST_ACK:
      return true;
    default:
      return false;
  }
}

bool IsWaiting(const Row& row) {
  return row.dwOwningPid == 0 &&
         (row.dwState == MIB_TCP_STATE_SYN_RCVD || row.dwState == MIB_TCP_STATE_ESTAB ||
          row.dwState == MIB_TCP_STATE_CLOSE_WAIT);
}

ULONGLONG TicksOf(const FILETIME& time) {
  return (ULONGLONG{time.dwHighDateTime} << 32U) | time.dwLowDateTime;
}

/// Whether the process still runs and was there before the connection. A row keeps the number of
/// the process that opened the socket, also when only a child that inherited it is left, and the
/// number may then be another process': one that is younger than the connection
/// (https://learn.microsoft.com/windows/win32/api/tcpmib/ns-tcpmib-mib_tcprow_owner_module).
bool Opened(HANDLE process, const Row& row) {
  constexpr ULONGLONG kClockTick = 160'000;  // 16 ms, for which the clock of both may stand still
  DWORD code = 0;
  FILETIME created{};
  FILETIME ignored{};
  if (!::GetExitCodeProcess(process, &code) || code != STILL_ACTIVE ||
      !::GetProcessTimes(process, &created, &ignored, &ignored, &ignored)) {
    return false;
  }
  const auto connected = static_cast<ULONGLONG>(row.liCreateTimestamp.QuadPart);
  return connected != 0 && TicksOf(created) <= connected + kClockTick;
}

struct UserAnswer {
  TOKEN_USER user;
  std::array<std::byte, SECURITY_MAX_SID_SIZE> sid;
};

struct LabelAnswer {
  TOKEN_MANDATORY_LABEL label;
  std::array<std::byte, SECURITY_MAX_SID_SIZE> sid;
};

/// Elevated, and at the integrity level that goes with it, which is the last part of its SID
/// (https://learn.microsoft.com/windows/win32/secauthz/mandatory-integrity-control).
bool IsElevated(HANDLE token) {
  TOKEN_ELEVATION elevation{};
  LabelAnswer answer{};
  DWORD size = 0;
  if (!::GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &size) ||
      !::GetTokenInformation(token, TokenIntegrityLevel, &answer, sizeof answer, &size)) {
    return false;
  }
  PSID level = answer.label.Label.Sid;
  const UCHAR parts = *::GetSidSubAuthorityCount(level);
  return elevation.TokenIsElevated != 0 && parts > 0 &&
         *::GetSidSubAuthority(level, static_cast<DWORD>(parts - 1)) >= SECURITY_MANDATORY_HIGH_RID;
}

bool IsThisProcessElevated() {
  static const bool elevated = [] {
    HANDLE opened = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &opened)) return true;
    return IsElevated(Handle(opened).get());
  }();
  return elevated;
}

/// "DOMAIN\name", or the SID. May ask another machine, so only for who is to read it.
std::string AccountName(PSID sid) {
  std::array<wchar_t, 256> name{};
  std::array<wchar_t, 256> domain{};
  auto name_size = static_cast<DWORD>(name.size());
  auto domain_size = static_cast<DWORD>(domain.size());
  SID_NAME_USE use{};
  if (!::LookupAccountSidW(nullptr, sid, name.data(), &name_size, domain.data(), &domain_size,
                           &use)) {
    return Narrow(SidText(sid));
  }
  return Narrow(domain.data()) + "\\" + Narrow(name.data());
}

enum class Naming : bool { kNone, kOther };

PeerOwner OwnerOfToken(HANDLE token, Naming naming) {
  using Kind = PeerOwner::Kind;
  UserAnswer answer{};
  DWORD size = 0;
  if (!::GetTokenInformation(token, ::TokenUser, &answer, sizeof answer, &size)) return {};
  PSID sid = answer.user.User.Sid;
  if (OwnSid().empty() || SidText(sid) != OwnSid()) {
    return {Kind::kOtherUser, naming == Naming::kOther ? AccountName(sid) : std::string(), {}};
  }
  // Browsers keep their network process below the user's own level, so the level counts only where
  // this process is above it.
  const bool less = IsThisProcessElevated() && !IsElevated(token);
  return {less ? Kind::kLessPrivileged : Kind::kOwnUser, {}, {}};
}

PeerOwner OwnerOf(const Row& row, Naming naming) {
  constexpr DWORD kKernel = 4;  // which also listens for programs that leave HTTP to it
  if (row.dwOwningPid == 0) return {};
  if (row.dwOwningPid == kKernel) return {PeerOwner::Kind::kOtherUser, "System", {}};
  const Handle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, row.dwOwningPid));
  if (!process) {
    const bool is_there = ::GetLastError() == ERROR_ACCESS_DENIED;
    return {is_there ? PeerOwner::Kind::kOtherUser : PeerOwner::Kind::kUnknown, {}, {}};
  }
  if (!Opened(process.get(), row)) return {};
  HANDLE opened = nullptr;
  if (!::OpenProcessToken(process.get(), TOKEN_QUERY, &opened)) {
    return {PeerOwner::Kind::kOtherUser, {}, {}};
  }
  return OwnerOfToken(Handle(opened).get(), naming);
}

class ConnectionTableIdentity final : public PeerIdentity {
 public:
  PeerOwner client_of(const Socket& accepted) override {
    const auto pair = OtherEnd(accepted);
    if (!pair) return {};
    const auto client = FindConnection(*pair);
    if (!client) return Unknown(client.error());
    return IsConnected(*client) ? OwnerOf(*client, Naming::kNone) : PeerOwner{};
  }

  // Until it is accepted a connection may belong to nobody; it waits with the one that listens, and
  // ends when that one closes. So one that still waits after the listener was looked at waits with
  // that very listener; hence the order.
  ServerIdentity server_of(const Socket& connected) override {
    const auto pair = OtherEnd(connected);
    if (!pair) return {};
    const auto listeners = ReadTable(TCP_TABLE_OWNER_MODULE_LISTENER);
    const auto server = FindConnection(*pair);
    if (!listeners) return {Unknown(listeners.error()), 0};
    const Row* listener = FindListener(*listeners, pair->local);
    const DWORD number = listener == nullptr ? 0 : listener->dwOwningPid;
    if (!server) return {Unknown(server.error()), number};
    if (listener != nullptr && IsWaiting(*server)) {
      return {OwnerOf(*listener, Naming::kOther), number};
    }
    return {IsConnected(*server) ? OwnerOf(*server, Naming::kOther) : PeerOwner{}, number};
  }
};

// Wine keeps sockets in a server process of its own and names no process in the table. Below it
// there is a Unix, though, which knows whose they are, and whose files Wine shows under this
// prefix.
constexpr const wchar_t* kUnixSocketList = LR"(\\?\unix\proc\net\tcp)";
constexpr const wchar_t* kUnixSocketList6 = LR"(\\?\unix\proc\net\tcp6)";
constexpr const wchar_t* kUnixStatus = LR"(\\?\unix\proc\self\status)";  // of that server process

bool IsWine() {
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

Result<std::string> ReadUnixFile(const wchar_t* path) {
  const Handle file(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return FailLastError("open", Narrow(path));
  std::string text;
  std::array<char, 16384> piece{};
  for (;;) {
    DWORD got = 0;
    if (!::ReadFile(file.get(), piece.data(), static_cast<DWORD>(piece.size()), &got, nullptr)) {
      return FailLastError("read", Narrow(path));
    }
    if (got == 0) return text;
    text.append(piece.data(), got);
  }
}

Result<SocketEntry> FindUnixSocket(const SocketPair& pair) {
  auto list = ReadUnixFile(kUnixSocketList);
  if (!list) return std::unexpected(list.error());
  const auto more = ReadUnixFile(kUnixSocketList6);
  return FindInSocketList(more ? *list + *more : *list, pair);
}

/// The user of all programs of this Wine: "Uid:", and first the real one.
std::optional<std::uint32_t> UnixUser() {
  const auto status = ReadUnixFile(kUnixStatus);
  if (!status) return std::nullopt;
  for (const std::string_view line : Split(*status, '\n')) {
    const auto words = SplitWords(line);
    if (words.size() < 3 || words[0] != "Uid:") continue;
    const auto effective = ParseDecimal(words[2]);
    if (effective) return static_cast<std::uint32_t>(*effective);
  }
  return std::nullopt;
}

std::optional<SocketPair> OtherUnixEnd(const Socket& socket) {
  const auto pair = OtherEnd(socket);
  if (!pair) return std::nullopt;
  return SocketPair{{pair->local.ipv4, ::ntohs(pair->local.port)},
                    {pair->remote.ipv4, ::ntohs(pair->remote.port)}};
}

std::unique_ptr<PeerIdentity> MakeIdentity() {
  const auto uid = IsWine() ? UnixUser() : std::nullopt;
  if (!uid) return std::make_unique<ConnectionTableIdentity>();
  return std::make_unique<UidIdentity>(UidIdentity::System{
      .other_end = &OtherUnixEnd,
      .find = &FindUnixSocket,
      .user_name = [](std::uint32_t user) { return "uid " + std::to_string(user); },
      .own_uid = *uid});
}

}  // namespace

PeerIdentity& SystemPeerIdentity() {
  static const std::unique_ptr<PeerIdentity> identity = MakeIdentity();
  return *identity;
}

}  // namespace mrb::platform
