#include "server/http/running_calls.h"

namespace mrb::server {

std::shared_ptr<const RunningCalls::Call> RunningCalls::begin(std::string_view id) {
  {
    const std::scoped_lock lock(mutex_);
    if (closed_) return nullptr;
    ++running_;
  }
  if (table_ != nullptr) table_->begin(id);
  return std::make_shared<const Call>(*this, std::string(id));
}

void RunningCalls::end(const std::string& id) {
  if (table_ != nullptr) table_->end(id);
  const std::scoped_lock lock(mutex_);
  --running_;
  changed_.notify_all();
}

void RunningCalls::close() {
  const std::scoped_lock lock(mutex_);
  closed_ = true;
}

bool RunningCalls::await_none(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, time, [this] { return running_ == 0; });
}

}  // namespace mrb::server
