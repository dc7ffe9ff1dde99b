#pragma once

#include <memory>

namespace mrb::platform {

/// A mutex that several readers or one writer hold; for std::shared_lock and std::unique_lock. Not
/// recursive, neither way. The standard library's own is not used because it is unsound where its
/// threads come from winpthreads: two first users at once can both get in.
class SharedMutex {
 public:
  SharedMutex();
  SharedMutex(const SharedMutex&) = delete;
  SharedMutex& operator=(const SharedMutex&) = delete;
  ~SharedMutex();

  void lock();
  void unlock();
  void lock_shared();
  void unlock_shared();

 private:
  struct Lock;
  std::unique_ptr<Lock> lock_;
};

}  // namespace mrb::platform
