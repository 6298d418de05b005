#include "platform/devlink/installed_link.h"

#include <mutex>

namespace devlink {

namespace {

struct Slot {
  std::mutex mutex;
  std::shared_ptr<LinkEngine> link;
};

// Never destroyed: a host that does not stop the module has its client destroyed while the process
// exits, at a time when this library's own objects may be gone.
Slot& Installed() {
  static auto* slot = new Slot;
  return *slot;
}

}  // namespace

void SetInstalledLink(std::shared_ptr<LinkEngine> link) {
  const std::lock_guard lock(Installed().mutex);
  Installed().link = std::move(link);
}

void ForgetInstalledLink(const LinkEngine* link) {
  const std::lock_guard lock(Installed().mutex);
  if (Installed().link.get() == link) Installed().link = nullptr;
}

std::shared_ptr<LinkEngine> InstalledLink() {
  const std::lock_guard lock(Installed().mutex);
  return Installed().link;
}

}  // namespace devlink
