#include "tests/platform/devlink/name_service_fake.h"

#include <netdb.h>

#include <condition_variable>
#include <mutex>

extern "C" {
int __real_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** list);
int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** list);
}

namespace linktest {

namespace {

struct State {
  std::mutex mutex;
  std::condition_variable changed;
  bool faked = false;
  bool hangs = false;
  int running = 0;
  int failure = 0;
  std::vector<std::string> addresses;
};

State& TheState() {
  static State state;
  return state;
}

// The lists of several numbers as one. (The C library frees a list node by node.)
int Chain(const std::vector<std::string>& numbers, const char* service, const addrinfo* hints,
          addrinfo** list) {
  *list = nullptr;
  for (const std::string& number : numbers) {
    const int failure = __real_getaddrinfo(number.c_str(), service, hints, list);
    if (failure != 0) return failure;
    while (*list != nullptr) list = &(*list)->ai_next;
  }
  return 0;
}

}  // namespace

NameService::NameService(std::vector<std::string> addresses) {
  const std::lock_guard lock(TheState().mutex);
  TheState().faked = true;
  TheState().failure = 0;
  TheState().addresses = std::move(addresses);
}

NameService::NameService(int failure) : NameService(std::vector<std::string>()) {
  const std::lock_guard lock(TheState().mutex);
  TheState().failure = failure;
}

NameService::~NameService() {
  std::unique_lock lock(TheState().mutex);
  TheState().hangs = TheState().faked = false;
  TheState().changed.notify_all();
  TheState().changed.wait(lock, [] { return TheState().running == 0; });
}

void NameService::Hang() {
  const std::lock_guard lock(TheState().mutex);
  TheState().hangs = true;
}

void NameService::WaitForALookup() {
  std::unique_lock lock(TheState().mutex);
  TheState().changed.wait(lock, [] { return TheState().running > 0; });
}

}  // namespace linktest

int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** list) {
  using linktest::TheState;
  std::unique_lock lock(TheState().mutex);
  if (!TheState().faked) return __real_getaddrinfo(name, service, hints, list);
  ++TheState().running;
  TheState().changed.notify_all();
  TheState().changed.wait(lock, [] { return !TheState().hangs; });
  const int failure = TheState().failure != 0
                          ? TheState().failure
                          : linktest::Chain(TheState().addresses, service, hints, list);
  --TheState().running;
  TheState().changed.notify_all();
  return failure;
}
