// A file on its way over the real link: the device gets its chunks, in order and once.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/fakes/wait_until.h"
#include "tests/live/module_over_link.h"

namespace {

using linktest::NaiveFrame;
using livetest::Confirmation;
using livetest::ModuleOverLink;
using SvcKivClass::SvcKivApp;
using SvcKivClass::SvcKivAppParts;

constexpr std::size_t kHeadBytes = 4;  // index and count before the bytes

class LoadOverLink : public ModuleOverLink {
 protected:
  static SvcKivAppParts Parts() {
    SvcKivAppParts parts;
    parts.cataloguePath =
        QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/tests/load_commands.kcat");
    return parts;
  }
  static bool WaitForEnd(SvcKivApp& app) {
    return kivtest::WaitUntil([&] { return !app.GetController()->GetLoad().IsOpen(); }, 60'000);
  }
  std::wstring Load(SvcKivApp& app) {
    const QCString line = L"ldnv " + QCString::FromUtf8(directory_.Path("image"));
    return Run(app, line.c_str());
  }
  // `chunks` chunks, each byte telling its chunk and its place.
  std::string WriteImage(std::size_t chunks) const {
    std::string content;
    for (std::size_t i = 0; i < chunks * 2048; ++i) {
      content += static_cast<char>(i / 2048 * 7 + i % 2048);
    }
    std::ofstream(directory_.Path("image"), std::ios::binary) << content;
    return content;
  }
};

TEST_F(LoadOverLink, EveryChunkArrivesInOrderAndOnce) {
  SvcKivApp app(Parts());
  Start(app, [](const NaiveFrame& request) { return std::vector{Confirmation(request)}; });
  constexpr std::size_t kChunks = 300;
  const std::string content = WriteImage(kChunks);
  EXPECT_EQ(Load(app), L"");
  ASSERT_TRUE(WaitForEnd(app));
  std::string arrived;
  for (std::size_t i = 0; i < kChunks; ++i) {
    const auto request = device_->Request(i);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->payload[0] | request->payload[1] << 8, static_cast<int>(i));
    EXPECT_EQ(request->payload[2] | request->payload[3] << 8, static_cast<int>(kChunks));
    arrived.append(request->payload.begin() + kHeadBytes, request->payload.end());
  }
  EXPECT_EQ(arrived, content);
}

TEST_F(LoadOverLink, ADeviceThatConfirmsTwiceGetsEachChunkOnce) {
  SvcKivApp app(Parts());
  Start(app, [](const NaiveFrame& request) {
    return std::vector{Confirmation(request), Confirmation(request)};
  });
  WriteImage(100);
  EXPECT_EQ(Load(app), L"");
  ASSERT_TRUE(WaitForEnd(app));
  for (std::size_t i = 0; i < 100; ++i) {
    EXPECT_EQ(device_->Request(i)->payload[0], static_cast<std::uint8_t>(i));
  }
}

TEST_F(LoadOverLink, StopInTheMiddleClosesTheFileAndNothingIsHeardAfterwards) {
  for (int round = 0; round < 20; ++round) {
    SvcKivApp app(Parts());
    Start(app, [](const NaiveFrame& request) { return std::vector{Confirmation(request)}; });
    WriteImage(500);
    EXPECT_EQ(Load(app), L"");
    const int until = round * 3;
    kivtest::WaitUntil([&] { return app.GetController()->GetLoad().Index() >= until; });
    if (round % 2 == 0) app.ReloadDb();
    app.Stop();
    const std::size_t texts = ear_.Count();
    QCoreApplication::processEvents();
    EXPECT_EQ(ear_.Count(), texts);
    device_.reset();
  }
}

}  // namespace
