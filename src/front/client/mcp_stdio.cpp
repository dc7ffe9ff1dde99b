#include "front/client/mcp_stdio.h"

#include <chrono>
#include <memory>
#include <utility>

#include "common/parallel.h"
#include "front/client/hand_off.h"
#include "platform/console.h"

namespace mrb::front {
namespace {

constexpr std::chrono::seconds kMoment{1};

}  // namespace

void McpStdio::serve() {
  StdinLines lines;
  while (auto line = lines.next()) begin(std::move(*line));
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return working_ == 0; });
}

void McpStdio::begin(std::string message) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return working_ < kMaxAtOnce; });
  ++working_;
  const std::size_t done_before = done_;
  lock.unlock();
  // Shared, so that it is still here when no thread can be had.
  const auto kept = std::make_shared<const std::string>(std::move(message));
  if (!StartDetachedThread([this, kept] { work(*kept); })) work(*kept);
  lock.lock();
  changed_.wait_for(lock, kMoment, [&] { return done_ > done_before; });
}

void McpStdio::work(const std::string& message) {
  const std::string text = answer_(message);
  if (!text.empty()) {
    const std::scoped_lock lock(output_);
    platform::WriteStdout(text + "\n");
  }
  const std::scoped_lock lock(mutex_);
  --working_;
  ++done_;
  changed_.notify_all();
}

}  // namespace mrb::front
