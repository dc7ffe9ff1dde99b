#include "platform/posix/socket_table.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

#include "platform/posix/system_error.h"

// The system is asked over its socket diagnosis interface (sock_diag(7)), which looks one pair of
// addresses up in a hash table. Where a sandbox forbids that, /proc/net/tcp tells the same
// (proc(5)), one line a socket.

namespace mrb::platform {
namespace {

std::unexpected<Error> FailNoSocket() {
  return Fail(ErrorKind::kNotFound, "no such socket");
}

struct Question {
  nlmsghdr head;
  inet_diag_req_v2 request;
};

Question QuestionAbout(const SocketPair& pair, std::uint32_t number) {
  Question question{};
  question.head.nlmsg_len = sizeof question;
  question.head.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  question.head.nlmsg_flags = NLM_F_REQUEST;
  question.head.nlmsg_seq = number;
  inet_diag_req_v2& request = question.request;
  request.sdiag_family = AF_INET;
  request.sdiag_protocol = IPPROTO_TCP;
  request.idiag_states = ~0U;
  request.id.idiag_src[0] = pair.local.ipv4;
  request.id.idiag_sport = htons(pair.local.port);
  request.id.idiag_dst[0] = pair.remote.ipv4;
  request.id.idiag_dport = htons(pair.remote.port);
  request.id.idiag_cookie[0] = request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
  return question;
}

template <typename Message>
Result<Message> Decode(std::string_view body) {
  Message message{};
  if (body.size() < sizeof message)
    return Fail(ErrorKind::kIo, "the table of sockets: a cut answer");
  body.copy(reinterpret_cast<char*>(&message), sizeof message);
  return message;
}

Result<SocketEntry> ReadError(std::string_view body) {
  const auto error = Decode<nlmsgerr>(body);
  if (!error) return std::unexpected(error.error());
  if (error->error == -ENOENT) return FailNoSocket();
  return std::unexpected(SystemError(-error->error, "ask", "the table of sockets"));
}

/// A program may reach 127.0.0.1 by a socket of IPv6, as ::ffff:127.0.0.1 (RFC 4291, 2.5.5.2).
SocketEnd EndOf(std::uint8_t family, std::span<const __be32, 4> address, std::uint16_t port) {
  return {family == AF_INET6 ? address[3] : address[0], ntohs(port)};
}

Result<SocketEntry> ReadEntry(std::string_view body, const SocketPair& pair) {
  const auto message = Decode<inet_diag_msg>(body);
  if (!message) return std::unexpected(message.error());
  const auto& id = message->id;
  const SocketEntry entry{{EndOf(message->idiag_family, id.idiag_src, id.idiag_sport),
                           EndOf(message->idiag_family, id.idiag_dst, id.idiag_dport)},
                          message->idiag_state,
                          message->idiag_uid,
                          message->idiag_inode};
  // A pair that is gone is answered with whoever listens at its local port.
  const bool fits = entry.state == kListen ? AsksForListener(pair) : entry.pair == pair;
  if (!fits) return FailNoSocket();
  return entry;
}

Result<SocketEntry> FindInList(const SocketPair& pair) {
  std::string lists;
  for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream file(path);
    lists.append(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  if (lists.empty()) return Fail(ErrorKind::kUnavailable, "the system shows no table of sockets");
  return FindInSocketList(lists, pair);
}

}  // namespace

Result<SocketEntry> SocketTable::find(const SocketPair& pair) {
  const std::scoped_lock lock(mutex_);
  auto found = ask(pair);
  knows_tcp_ = knows_tcp_ || found;
  // A kernel built without the part that knows TCP says of every socket that there is none.
  const bool told = found || (knows_tcp_ && found.error().kind == ErrorKind::kNotFound);
  return told ? found : FindInList(pair);
}

Result<SocketEntry> SocketTable::ask(const SocketPair& pair) {
  if (!netlink_) {
    netlink_.reset(
        ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG));
    if (!netlink_) return FailErrno("open", "the table of sockets");
  }
  const Question question = QuestionAbout(pair, ++asked_);
  if (::send(netlink_.get(), &question, sizeof question, 0) < 0) {
    return FailErrno("ask", "the table of sockets");
  }
  return read_answer(pair);
}

/// The system answers before send() returns, so there is nothing to wait for.
Result<SocketEntry> SocketTable::read_answer(const SocketPair& pair) {
  std::array<char, 4096> bytes{};
  for (;;) {
    // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection): the answer is there already
    const auto got = ::recv(netlink_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got < 0) return FailErrno("read", "the table of sockets");
    const std::string_view all(bytes.data(), static_cast<std::size_t>(got));
    const auto head = Decode<nlmsghdr>(all);
    if (!head) return std::unexpected(head.error());
    if (head->nlmsg_seq != asked_) continue;  // to a question whose reader gave up
    const std::string_view body = all.substr(sizeof(nlmsghdr));
    return head->nlmsg_type == NLMSG_ERROR ? ReadError(body) : ReadEntry(body, pair);
  }
}

}  // namespace mrb::platform
