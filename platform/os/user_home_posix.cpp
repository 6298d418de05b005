#include "platform/os/user_home.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace os {

std::string HomeOfUserDatabase() {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0) return {};
  if (found == nullptr || found->pw_dir == nullptr) return {};
  return found->pw_dir;
}

}  // namespace os
