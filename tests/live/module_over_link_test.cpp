// The application object over the real link: what is typed arrives at a device, what it answers is
// shown.
#include <gtest/gtest.h>

#include "platform/bounded/pool.h"
#include "tests/live/module_over_link.h"

namespace {

using linktest::Bytes;
using linktest::NaiveFrame;
using livetest::Confirmation;
using livetest::ModuleOverLink;
using SvcKivClass::SvcKivApp;

const std::wstring kRows = L".first  = 4 \n.second = 5 \n.third  = 6 \n";

TEST_F(ModuleOverLink, AnEchoedCommandIsShownAsItWasTyped) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) { return std::vector{Confirmation(request)}; });
  const std::wstring stars(20, L'*');
  EXPECT_EQ(Run(app, L"set_values 4,5,6"),
            L"Input Parameters:\n" + stars + kRows + L"\n" + stars + L"\n");
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"\n" + kRows});
  const auto request = device_->Request(0);
  ASSERT_TRUE(request);
  EXPECT_EQ(request->id, 0x1001u);
  EXPECT_EQ(request->tag, 1);
  EXPECT_EQ(request->payload, (Bytes{4, 5, 0, 6, 0, 0, 0}));
}

TEST_F(ModuleOverLink, ARoutedCommandIsUnwrappedOnItsWayBack) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) { return std::vector{Confirmation(request)}; });
  Run(app, L"set_values 4,5,6 -r 00:11:22:33:44:55");
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"\n" + kRows});
  EXPECT_EQ(device_->Request(0)->id, 0x7000u);
  EXPECT_EQ(device_->Request(0)->payload.size(), 43u);
}

TEST_F(ModuleOverLink, ARefusalIsShownByItsText) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) {
    NaiveFrame refusal = Confirmation(request, 22);
    refusal.payload.clear();
    return std::vector{linktest::Whole(refusal)};
  });
  Run(app, L"ping");
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"\ntoo long"});
}

TEST_F(ModuleOverLink, StopUnderAStormLeavesNothingBehind) {
  const std::uint64_t blocks = pool::LiveBlocks();
  {
    SvcKivApp app;
    Start(app, [](const NaiveFrame& request) {
      return std::vector<NaiveFrame>(200, Confirmation(request));
    });
    for (int i = 0; i < 20; ++i) Run(app, L"set_values 4,5,6");
    EXPECT_GE(ear_.WaitForTexts(100).size(), 100u);
    app.Stop();
    const std::size_t shown = ear_.WaitForTexts(0).size();
    device_.reset();
    EXPECT_EQ(ear_.WaitForTexts(0).size(), shown);
  }
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

// As the device says.
class ModuleOverLinkAsTheDeviceSays : public ModuleOverLink {
 protected:
  ModuleOverLinkAsTheDeviceSays() : ModuleOverLink(std::nullopt) {}
};

TEST_F(ModuleOverLinkAsTheDeviceSays, TheProductOfTheGreetingSelectsTheRawShell) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) {
    NaiveFrame text = request;
    text.payload = Bytes{'o', 'n', 'e', 0xC3, 0xA9, '\n'};
    return std::vector{linktest::Whole(text)};
  });
  Run(app, L"set_values 4,5,6");
  const auto request = device_->Request(0);
  ASSERT_TRUE(request);
  EXPECT_EQ(request->kind, linktest::kRaw);
  const std::string line = "set_values 4,5,6\r\n";
  EXPECT_EQ(request->payload, Bytes(line.begin(), line.end()));
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"one\u00e9\n"});
}

TEST_F(ModuleOverLink, AShellLineComesBackAsTextOfTheDevicesConsole) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) {
    NaiveFrame text = request;
    text.kind = linktest::kRaw;
    text.id = 0;
    text.payload = {'a', '\n', 'b', '\n'};
    return std::vector{Confirmation(request), linktest::Whole(text)};
  });
  Run(app, L"sh ls -l");
  const auto request = device_->Request(0);
  ASSERT_TRUE(request);
  EXPECT_EQ(request->id, 0x500Eu);
  EXPECT_EQ(request->payload, (Bytes{5, 0, 0, 0, 'l', 's', ' ', '-', 'l'}));
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"a\nb\n"});
}

}  // namespace
