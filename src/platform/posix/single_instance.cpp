#include "platform/single_instance.h"

#include "platform/file_lock.h"
#include "platform/paths.h"
#include "platform/process.h"

namespace mrb::platform {

struct SingleInstance::Handle {
  FileLock lock;
};

SingleInstance::SingleInstance(std::unique_ptr<Handle> handle, bool held)
    : handle_(std::move(handle)), held_(held) {}
SingleInstance::SingleInstance(SingleInstance&&) noexcept = default;
SingleInstance& SingleInstance::operator=(SingleInstance&&) noexcept = default;
SingleInstance::~SingleInstance() = default;

SingleInstance SingleInstance::acquire(std::int32_t port) {
  const std::string folder = RuntimeFolder();
  if (folder.empty()) return {nullptr, true};
  const std::string name = "Mirebolt_resident_daemon_" + std::to_string(port);
  auto lock = FileLock::try_acquire(JoinPath(folder, name));
  if (lock) return {std::make_unique<Handle>(Handle{std::move(*lock)}), true};
  return {nullptr, lock.error().kind != ErrorKind::kBusy};
}

}  // namespace mrb::platform
