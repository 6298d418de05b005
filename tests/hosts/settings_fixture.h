// The module with settings in a folder of the test's own, without a catalogue and without a device.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/base/bench_setup.h"
#include "svckiv/svc_kiv.h"
#include "tests/support/scratch_folder.h"

class SettingsFixture : public testing::Test {
 protected:
  SettingsFixture() {
    bench::Setup setup;
    setup.configDir = QCString::FromUtf8(folder_.Path("config"));
    setup.dataDir = QCString::FromUtf8(folder_.Path("data"));
    setup.catalogue = QCString::FromUtf8(folder_.Path("none"));
    setup.endpoint = QCString::FromUtf8("unix:" + folder_.Path("nobody"));
    bench::SetSetup(setup);
  }
  ~SettingsFixture() override {
    SvcKivSpace::SvcKiv::Stop();
    bench::SetSetup({});
  }

  // The settings as the next run finds them.
  SvcKivSpace::CSVCKIVConfig& Restarted() {
    SvcKivSpace::SvcKiv::Stop();
    return *SvcKivSpace::SvcKiv::Start();
  }

  kivtest::ScratchFolder folder_;
};
