#include "platform/devlink/installed_link.h"

#include <mutex>

namespace devlink {

namespace {

std::mutex installedMutex;

std::shared_ptr<LinkEngine>& Installed() {
  static std::shared_ptr<LinkEngine> link;
  return link;
}

}  // namespace

void SetInstalledLink(std::shared_ptr<LinkEngine> link) {
  const std::lock_guard lock(installedMutex);
  Installed() = std::move(link);
}

void ForgetInstalledLink(const LinkEngine* link) {
  const std::lock_guard lock(installedMutex);
  if (Installed().get() == link) Installed() = nullptr;
}

std::shared_ptr<LinkEngine> InstalledLink() {
  const std::lock_guard lock(installedMutex);
  return Installed();
}

}  // namespace devlink
