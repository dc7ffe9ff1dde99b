#include "platform/shared_mutex.h"

#include <shared_mutex>

namespace mrb::platform {

struct SharedMutex::Lock {
  std::shared_mutex mutex;
};

SharedMutex::SharedMutex() : lock_(std::make_unique<Lock>()) {}
SharedMutex::~SharedMutex() = default;

void SharedMutex::lock() {
  lock_->mutex.lock();
}

void SharedMutex::unlock() {
  lock_->mutex.unlock();
}

void SharedMutex::lock_shared() {
  lock_->mutex.lock_shared();
}

void SharedMutex::unlock_shared() {
  lock_->mutex.unlock_shared();
}

}  // namespace mrb::platform
