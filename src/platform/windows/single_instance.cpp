#include "platform/single_instance.h"

#include <string>

#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

struct SingleInstance::Handle {
  platform::Handle mutex;
};

SingleInstance::SingleInstance(std::unique_ptr<Handle> handle, bool held)
    : handle_(std::move(handle)), held_(held) {}
SingleInstance::SingleInstance(SingleInstance&&) noexcept = default;
SingleInstance& SingleInstance::operator=(SingleInstance&&) noexcept = default;
SingleInstance::~SingleInstance() = default;

SingleInstance SingleInstance::acquire(std::int32_t port) {
  const std::string name = "Global\\Mirebolt_resident_daemon_" + std::to_string(port);
  platform::Handle mutex(::CreateMutexW(nullptr, TRUE, Widen(name).c_str()));
  if (mutex && ::GetLastError() == ERROR_ALREADY_EXISTS) return {nullptr, false};
  return {std::make_unique<Handle>(std::move(mutex)), true};
}

}  // namespace mrb::platform
