// A bench whose every source is known: no KIV or XDG variable, a home of its own, nothing set by a
// host.
//
// Threads: the test's. Owns or borrows: owns its home directory. Errors: none.
#ifndef TESTS_PLATFORM_BASE_FRESH_SETUP_H_
#define TESTS_PLATFORM_BASE_FRESH_SETUP_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "platform/base/bench_setup.h"
#include "platform/base/version_query.h"
#include "tests/support/scoped_env.h"
#include "tests/support/temp_dir.h"

namespace kivtest {

class FreshSetup : public testing::Test {
 protected:
  FreshSetup() {
    setenv("HOME", home_.path().c_str(), 1);
    bench::SetSetup({});
    version_query::NoteDevice(-1, -1);
  }
  ~FreshSetup() override {
    bench::SetSetup({});
    version_query::NoteDevice(-1, -1);
  }

  // Below the home directory; its directories are created.
  void WriteInHome(const std::string& name, std::string_view content) {
    std::filesystem::create_directories(std::filesystem::path(home_.File(name)).parent_path());
    home_.Write(name, content);
  }
  void WriteKivIni(std::string_view content) { WriteInHome(".config/kiv/kiv.ini", content); }

  TempDir home_;

 private:
  ScopedEnv oldHome_{"HOME", std::nullopt};
  ScopedEnv link_{"KIV_LINK", std::nullopt};
  ScopedEnv catalogue_{"KIV_CATALOGUE", std::nullopt};
  ScopedEnv variant_{"KIV_VARIANT", std::nullopt};
  ScopedEnv product_{"KIV_PRODUCT", std::nullopt};
  ScopedEnv config_{"KIV_CONFIG_DIR", std::nullopt};
  ScopedEnv data_{"KIV_DATA_DIR", std::nullopt};
  ScopedEnv xdgConfig_{"XDG_CONFIG_HOME", std::nullopt};
  ScopedEnv xdgData_{"XDG_DATA_HOME", std::nullopt};
  ScopedEnv lang_{"LANG", std::nullopt};
};

}  // namespace kivtest

#endif  // TESTS_PLATFORM_BASE_FRESH_SETUP_H_
