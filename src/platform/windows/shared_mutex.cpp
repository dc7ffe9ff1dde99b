#include "platform/shared_mutex.h"

#include <windows.h>

namespace mrb::platform {

struct SharedMutex::Lock {
  SRWLOCK lock = SRWLOCK_INIT;
};

SharedMutex::SharedMutex() : lock_(std::make_unique<Lock>()) {}
SharedMutex::~SharedMutex() = default;

void SharedMutex::lock() {
  ::AcquireSRWLockExclusive(&lock_->lock);
}

void SharedMutex::unlock() {
  ::ReleaseSRWLockExclusive(&lock_->lock);
}

void SharedMutex::lock_shared() {
  ::AcquireSRWLockShared(&lock_->lock);
}

void SharedMutex::unlock_shared() {
  ::ReleaseSRWLockShared(&lock_->lock);
}

}  // namespace mrb::platform
