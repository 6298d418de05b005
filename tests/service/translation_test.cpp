// A translator that marks every text finds each one that users see marked, and none of those that
// only logs and debug traces show; and the translators' tool finds them all in the sources.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTranslator>
#include <QXmlStreamReader>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "command/command_texts.h"
#include "command/packet/packet_texts.h"
#include "command/shared_constants.h"
#include "link/render/render_texts.h"
#include "params/params_texts.h"
#include "platform/bounded/pool.h"
#include "service/service_texts.h"
#include "tests/fakes/module_bench.h"
#include "tests/support/sweep.h"

namespace {

using kivtest::ModuleBench;
using Lines = std::vector<std::wstring>;

constexpr wchar_t kOpen = L'\u00ab';
constexpr wchar_t kClose = L'\u00bb';

class MarkingTranslator : public QTranslator {
 public:
  QString translate(const char* context, const char* source, const char*, int) const override {
    if (std::string(context) != "QObject") return {};
    asked.insert(source);
    return QChar(kOpen) + QString::fromUtf8(source) + QChar(kClose);
  }
  bool isEmpty() const override { return false; }

  mutable std::set<std::string> asked;
};

std::wstring Marked(const std::wstring& text) { return kOpen + text + kClose; }

const std::wstring kStars(20, L'*');
const std::wstring kInputHead = Marked(L"Input Parameters:\n" + kStars);
const std::wstring kInputFoot = Marked(L"\n" + kStars + L"\n");
const std::wstring kFailed2 = Marked(L"*** Failed to parse the diag command parameters (2).\n");

class Translation : public testing::Test {
 protected:
  Translation() {
    kivtest::CoreApplication();
    QCoreApplication::installTranslator(&translator_);
  }
  ~Translation() override { QCoreApplication::removeTranslator(&translator_); }

  MarkingTranslator translator_;
};

TEST_F(Translation, MarksTheRepliesOfLines) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"nonsense"),
            Marked(L"Command '") + L"nonsense" + Marked(L"' is not exist\n"));
  EXPECT_EQ(bench.Run(L"alone 1"), Marked(L"Morv Combined commands not supported."));
  const std::wstring caption = Marked(L"Querying All Commands");
  const std::wstring help =
      L"help  " + caption + L"\n?  " + caption + L"\nset_values  (0x1001) \n\n";
  EXPECT_EQ(bench.Run(L"help").substr(0, help.size()), help);
  bench.App().SetUEConnectStatus(0);
  EXPECT_EQ(bench.Run(L"ping"),
            Marked(L"*** Failed to execute diag command. No UE is connected.\n"));
}

TEST_F(Translation, MarksTheInputDisplayAndEachFailureOfAPost) {
  ModuleBench bench;
  const std::wstring input = kInputHead + kInputFoot;
  EXPECT_EQ(bench.Run(L"ping"), input);
  EXPECT_EQ(bench.Run(L"ping -r x"),
            input + Marked(L"*** Failed to execute diag command. Check MAC path.\n"));
  fake::SetPostStatus(9);
  EXPECT_EQ(bench.Run(L"ping"), input + Marked(L"*** Failed to execute diag command, ret=9\n"));
  fake::SetPostStatus(3207);
  EXPECT_EQ(bench.Run(L"ping"),
            input + Marked(L"*** Failed to execute diag command. Connect UE before using any "
                           L"commands.\n"));
  // The first block that a command takes is its tree, the second its body.
  pool::FailNth(1);
  EXPECT_EQ(bench.Run(L"ping"),
            Marked(L"*** Failed to find valid packet (id=0x1004, ret=500). Maybe the parameter is "
                   L"invalid or the ID does not exist. \n"));
  pool::FailNth(2);
  EXPECT_EQ(bench.Run(L"ping"),
            input + Marked(L"*** Failed to execute diag command. Build diag command packet error. "
                           L"ErrNum =500\n"));
  pool::FailNth(0);
}

TEST_F(Translation, MarksEachFailureOfTheParameters) {
  ModuleBench bench;
  const std::wstring failed1 = Marked(L"*** Failed to parse the diag command parameters (1).");
  const std::wstring index = Marked(L"The index of current parameter is %d.\n");
  struct Row {
    const wchar_t* rest;
    std::wstring reply;
  };
  const Row rows[] = {
      {L"{1,2", failed1 + Marked(L"the last '}' is missing.\n")},
      {L"$(T<x", failed1 + Marked(L"Cannot find the text file name finish tag ')'.\n")},
      {L"@/nonexistent/f", failed1 + L"/nonexistent/f" + Marked(L" does not exist.\n")},
      {L"{{1}}", kFailed2 +
                     Marked(L"The depth of the parameters line does not match that of the default "
                            L"parameters tree.\n") +
                     index},
      {L"1,x",
       kFailed2 + Marked(L"Failed to translate ") + L"x" + Marked(L" to wexUint32.\n") + index},
      {L"[1]", kFailed2 +
                   Marked(L"Value type does not match, meeting the '[' for single value.\n") +
                   index},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(QCString(row.rest).ToUtf8());
    EXPECT_EQ(bench.Run(std::wstring(L"set_values ") + row.rest), row.reply);
  }
  EXPECT_EQ(bench.Run(L"mixed 1"), kFailed2 + Marked(L"The parameters line is end") +
                                       Marked(L"The index of current parameter is 2.\n"));
}

TEST_F(Translation, MarksWhatIsShownOfAReply) {
  ModuleBench bench;
  fake::DeliverCnf(0xBEEF, {1});
  EXPECT_EQ(bench.Messages().Texts(), Lines{L"\n" + Marked(L"ok") + Marked(L" [ack(0xBEEF)]")});
}

TEST_F(Translation, MarksTheNameOfTheLinkClient) {
  ModuleBench bench;
  EXPECT_EQ(fake::Calls().at(0),
            QCString((L"CLinkClient(0, " + Marked(L"Kiv 1") + L")").c_str()).ToUtf8());
}

TEST_F(Translation, LeavesLogLinesAndTracesAlone) {
  kivtest::TraceEar traces;
  ModuleBench bench;
  fake::SetPostStatus(9);
  bench.Run(L"nonsense");
  bench.Run(L"alone 1");
  bench.Run(L"ping " + std::wstring(16385, L'1'));
  bench.Run(L"ping");
  fake::FailStep("EnumCommands", 7);
  bench.App().ReloadDb();
  for (const std::wstring& line : bench.Log().Lines()) {
    EXPECT_EQ(line.find(kOpen), std::wstring::npos);
  }
  EXPECT_EQ(bench.Log().Lines().size(), 5u);
  std::size_t marked = 0;
  for (const std::wstring& line : traces.Lines()) {
    const std::size_t mark = line.find(kOpen);
    if (mark == std::wstring::npos) continue;
    // One trace repeats what the user was shown; its own words are not marked.
    EXPECT_EQ(line.substr(0, mark), L"[CmdCtrl::DisplayInputParams]dispStr = ");
    ++marked;
  }
  EXPECT_EQ(marked, 1u);
}

TEST_F(Translation, SubstitutesMarkersAfterTranslating) {
  ModuleBench bench;
  fake::SetPostStatus(12);
  bench.Run(L"ping");
  EXPECT_EQ(translator_.asked.count("*** Failed to execute diag command, ret=%1\n"), 1u);
  EXPECT_EQ(translator_.asked.count("*** Failed to execute diag command, ret=12\n"), 0u);
  EXPECT_EQ(translator_.asked.count("Kiv %1"), 1u);
}

// --- what the translators' tool sees ---

QString FindLupdate() {
  const QString found = QStandardPaths::findExecutable("lupdate");
  return found.isEmpty() ? QStandardPaths::findExecutable("lupdate", {"/usr/lib/qt5/bin"}) : found;
}

// The source texts of context QObject in a .ts file.
std::set<std::string> TextsOf(const QString& path) {
  std::set<std::string> texts;
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return texts;
  QXmlStreamReader xml(&file);
  QString context;
  while (!xml.atEnd()) {
    if (xml.readNext() != QXmlStreamReader::StartElement) continue;
    if (xml.name() == QLatin1String("name")) context = xml.readElementText();
    if (xml.name() == QLatin1String("source") && context == "QObject") {
      texts.insert(xml.readElementText().toStdString());
    }
  }
  return texts;
}

std::vector<std::string> AllTexts() {
  using namespace SvcKivClass;
  std::vector<std::string> all = {kClientNamePattern,
                                  kCombinedRefusedText,
                                  kNoSuchCommandHead,
                                  kNoSuchCommandTail,
                                  kNotConnectedText,
                                  kHotKeyConflictWarning,
                                  kHelpCaption,
                                  texts::kLineEmpty,
                                  texts::kLastBraceMissing,
                                  texts::kOutermostBraceMissing,
                                  texts::kTextFileTagOpen,
                                  texts::kBinFileTagOpen,
                                  texts::kDoesNotExist,
                                  texts::kFailedToOpen,
                                  texts::kBracketForSingleValue,
                                  texts::kLineEnd,
                                  texts::kBracketsMisplaced,
                                  texts::kTooManyElements,
                                  texts::kNullNumber,
                                  texts::kNotANumberHead,
                                  texts::kNotANumberTail,
                                  texts::kDepthMismatch,
                                  texts::kIndexLine,
                                  texts::kArrayIndexLine,
                                  texts::kNotSupported,
                                  texts::kNoDataLibrary,
                                  texts::kNotEnoughMemory,
                                  texts::kAcknowledged,
                                  texts::kNoValidPacket,
                                  texts::kLineNotParsed,
                                  texts::kTreeNotFilled,
                                  texts::kInputParametersHead,
                                  texts::kInputParametersFoot,
                                  texts::kNotEncoded,
                                  texts::kLinkDown,
                                  texts::kBadMacPath,
                                  texts::kPostFailed};
  all.insert(all.end(), std::begin(kErrorMessages), std::end(kErrorMessages));
  return all;
}

TEST(TranslationSources, AreAllFoundByLupdate) {
  const QString lupdate = FindLupdate();
  if (lupdate.isEmpty()) {
    ASSERT_FALSE(kivtest::NothingMayBeSkipped()) << "lupdate is not installed";
    GTEST_SKIP() << "lupdate is not installed";
  }
  kivtest::CoreApplication();
  QTemporaryDir directory;
  const QString ts = directory.filePath("module.ts");
  QStringList arguments;
  for (const char* folder :
       {"service", "command", "params", "link", "channels", "cts", "settings"}) {
    arguments << QString::fromUtf8(kivtest::SourceDir()) + "/" + folder;
  }
  QProcess process;
  process.start(lupdate, arguments << "-silent"
                                   << "-extensions"
                                   << "h,cpp"
                                   << "-ts" << ts);
  ASSERT_TRUE(process.waitForFinished(60000));
  ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
  const std::set<std::string> found = TextsOf(ts);
  for (const std::string& text : AllTexts()) {
    EXPECT_EQ(found.count(text), 1u) << text;
  }
}

}  // namespace
