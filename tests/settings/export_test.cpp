// Export: what goes out, and what each target answers.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary

// What was done to the other file, without looking at it.
Calls OtherChanges(SettingsBench& bench) {
  Calls changes;
  for (const std::string& call : bench.Tape().Take()) {
    if (!call.starts_with("other: ")) {
      EXPECT_FALSE(call.starts_with("write") || call.starts_with("add") ||
                   call.starts_with("delete") || call.starts_with("save"))
          << call;
      continue;
    }
    const std::string other = call.substr(7);
    const bool isChange = other.starts_with("write") || other.starts_with("add") ||
                          other.starts_with("delete") || other.starts_with("save");
    if (isChange) changes.push_back(other);
  }
  return changes;
}

Calls Skeleton(const std::string& instanceId = "1") {
  return {"add SESSION under SourceData 0", "write ID=1 of SourceData.SESSION 0.0",
          "add INSTANCE under SourceData.SESSION 0.0",
          "write ID=" + instanceId + " of SourceData.SESSION.INSTANCE 0.0.0",
          "add DEFAULT under SourceData.SESSION.INSTANCE 0.0.0"};
}

std::uint32_t Export(SettingsBench& bench, bool keyboard, bool favourites, bool shortcuts) {
  return bench.Config().Export(bench.Folder().WideFile("out.xml").c_str(), keyboard, favourites,
                               shortcuts);
}

TEST(Export, BuildsTheSkeletonAndSaves) {
  SettingsBench bench(FullDocument());
  bench.Load();
  EXPECT_EQ(0u, Export(bench, false, false, false));
  EXPECT_EQ(Join({Skeleton(), {"save 1"}}), OtherChanges(bench));
}

TEST(Export, CopiesTheGroupsInTheirOrder) {
  SettingsBench bench(FullDocument());
  bench.Load();
  EXPECT_EQ(0u, Export(bench, true, true, true));
  Calls changes = OtherChanges(bench);
  // The five bindings are added first or each before its values; both give the same file.
  Calls adds, writes;
  for (const std::string& call : changes) (call.starts_with("add") ? adds : writes).push_back(call);
  EXPECT_EQ(
      (Calls{"add SESSION under SourceData 0", "add INSTANCE under SourceData.SESSION 0.0",
             "add DEFAULT under SourceData.SESSION.INSTANCE 0.0.0",
             "add KEYBOARD under SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0",
             "add REPEAT_CMD under ~KEYBOARD 0.0.0.0.0", "add SEND_CMD under ~KEYBOARD 0.0.0.0.0",
             "add LIST_HISTORY_CMD under ~KEYBOARD 0.0.0.0.0",
             "add LIST_RECENT_CMD under ~KEYBOARD 0.0.0.0.0",
             "add CANCEL under ~KEYBOARD 0.0.0.0.0",
             "add FAVORATE_CMD under SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0",
             "add CMD under ~FAVORATE_CMD 0.0.0.0.0",
             "add SHORTCUTKEY_CMD under SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0",
             "add CMD under ~SHORTCUTKEY_CMD 0.0.0.0.0", "add CMD under ~SHORTCUTKEY_CMD 0.0.0.0.0",
             "add CMD under ~SHORTCUTKEY_CMD 0.0.0.0.0"}),
      adds);
  EXPECT_EQ((Calls{"write ID=1 of SourceData.SESSION 0.0",
                   "write ID=1 of SourceData.SESSION.INSTANCE 0.0.0",
                   WriteOf({"KEYBOARD.REPEAT_CMD", "NAME"}, "F3"),
                   WriteOf({"KEYBOARD.REPEAT_CMD", "VALUE"}, "61"),
                   WriteOf({"KEYBOARD.SEND_CMD", "NAME"}, "ENTER"),
                   WriteOf({"KEYBOARD.SEND_CMD", "VALUE"}, "62"),
                   WriteOf({"KEYBOARD.LIST_HISTORY_CMD", "NAME"}, "F4"),
                   WriteOf({"KEYBOARD.LIST_HISTORY_CMD", "VALUE"}, "63"),
                   WriteOf({"KEYBOARD.LIST_RECENT_CMD", "NAME"}, "F5"),
                   WriteOf({"KEYBOARD.LIST_RECENT_CMD", "VALUE"}, "64"),
                   WriteOf({"KEYBOARD.CANCEL", "NAME"}, "ESC"),
                   WriteOf({"KEYBOARD.CANCEL", "VALUE"}, "65"),
                   "write NAME=f0 of ~FAVORATE_CMD.CMD 0.0.0.0.0.0",
                   "write PARA=c of ~FAVORATE_CMD.CMD 0.0.0.0.0.0",
                   "write NAME=s0 of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.0",
                   "write PARA=d of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.0",
                   "write NAME=s1 of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.1",
                   "write PARA=e of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.1",
                   "write NAME=s2 of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.2",
                   "write PARA=f of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.2",
                   "save 1"}),
            writes);
}

TEST(Export, TakesTheCurrentInstanceFromTheDocumentAndNotFromMemory) {
  SettingsBench bench(
      RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"><DEFAULT>" + FullGroups() +
                   "</DEFAULT></INSTANCE><INSTANCE ID=\"2\"><DEFAULT><FAVORATE_CMD>" +
                   Cmd("second", "%(%") + "</FAVORATE_CMD></DEFAULT></INSTANCE></SESSION>"));
  bench.Load(1, 2);
  bench.Lists().favourites.AddTail(Command(L"memory", L""));
  EXPECT_EQ(0u, Export(bench, false, true, false));
  EXPECT_EQ(Join({Skeleton("2"),
                  {"add FAVORATE_CMD under SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0",
                   "add CMD under ~FAVORATE_CMD 0.0.0.0.0",
                   "write NAME=second of ~FAVORATE_CMD.CMD 0.0.0.0.0.0",
                   "write PARA=%(% of ~FAVORATE_CMD.CMD 0.0.0.0.0.0", "save 1"}}),
            OtherChanges(bench));
}

TEST(Export, LeavesOutWhatTheOwnDocumentLacks) {
  SettingsBench bench(Document("<KEYBOARD><SEND_CMD NAME=\"ENTER\"/></KEYBOARD>"));
  bench.Load();
  EXPECT_EQ(0u, Export(bench, true, true, true));
  Calls writes;
  for (const std::string& call : OtherChanges(bench)) {
    if (call.starts_with("write")) writes.push_back(call);
  }
  EXPECT_EQ((Calls{"write ID=1 of SourceData.SESSION 0.0",
                   "write ID=1 of SourceData.SESSION.INSTANCE 0.0.0",
                   WriteOf({"KEYBOARD.SEND_CMD", "NAME"}, "ENTER")}),
            writes);
  EXPECT_NE(std::string::npos, bench.Folder().Read("out.xml").find("<SHORTCUTKEY_CMD"));
}

TEST(Export, AnswersBeforeAnythingIsWrittenWhenTheInstanceIsMissing) {
  SettingsBench bench(FullDocument());
  bench.Folder().Write("out.xml", "old");
  for (const auto& [session, instance] : {std::pair{1u, 2u}, std::pair{2u, 1u}}) {
    bench.Load(session, instance);
    EXPECT_EQ(3005u, Export(bench, true, true, true));
    EXPECT_EQ("old", bench.Folder().Read("out.xml"));
  }
}

TEST(Export, BuildsTheTargetAnew) {
  for (const std::string& old : {std::string("no document"), FullDocument(), std::string()}) {
    SettingsBench bench(FullDocument());
    bench.Load();
    EXPECT_EQ(0u, Export(bench, true, false, false));
    const std::string fresh = bench.Folder().Read("out.xml");
    bench.Folder().Write("out.xml", old);
    EXPECT_EQ(0u, Export(bench, true, false, false));
    EXPECT_EQ(fresh, bench.Folder().Read("out.xml"));
  }
}

TEST(Export, RefusesWhatIsKeptBesideTheOwnSettingsFile) {
  SettingsBench bench(FullDocument());
  bench.Load();
  SetText(bench.Settings().title, L"new");
  ASSERT_EQ(0u, bench.Config().WritePopular());
  ASSERT_EQ(0u, bench.Config().Save());
  bench.Folder().Write("kiv.xml.corrupt-1", "as it was found");
  std::filesystem::create_symlink("kiv.xml.corrupt-1", bench.Folder().File("link"));
  std::filesystem::create_symlink(".", bench.Folder().File("here"));
  for (const char* name :
       {"kiv.xml.bak", "kiv.xml.lock", "kiv.xml.bak-new", "kiv.xml.notice", "kiv.xml.corrupt-1",
        "kiv.xml.corrupt-20", "kiv.xml.bak.corrupt-1", "link", "here/kiv.xml.corrupt-1"}) {
    const std::wstring path = bench.Folder().WideFile(name);
    EXPECT_EQ(3018u, bench.Config().Export(path.c_str(), true, true, true)) << name;
  }
  EXPECT_EQ(FullDocument(), bench.Folder().Read("kiv.xml.bak"));
  EXPECT_EQ("as it was found", bench.Folder().Read("kiv.xml.corrupt-1"));
  std::filesystem::create_directory(bench.Folder().File("there"));
  for (const char* name : {"kiv.xml.old", "kiv.xml.bak2", "there/kiv.xml.bak", "xkiv.xml.bak"}) {
    const std::wstring path = bench.Folder().WideFile(name);
    EXPECT_EQ(0u, bench.Config().Export(path.c_str(), true, true, true)) << name;
  }
}

TEST(Export, RefusesTheOwnSettingsFile) {
  SettingsBench bench(FullDocument());
  bench.Load();
  std::filesystem::create_symlink(bench.Folder().File("kiv.xml"), bench.Folder().File("link"));
  const std::wstring folder = bench.Folder().WidePath();
  for (const std::wstring& path :
       {folder + L"/kiv.xml", folder + L"/./kiv.xml", folder + L"//kiv.xml", folder + L"\\kiv.xml",
        folder + L"/data/../kiv.xml", folder + L"/link"}) {
    std::filesystem::create_directories(bench.Folder().File("data"));
    EXPECT_EQ(3018u, bench.Config().Export(path.c_str(), true, true, true));
    EXPECT_EQ(FullDocument(), bench.File());
  }
}

TEST(Export, AnswersWhenTheTargetCannotBeWritten) {
  SettingsBench bench(FullDocument());
  bench.Load();
  std::filesystem::create_directory(bench.Folder().File("folder"));
  bench.Folder().Write("plain", "x");
  const std::wstring folder = bench.Folder().WidePath();
  for (const std::wstring& path : {folder + L"/folder", folder + L"/plain/below",
                                   std::wstring(L"/dev/null/x"), std::wstring(L"/proc/x.xml")}) {
    EXPECT_EQ(3018u, bench.Config().Export(path.c_str(), true, true, true));
  }
  EXPECT_EQ(3018u, bench.Config().Export(nullptr, true, true, true));
}

TEST(Export, IsImportedAsItWas) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Lists().favourites.AddTail(Command(L"odd \x1F600\x01\xD800", L"<a>\n\"&'\t"));
  EXPECT_EQ(0u, bench.Config().WriteFavourites());
  EXPECT_EQ(0u, Export(bench, true, true, true));
  SettingsBench other(Document(""));
  other.Folder().Write("in.xml", bench.Folder().Read("out.xml"));
  other.Load();
  EXPECT_EQ(0u, other.Config().Import(other.Folder().WideFile("in.xml").c_str(), true, true, true));
  ASSERT_EQ(2u, other.Lists().favourites.GetCount());
  EXPECT_EQ(L"odd \x1F600\x01\xD800", other.Lists().favourites[1].name.str());
  EXPECT_EQ(L"<a>\n\"&'\t", other.Lists().favourites[1].parameters.str());
  EXPECT_EQ(L"F5", other.Keys().listRecentCmd.name.str());
  EXPECT_EQ(L"s2", other.Lists().shortcuts[2].name.str());
}

}  // namespace
