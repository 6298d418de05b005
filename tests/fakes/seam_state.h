// What the files of the fake platform share.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tests/fakes/platform_seam.h"

class CLinkClient;

namespace fake {

struct SeamState {
  std::mutex mutex;  // everything below
  std::vector<std::string> calls;
  std::vector<Post> posts;
  std::map<std::string, std::uint32_t> failures;
  std::map<std::string, std::function<void()>> actions;
  std::uint32_t postStatus = 0;
  bool deviceThere = true;
  bool recordPool = false;

  // Held while a call-back runs and while a client comes or goes. Never taken with `mutex` held.
  std::recursive_mutex callbackMutex;
  CLinkClient* installed = nullptr;
};

SeamState& Seam();

// Notes "STEP(arguments)", runs the step's action, and answers the status ordered for it.
std::uint32_t Step(const std::string& step, const std::string& arguments);

}  // namespace fake
