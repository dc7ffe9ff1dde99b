#include "platform/main_loop.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "platform/posix/descriptor.h"

// Signals and requests alike write one byte into a pipe, and the loop waits for it, so nothing that
// comes before the loop is lost. Handlers rather than a blocked mask: exec() puts handlers back, a
// mask would be inherited by every child and make it deaf to Ctrl-C.

namespace mrb::platform {
namespace {

/// The pipe of this process; both ends -1 when the system has none left.
const std::array<int, 2>& ClosePipe() {
  static const std::array<int, 2> kEnds = [] {
    std::array<int, 2> made{-1, -1};
    static_cast<void>(::pipe2(made.data(), O_CLOEXEC | O_NONBLOCK));
    return made;
  }();
  return kEnds;
}

volatile sig_atomic_t signal_pipe = -1;

void WriteByte(int fd) {
  const char byte = 0;
  const auto ignored = ::write(fd, &byte, 1);  // a full pipe says the same already
  static_cast<void>(ignored);
}

void OnCloseSignal(int) {
  const int saved = errno;
  WriteByte(static_cast<int>(signal_pipe));
  errno = saved;
}

void OnBrokenPipe(int) {}

void Handle(int signal, void (*handler)(int), int flags) {
  struct sigaction before{};
  ::sigaction(signal, nullptr, &before);
  if (before.sa_handler == SIG_IGN) return;  // nohup, or a shell's background job: stays deaf to it
  struct sigaction action{};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

void PrepareMainLoop() {
  signal_pipe = ClosePipe()[1];
  // Handled once: who asks a second time, because closing takes too long, ends the process.
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    Handle(signal, OnCloseSignal, static_cast<int>(SA_RESTART | SA_RESETHAND));
  }
  Handle(SIGPIPE, OnBrokenPipe, SA_RESTART);  // a reader of our output that went away
}

void RunMainLoop(const TrayMenu&) {
  pollfd wait{ClosePipe()[0], POLLIN, 0};
  Uninterrupted([&] { return ::poll(&wait, 1, -1); });
}

void RequestClose() {
  WriteByte(ClosePipe()[1]);
}

bool IsCloseRequested() {
  pollfd wait{ClosePipe()[0], POLLIN, 0};
  return Uninterrupted([&] { return ::poll(&wait, 1, 0); }) > 0;
}

void ShowBalloon(const std::string& /*title*/, const std::string& /*text*/) {
  // There is no tray here, and so nobody who could set anything up in it.
}

}  // namespace mrb::platform
