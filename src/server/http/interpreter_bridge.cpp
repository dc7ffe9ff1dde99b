#include "server/http/interpreter_bridge.h"

#include <utility>

namespace mrb::server {
namespace {

CallSettings& ThreadSettings() {
  thread_local CallSettings settings;
  return settings;
}

}  // namespace

const CallSettings& CurrentCallSettings() {
  return ThreadSettings();
}

ScopedCallSettings::ScopedCallSettings(CallSettings settings)
    : saved_(std::exchange(ThreadSettings(), std::move(settings))) {}

ScopedCallSettings::~ScopedCallSettings() {
  ThreadSettings() = std::move(saved_);
}

}  // namespace mrb::server
