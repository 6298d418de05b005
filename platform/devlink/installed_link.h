// The client that was installed last, for the device adapter.
//
// Threads: any. Shares the link, so one that is destroyed meanwhile lives until its last use.
#pragma once

#include <memory>

namespace devlink {

class LinkEngine;

void SetInstalledLink(std::shared_ptr<LinkEngine> link);
// Takes the link out again, if it is still the one.
void ForgetInstalledLink(const LinkEngine* link);
// Null when there is none.
std::shared_ptr<LinkEngine> InstalledLink();

}  // namespace devlink
