// An environment variable set or taken away for the time of a test, and put back.
//
// Threads: the test's, while no other thread reads the environment. Errors: none.
#ifndef TESTS_SUPPORT_SCOPED_ENV_H_
#define TESTS_SUPPORT_SCOPED_ENV_H_

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace kivtest {

class ScopedEnv {
 public:
  // Unset for std::nullopt.
  ScopedEnv(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) old_ = old;
    Put(value);
  }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;
  ~ScopedEnv() { Put(old_); }

 private:
  void Put(const std::optional<std::string>& value) const {
    if (value) {
      setenv(name_.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> old_;
};

}  // namespace kivtest

#endif  // TESTS_SUPPORT_SCOPED_ENV_H_
