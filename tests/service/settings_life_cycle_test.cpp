// The settings object's place in the application's life: made first, gone first, its notice seen by
// a view that was connected before.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/fakes/module_bench.h"

namespace {

using SvcKivClass::SvcKivApp;
using Texts = std::vector<std::string>;

// Notes in the sequence when the document is opened, saved and closed.
class NotedXml final : public CXmlConfig {
 public:
  NotedXml(const QCString& path, xml_config::Options options)
      : CXmlConfig(path, std::move(options)) {
    fake::Note("open settings");
  }
  ~NotedXml() override { fake::Note("close settings"); }
  std::uint32_t FindAttrValByTagPath(const QCString& attribute, const QCString& value,
                                     const QCString& tagPath, QCString& instancePath,
                                     void* reserved) const override {
    fake::Note("find " + value.ToUtf8() + " " + tagPath.ToUtf8());
    return CXmlConfig::FindAttrValByTagPath(attribute, value, tagPath, instancePath, reserved);
  }
  std::uint32_t Save(std::int32_t flag) override {
    fake::Note("save settings " + std::to_string(flag));
    return CXmlConfig::Save(flag);
  }
};

class SettingsLifeCycle : public testing::Test {
 protected:
  SettingsLifeCycle() {
    kivtest::CoreApplication();
    fake::ResetSeam();
  }

  static SvcKivClass::SvcKivAppParts Parts() {
    SvcKivClass::SvcKivAppParts parts;
    parts.channels = {};
    parts.openXml = [](const QCString& path, xml_config::Options options) {
      return std::make_unique<NotedXml>(path, std::move(options));
    };
    return parts;
  }
  std::string FileText(const std::string& name) const {
    std::ifstream file(setup_.Path(name));
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  void WriteFile(const std::string& name, const std::string& text) const {
    std::ofstream(setup_.Path(name)) << text;
  }

  kivtest::ScratchSetup setup_;
};

TEST_F(SettingsLifeCycle, AreMadeBeforeTheLinkAndDeletedBeforeItStops) {
  {
    SvcKivApp app(Parts());
    app.Start();
    app.Start();
    app.Stop();
    app.Stop();
  }
  EXPECT_EQ(
      fake::Calls(),
      (Texts{"open settings", "find 1 SourceData.SESSION", "find 1 SourceData.SESSION.INSTANCE",
             "CLinkClient(0, Kiv 1)", "InstallClient(256, 1)", "TpfClientInstall(256, 1)",
             "StartConnect(256, 1, 8191, 1, 0)", "EnumCommands(3, 256, 0, 0)", "save settings 1",
             "close settings", "StopConnect(256, 1, 8191)", "Sleep(5)", "TpfClientUnInstall()",
             "Shutdown(200, 1)", "~CLinkClient()"}));
}

TEST_F(SettingsLifeCycle, AMissingFileIsTheStartingDocumentOnceStopHasSavedIt) {
  SvcKivApp app(Parts());
  SvcKivSpace::CSVCKIVConfig* const settings = app.Start();
  EXPECT_EQ(settings->Settings().nvLoadFileMaxSizeBytes, 16 * 1024 * 1024);
  EXPECT_EQ(app.GetSettings()->NvLoadFileMaxSizeBytes(), 16u * 1024 * 1024);
  EXPECT_EQ(settings->KeyBindings().cancel.name, L"ESC");
  EXPECT_EQ(settings->IndicationsEnabled(), 1);
  app.Stop();
  EXPECT_NE(FileText("kiv.xml").find("POSTCMD_TIMEOUT=\"5000\""), std::string::npos);
}

TEST_F(SettingsLifeCycle, WhatAHostStoresIsThereAtTheNextStart) {
  SvcKivApp app(Parts());
  SvcKivSpace::CSVCKIVConfig* settings = app.Start();
  SvcKivSpace::KivCommandRecord typed;
  typed.name = L"nv_read";
  typed.parameters = L"{<7>}\n";
  settings->Settings().fontSize = 14;
  settings->SetShowType(1);
  EXPECT_EQ(settings->StoreEverything(&typed), 0u);
  app.Stop();
  settings = app.Start();
  ASSERT_EQ(settings->Lists().history.GetCount(), 1u);
  EXPECT_EQ(settings->Lists().history[0].name, L"nv_read");
  EXPECT_EQ(settings->Lists().history[0].parameters, L"{<7>}\n");
  EXPECT_EQ(settings->Settings().fontSize, 14);
  // Never written: the file's own value holds.
  EXPECT_EQ(settings->ShowType(), 0);
}

TEST_F(SettingsLifeCycle, ANoticeReachesAViewThatWasThereBeforeStartOnce) {
  WriteFile("kiv.xml", "<SourceData><SESSION");
  SvcKivApp app(Parts());
  kivtest::MessageEar ear(*app.GetMsgSender());
  app.Start();
  ASSERT_EQ(ear.All().size(), 1u);
  EXPECT_EQ(ear.All()[0].kind, SvcKivSpace::kNotice);
  EXPECT_NE(ear.All()[0].text.find(L"kiv.xml.corrupt-"), std::wstring::npos)
      << QCString(ear.All()[0].text).ToUtf8();
  app.Stop();
  EXPECT_EQ(ear.All().size(), 1u);
}

}  // namespace
