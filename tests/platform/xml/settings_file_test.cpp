// The file behind a document: what is loaded, what is set aside, what is kept, and what happens
// when a system call fails.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/os/file_lock.h"
#include "platform/os/system_calls.h"
#include "platform/xml/xml_config.h"
#include "platform/xml/xml_document.h"
#include "tests/platform/xml/settings_shape.h"
#include "tests/support/temp_dir.h"
#include "tests/support/unprivileged.h"

namespace {

namespace fs = std::filesystem;
using kivtest::TempDir;
using xml_config::kCannotSave;
using xml_config::OpenAs;
using Names = std::vector<std::string>;

// A document with one title.
std::string Titled(const std::string& title) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SourceData>\n  <T V=\"" + title +
         "\" />\n</SourceData>\n";
}

class SettingsFile : public testing::Test {
 protected:
  xml_config::Options Options() const {
    return {.startingText = QCString::FromUtf8(Titled("starting")),
            .mergeRules = kivtest::SettingsMergeRules(),
            .lockWaitMs = 50};
  }
  CXmlConfig Open() const { return CXmlConfig(path_, Options()); }
  static std::string Title(const CXmlConfig& config) {
    QCString title = L"(none)";
    config.ReadAttrValue(title, L"V", L"SourceData.T", L"0.0");
    return title.ToUtf8();
  }
  static std::uint32_t SaveTitle(CXmlConfig& config, const wchar_t* title) {
    EXPECT_EQ(0u, config.WriteAttrValue(title, L"V", L"SourceData.T", L"0.0"));
    return config.Save(1);
  }
  std::string File(std::string_view name = "kiv.xml") const { return dir_.File(name); }
  std::string Notice(const std::string& rest) const {
    return "*** The settings file " + File() + " " + rest;
  }
  static std::string TakeNotice(CXmlConfig& config) { return config.TakeNotice().ToUtf8(); }

  TempDir dir_;
  const QCString path_{dir_.WideFile("kiv.xml")};
};

TEST_F(SettingsFile, BeginsWithTheStartingTextWhenThereIsNone) {
  CXmlConfig config = Open();
  EXPECT_TRUE(config.IsOpen());
  EXPECT_EQ("starting", Title(config));
  EXPECT_EQ("", TakeNotice(config));
  EXPECT_EQ(0, config.LastError());
  EXPECT_EQ(Names{}, dir_.Names());
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(Titled("starting"), dir_.Read("kiv.xml"));
  EXPECT_EQ((Names{"kiv.xml", "kiv.xml.lock"}), dir_.Names());
}

TEST_F(SettingsFile, BeginsWithItsRootWhenTheStartingTextIsBroken) {
  CXmlConfig config(path_, {.startingText = L"<SourceData>"});
  EXPECT_TRUE(config.IsOpen());
  EXPECT_EQ(0u, config.GetNode(L"SourceData", L"0"));
}

TEST_F(SettingsFile, MakesItsDirectoryWhenItSaves) {
  CXmlConfig config(QCString(dir_.WideFile("a/b/kiv.xml")), Options());
  EXPECT_EQ(Names{}, dir_.Names());
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(Titled("starting"), dir_.Read("a/b/kiv.xml"));
}

TEST_F(SettingsFile, IsWithItsLockAndCopyForItsOwnerAlone) {
  CXmlConfig config = Open();
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(0u, SaveTitle(config, L"new"));
  for (const char* name : {"kiv.xml", "kiv.xml.lock", "kiv.xml.bak"}) {
    struct stat status {};
    ASSERT_EQ(0, stat(File(name).c_str(), &status)) << name;
    EXPECT_EQ(0600u, status.st_mode & 07777) << name;
  }
}

TEST_F(SettingsFile, KeepsTheRightsThatItsOwnerGaveIt) {
  dir_.Write("kiv.xml", Titled("0"));
  ASSERT_EQ(0, chmod(File("kiv.xml").c_str(), 0640));
  CXmlConfig config = Open();
  EXPECT_EQ(0u, SaveTitle(config, L"1"));
  struct stat status {};
  ASSERT_EQ(0, stat(File("kiv.xml").c_str(), &status));
  EXPECT_EQ(0640u, status.st_mode & 07777);
}

TEST_F(SettingsFile, MadeForOthersIsAsTheUmaskLetsIt) {
  const mode_t old = umask(027);
  xml_config::Options options = Options();
  options.openAs = xml_config::OpenAs::kNew;
  CXmlConfig config(QCString(dir_.WideFile("export.xml")), options);
  EXPECT_EQ(0u, config.Save(1));
  umask(old);
  struct stat status {};
  ASSERT_EQ(0, stat(File("export.xml").c_str(), &status));
  EXPECT_EQ(0640u, status.st_mode & 07777);
}

TEST_F(SettingsFile, KeepsWhatItReplaces) {
  dir_.Write("kiv.xml", Titled("0"));
  CXmlConfig config = Open();
  for (const wchar_t* title : {L"1", L"2", L"3"}) {
    EXPECT_EQ(0u, SaveTitle(config, title));
    const std::string now(1, static_cast<char>(*title)), before(1, static_cast<char>(*title - 1));
    EXPECT_EQ(Titled(now), dir_.Read("kiv.xml"));
    EXPECT_EQ(Titled(before), dir_.Read("kiv.xml.bak"));
    EXPECT_EQ((Names{"kiv.xml", "kiv.xml.bak", "kiv.xml.lock"}), dir_.Names());
  }
}

TEST_F(SettingsFile, IsNotWrittenWhenNothingChanged) {
  const std::string byHand = "<SourceData><T  V='as typed'/></SourceData>";
  dir_.Write("kiv.xml", byHand);
  CXmlConfig config = Open();
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(byHand, dir_.Read("kiv.xml"));
  EXPECT_EQ(Names{"kiv.xml"}, dir_.Names());
  EXPECT_EQ(0u, SaveTitle(config, L"x"));
  struct stat before {
  }, after{};
  ASSERT_EQ(0, stat(File().c_str(), &before));
  EXPECT_EQ(0u, SaveTitle(config, L"x"));
  EXPECT_EQ(0u, config.Save(0));
  ASSERT_EQ(0, stat(File().c_str(), &after));
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(SettingsFile, IsWrittenAgainWhenSomebodyRemovedIt) {
  dir_.Write("kiv.xml", Titled("here"));
  CXmlConfig config = Open();
  fs::remove(File());
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(Titled("here"), dir_.Read("kiv.xml"));
}

TEST_F(SettingsFile, IsSetAsideForTheStartingTextWhenItIsBroken) {
  dir_.Write("kiv.xml", "<SourceData>\n<T></SourceData>");
  CXmlConfig config = Open();
  EXPECT_TRUE(config.IsOpen());
  EXPECT_EQ("starting", Title(config));
  EXPECT_EQ(Notice("is broken (line 2: end tags do not match) and was set aside as " +
                   File("kiv.xml.corrupt-1") + ". The default settings are used."),
            TakeNotice(config));
  EXPECT_EQ("", TakeNotice(config));
  EXPECT_EQ("<SourceData>\n<T></SourceData>", dir_.Read("kiv.xml.corrupt-1"));
  EXPECT_EQ(Titled("starting"), dir_.Read("kiv.xml"));
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ((Names{"kiv.xml", "kiv.xml.corrupt-1", "kiv.xml.lock"}), dir_.Names());
}

// Whoever is killed before it could tell leaves it to the next; who told it takes it away.
TEST_F(SettingsFile, IsToldOfUntilSomebodyHasToldIt) {
  dir_.Write("kiv.xml", "broken");
  const std::string notice =
      Notice("is broken (line 1: text before the root) and was set aside as " +
             File("kiv.xml.corrupt-1") + ". The default settings are used.");
  Open();
  Open();
  {
    CXmlConfig config = Open();
    EXPECT_EQ(notice, TakeNotice(config));
    CXmlConfig other = Open();
    EXPECT_EQ(notice, TakeNotice(other));
  }
  CXmlConfig next = Open();
  EXPECT_EQ("", TakeNotice(next));
  EXPECT_EQ((Names{"kiv.xml", "kiv.xml.corrupt-1", "kiv.xml.lock"}), dir_.Names());
}

TEST_F(SettingsFile, LeavesANoticeThatIsNoneAlone) {
  for (const char* text : {"mine", "*** two\nlines", "*** \x1B[2J"}) {
    dir_.Write("kiv.xml.notice", text);
    dir_.Write("kiv.xml", "broken");
    {
      CXmlConfig config = Open();
      EXPECT_TRUE(TakeNotice(config).starts_with("*** The settings file " + File()));
    }
    EXPECT_EQ(text, dir_.Read("kiv.xml.notice"));
  }
}

TEST_F(SettingsFile, IsSetAsideForTheLastGoodCopyWhenThatIsSound) {
  dir_.Write("kiv.xml", "broken");
  dir_.Write("kiv.xml.bak", Titled("copy"));
  std::optional<CXmlConfig> first(std::in_place, path_, Options());
  CXmlConfig& config = *first;
  EXPECT_EQ("copy", Title(config));
  EXPECT_EQ(Notice("is broken (line 1: text before the root) and was set aside as " +
                   File("kiv.xml.corrupt-1") + ". The last good copy is used."),
            TakeNotice(config));
  EXPECT_EQ("broken", dir_.Read("kiv.xml.corrupt-1"));
  EXPECT_EQ(Titled("copy"), dir_.Read("kiv.xml"));
  EXPECT_EQ(Titled("copy"), dir_.Read("kiv.xml.bak"));
  first.reset();
  CXmlConfig next = Open();
  EXPECT_EQ("copy", Title(next));
  EXPECT_EQ("", TakeNotice(next));
}

TEST_F(SettingsFile, IsSetAsideUnderANameThatIsFree) {
  for (int n = 1; n <= 12; ++n) {
    const std::string broken = "broken " + std::to_string(n);
    dir_.Write("kiv.xml", broken);
    CXmlConfig config = Open();
    EXPECT_EQ(broken, dir_.Read("kiv.xml.corrupt-" + std::to_string(n)));
  }
  EXPECT_EQ("broken 1", dir_.Read("kiv.xml.corrupt-1"));
}

TEST_F(SettingsFile, IsBrokenBeyondItsLimits) {
  std::string deep, huge = "<SourceData>";
  for (int i = 0; i < 65; ++i) deep += i == 0 ? "<SourceData>" : "<a>";
  for (int i = 64; i >= 0; --i) deep += i == 0 ? "</SourceData>" : "</a>";
  huge.append(xml_document::kMaxBytes, ' ').append("</SourceData>");
  for (const std::string& text :
       {std::string(), deep, huge, std::string("<Other/>"),
        std::string("<!DOCTYPE SourceData><SourceData/>"), std::string(1000, '\0')}) {
    const TempDir dir;
    dir.Write("kiv.xml", text);
    CXmlConfig config(QCString(dir.WideFile("kiv.xml")), Options());
    EXPECT_EQ("starting", Title(config));
    EXPECT_NE("", TakeNotice(config));
    EXPECT_TRUE(text == dir.Read("kiv.xml.corrupt-1"));
  }
}

TEST_F(SettingsFile, SetsABrokenCopyAsideToo) {
  dir_.Write("kiv.xml", "broken");
  dir_.Write("kiv.xml.bak", "broken copy");
  CXmlConfig config = Open();
  EXPECT_EQ("starting", Title(config));
  EXPECT_EQ("broken copy", dir_.Read("kiv.xml.bak.corrupt-1"));
  EXPECT_EQ("broken", dir_.Read("kiv.xml.corrupt-1"));
  EXPECT_EQ(0u, SaveTitle(config, L"1"));
  EXPECT_EQ(0u, SaveTitle(config, L"2"));
  EXPECT_EQ(Titled("1"), dir_.Read("kiv.xml.bak"));
  EXPECT_EQ("broken copy", dir_.Read("kiv.xml.bak.corrupt-1"));
}

TEST_F(SettingsFile, IsNotOpenWhenItCannotBeRead) {
  fs::create_directory(File());
  CXmlConfig config = Open();
  EXPECT_FALSE(config.IsOpen());
  EXPECT_EQ(EISDIR, config.LastError());
  EXPECT_EQ(Notice("cannot be read: Is a directory. No settings are kept."), TakeNotice(config));
  EXPECT_EQ(xml_config::kNotOpen, config.Save(1));
  EXPECT_EQ(Names{"kiv.xml"}, dir_.Names());
}

TEST_F(SettingsFile, IsNotOpenWithoutTheRightToRead) {
  dir_.Write("kiv.xml", Titled("secret"));
  chmod(File().c_str(), 0);
  chmod(dir_.path().c_str(), 0777);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([this] {
    CXmlConfig config = Open();
    return !config.IsOpen() && config.LastError() == EACCES && config.Save(1) == 2 &&
           TakeNotice(config) == Notice("cannot be read: Permission denied. No settings are kept.");
  }));
  EXPECT_EQ(Titled("secret"), dir_.Read("kiv.xml"));
  EXPECT_EQ(Names{"kiv.xml"}, dir_.Names());
}

TEST_F(SettingsFile, IsNotOpenWhenTheCopyOfABrokenOneCannotBeRead) {
  dir_.Write("kiv.xml", "broken");
  dir_.Write("kiv.xml.bak", Titled("copy"));
  fs::permissions(File("kiv.xml.bak"), fs::perms::none);
  fs::permissions(dir_.path(), fs::perms::all);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([this] {
    CXmlConfig config = Open();
    return !config.IsOpen() && config.LastError() == EACCES && config.Save(1) == 2 &&
           TakeNotice(config) ==
               Notice("is broken (line 1: text before the root) and its last good copy " +
                      File("kiv.xml.bak") +
                      " cannot be read: Permission denied. No settings are kept.");
  }));
  EXPECT_EQ("broken", dir_.Read("kiv.xml"));
}

TEST_F(SettingsFile, BeginsAnewWhenWhatIsNamedLikeTheCopyIsNone) {
  for (const bool isPipe : {false, true}) {
    const TempDir dir;
    dir.Write("kiv.xml", "broken");
    if (isPipe) {
      ASSERT_EQ(0, mkfifo(dir.File("kiv.xml.bak").c_str(), 0666));
    } else {
      fs::create_directory(dir.File("kiv.xml.bak"));
    }
    CXmlConfig config(QCString(dir.WideFile("kiv.xml")), Options());
    EXPECT_EQ("starting", Title(config));
    EXPECT_EQ("*** The settings file " + dir.File("kiv.xml") +
                  " is broken (line 1: text before the root) and was set aside as " +
                  dir.File("kiv.xml.corrupt-1") + ". The default settings are used.",
              TakeNotice(config));
    EXPECT_EQ("broken", dir.Read("kiv.xml.corrupt-1"));
    EXPECT_EQ(0u, SaveTitle(config, L"new"));
    EXPECT_EQ(Titled("new"), dir.Read("kiv.xml"));
  }
}

TEST_F(SettingsFile, DoesNotWaitForAPipe) {
  ASSERT_EQ(0, mkfifo(File().c_str(), 0666));
  CXmlConfig config = Open();
  EXPECT_FALSE(config.IsOpen());
  EXPECT_EQ(Notice("cannot be read: it is not a regular file. No settings are kept."),
            TakeNotice(config));
  EXPECT_EQ(Names{"kiv.xml"}, dir_.Names());
}

TEST_F(SettingsFile, IsUsedButNotReplacedWhereNothingMayBeWritten) {
  dir_.Write("kiv.xml", "broken");
  dir_.Write("kiv.xml.bak", Titled("copy"));
  chmod(dir_.path().c_str(), 0555);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([this] {
    CXmlConfig config = Open();
    return Title(config) == "copy" &&
           TakeNotice(config) ==
               Notice(
                   "is broken (line 1: text before the root) and could not be set aside: "
                   "Permission denied. The last good copy is used.") &&
           SaveTitle(config, L"x") == kCannotSave && config.LastError() == EACCES;
  }));
  EXPECT_EQ("broken", dir_.Read("kiv.xml"));
  EXPECT_EQ((Names{"kiv.xml", "kiv.xml.bak"}), dir_.Names());
}

TEST_F(SettingsFile, IsSetAsideWhenItBreaksBetweenTwoSaves) {
  dir_.Write("kiv.xml", Titled("0"));
  CXmlConfig config = Open();
  EXPECT_EQ(0u, SaveTitle(config, L"1"));
  dir_.Write("kiv.xml", "broken");
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(Titled("1"), dir_.Read("kiv.xml"));
  EXPECT_EQ("broken", dir_.Read("kiv.xml.corrupt-1"));
  EXPECT_EQ(Titled("0"), dir_.Read("kiv.xml.bak"));
  EXPECT_EQ(Notice("was found broken (line 1: text before the root) and was set aside as " +
                   File("kiv.xml.corrupt-1") + ". It was written anew."),
            TakeNotice(config));
}

TEST_F(SettingsFile, GetsBackWhatOthersSavedFromTheCopyWhenItBreaks) {
  dir_.Write("kiv.xml", Titled("0"));
  CXmlConfig ours = Open(), theirs = Open();
  ASSERT_EQ(0u, theirs.AddConfigNode(L"THEIRS", L"SourceData", L"0", 0));
  ASSERT_EQ(0u, theirs.Save(1));
  ASSERT_EQ(0u, SaveTitle(theirs, L"1"));
  dir_.Write("kiv.xml", "broken");
  ASSERT_EQ(0u, ours.AddConfigNode(L"OURS", L"SourceData", L"0", 0));
  ASSERT_EQ(0u, ours.Save(1));
  CXmlConfig next = Open();
  EXPECT_EQ(0u, next.GetNode(L"SourceData.THEIRS", L"0.0"));
  EXPECT_EQ(0u, next.GetNode(L"SourceData.OURS", L"0.0"));
}

TEST_F(SettingsFile, IsNotSavedWhileAnotherHoldsTheLock) {
  dir_.Write("kiv.xml", Titled("0"));
  CXmlConfig config = Open();
  os::FileLock other;
  ASSERT_EQ(0, other.Acquire(File("kiv.xml.lock"), 0));
  EXPECT_EQ(kCannotSave, SaveTitle(config, L"1"));
  EXPECT_EQ(ETIMEDOUT, config.LastError());
  EXPECT_EQ(Titled("0"), dir_.Read("kiv.xml"));
  other.Release();
  EXPECT_EQ(0u, config.Save(1));
  EXPECT_EQ(0, config.LastError());
  EXPECT_EQ(Titled("1"), dir_.Read("kiv.xml"));
}

TEST_F(SettingsFile, IsNotSavedBeyondItsLimit) {
  CXmlConfig config = Open();
  const QCString large(std::wstring(xml_document::kMaxBytes, L'x'));
  EXPECT_EQ(kCannotSave, SaveTitle(config, large.c_str()));
  EXPECT_EQ(EFBIG, config.LastError());
  EXPECT_EQ(0u, SaveTitle(config, L"small"));
  EXPECT_EQ(Titled("small"), dir_.Read("kiv.xml"));
}

TEST_F(SettingsFile, IsNotSavedWithMoreAttributesThanItWouldBeReadWith) {
  CXmlConfig config = Open();
  for (int i = 0; i <= 1000; ++i) {
    const QCString name = QCString(L"a") + std::to_wstring(i).c_str();
    ASSERT_EQ(0u, config.WriteAttrValue(L"", name, L"SourceData", L"0"));
  }
  EXPECT_EQ(kCannotSave, config.Save(1));
  EXPECT_EQ(EILSEQ, config.LastError());
  EXPECT_EQ(Names({"kiv.xml.lock"}), dir_.Names());
}

TEST_F(SettingsFile, FollowsALinkAndKeepsEverythingBesideItsTarget) {
  fs::create_directory(File("real"));
  dir_.Write("real/settings", Titled("0"));
  fs::create_symlink("real/settings", File());
  CXmlConfig config = Open();
  EXPECT_EQ(0u, SaveTitle(config, L"1"));
  EXPECT_TRUE(fs::is_symlink(File()));
  EXPECT_EQ(Titled("1"), dir_.Read("real/settings"));
  EXPECT_EQ(Titled("0"), dir_.Read("real/settings.bak"));
  dir_.Write("real/settings", "broken");
  CXmlConfig next = Open();
  EXPECT_EQ("broken", dir_.Read("real/settings.corrupt-1"));
  EXPECT_EQ(Names({"kiv.xml", "real"}), dir_.Names());
}

TEST_F(SettingsFile, IsLeftAloneByThoseWhoOnlyReadIt) {
  dir_.Write("kiv.xml", "broken");
  CXmlConfig broken(path_, {.openAs = OpenAs::kExisting});
  EXPECT_FALSE(broken.IsOpen());
  EXPECT_EQ(EILSEQ, broken.LastError());
  EXPECT_EQ("", TakeNotice(broken));
  EXPECT_EQ(Names{"kiv.xml"}, dir_.Names());
  EXPECT_EQ("broken", dir_.Read("kiv.xml"));
}

// A mark that cannot be written is one that other consoles would miss.
TEST_F(SettingsFile, IsNotBegunAnewWithoutAMark) {
  int refused = 0;
  for (std::uint64_t n = 1;; ++n) {
    for (const std::string& name : dir_.Names()) fs::remove(File(name));
    dir_.Write("kiv.xml", Titled("0"));
    CXmlConfig config = Open();
    ASSERT_EQ(0u, SaveTitle(config, L"1"));
    fs::remove(File());
    fs::remove(File("kiv.xml.lock"));
    os::system_calls::FailNth(n, ENOSPC);
    const std::uint32_t answer = config.Save(1);
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    const bool hasNoMark = dir_.Read("kiv.xml.lock").empty();
    if (hasNoMark) {
      EXPECT_EQ(kCannotSave, answer) << n;
      EXPECT_EQ(ENOSPC, config.LastError()) << n;
      EXPECT_FALSE(fs::exists(File())) << n;
      ++refused;
    }
    ASSERT_EQ(0u, config.Save(1)) << n;
    ASSERT_EQ(Titled("1"), dir_.Read("kiv.xml")) << n;
    if (!failed) break;
    ASSERT_LT(n, 100u);
  }
  EXPECT_EQ(2, refused);  // the lock's opening and its writing
}

// What others saved and this process has seen is not lost with the file.
TEST_F(SettingsFile, IsWrittenAgainWithWhatOthersSaved) {
  dir_.Write("kiv.xml", Titled("0"));
  CXmlConfig config = Open();
  {
    CXmlConfig other = Open();
    ASSERT_EQ(0u, other.AddConfigNode(L"OTHER", L"SourceData", L"0", 0));
    ASSERT_EQ(0u, other.Save(1));
  }
  for (const bool hasSeenIt : {false, true}) {  // else the last good copy has it
    if (hasSeenIt) {
      ASSERT_EQ(0u, SaveTitle(config, L"1"));
      fs::remove(File("kiv.xml.bak"));
    } else {
      dir_.Write("kiv.xml.bak", dir_.Read("kiv.xml"));
    }
    fs::remove(File());
    ASSERT_EQ(0u, config.Save(1));
    EXPECT_EQ(0u, Open().GetNode(L"SourceData.OTHER", L"0.0")) << hasSeenIt;
  }
}

// Fails the n-th writing system call of a save for every n until none is hit any more.
class EverySystemCallOfASave : public SettingsFile, public testing::WithParamInterface<int> {};

TEST_P(EverySystemCallOfASave, MayFailAndALaterSaveWorks) {
  for (std::uint64_t n = 1;; ++n) {
    const TempDir dir;
    dir.Write("kiv.xml", Titled("old"));
    CXmlConfig config(QCString(dir.WideFile("kiv.xml")), Options());
    os::system_calls::FailNth(n, GetParam());
    const std::uint32_t answer = SaveTitle(config, L"new");
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    const std::string left = dir.Read("kiv.xml");
    ASSERT_TRUE(left == Titled("new") || (answer == kCannotSave && left == Titled("old"))) << n;
    ASSERT_EQ(answer == 0, config.LastError() == 0) << n;
    ASSERT_EQ(0u, config.Save(1)) << n;
    ASSERT_EQ(Titled("new"), dir.Read("kiv.xml")) << n;
    for (const std::string& name : dir.Names()) {
      ASSERT_TRUE(name == "kiv.xml" || name == "kiv.xml.bak" || name == "kiv.xml.lock") << name;
    }
    if (!failed) break;
    ASSERT_LT(n, 100u);
  }
}

TEST_P(EverySystemCallOfASave, MayFailWhenABrokenFileIsSetAside) {
  for (std::uint64_t n = 1;; ++n) {
    const TempDir dir;
    dir.Write("kiv.xml", "broken");
    dir.Write("kiv.xml.bak", Titled("copy"));
    os::system_calls::FailNth(n, GetParam());
    CXmlConfig config(QCString(dir.WideFile("kiv.xml")), Options());
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    ASSERT_EQ("copy", Title(config)) << n;
    ASSERT_NE("", TakeNotice(config)) << n;
    ASSERT_EQ(0u, SaveTitle(config, L"new")) << n;
    ASSERT_EQ(Titled("new"), dir.Read("kiv.xml")) << n;
    ASSERT_EQ("broken", dir.Read("kiv.xml.corrupt-1")) << n;
    ASSERT_EQ("", dir.Read("kiv.xml.corrupt-2")) << n;
    if (!failed) break;
    ASSERT_LT(n, 100u);
  }
}

INSTANTIATE_TEST_SUITE_P(Errors, EverySystemCallOfASave,
                         testing::Values(ENOSPC, EIO, EINTR, EACCES, EMFILE, ENOMEM, EPERM,
                                         os::system_calls::kShortWrite));

}  // namespace
