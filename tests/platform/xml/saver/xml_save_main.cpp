// xml_save: opens a settings document as a console does and saves it again and again. Tests run it
// under a tracer, kill it, fill its disk, or run two of it on one file.
//
//   xml_save FILE COUNT TAG [SIZE]
//
// Save number i (from 0) sets TITLE of session 1, instance 1 to "TAG-i" followed by SIZE letters x,
// appends the history entry "TAG-i", and prints "TAG-i ANSWER ERROR" on a line of its own: what
// Save answered, and the system's error number. COUNT 0 goes on for ever. What the user would be
// told of the opening or a saving is printed as "notice: TEXT". Ends with 0, with 2 for wrong
// usage, and with 3 when the document could not be opened.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/xml/xml_config.h"
#include "tests/platform/xml/settings_shape.h"

namespace {

constexpr const wchar_t* kPopular = L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR";
constexpr const wchar_t* kHistory = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD";
constexpr const wchar_t* kEntry = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD.CMD";

void PrintNotice(CXmlConfig& config) {
  const QCString notice = config.TakeNotice();
  if (!notice.IsEmpty()) std::printf("notice: %s\n", notice.ToUtf8().c_str());
}

void Change(CXmlConfig& config, const QCString& entry, const QCString& title) {
  config.WriteAttrValue(title, L"TITLE", kPopular, L"0.0.0.0.0");
  config.AddConfigNode(L"CMD", kHistory, L"0.0.0.0.0", 1);
  std::uint32_t count = 0;
  config.GetSubNodeCount(count, kHistory, L"CMD", L"0.0.0.0.0");
  const QCString at = QCString(L"0.0.0.0.0.") + std::to_wstring(count - 1).c_str();
  config.WriteAttrValue(entry, L"NAME", kEntry, at);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::fprintf(stderr, "usage: xml_save FILE COUNT TAG [SIZE]\n");
    return 2;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const unsigned long count = std::strtoul(argv[2], nullptr, 10);
  const std::wstring filling(argc == 5 ? std::strtoul(argv[4], nullptr, 10) : 0, L'x');
  CXmlConfig config(QCString::FromUtf8(argv[1]), kivtest::SettingsOptions());
  PrintNotice(config);
  if (!config.IsOpen()) return 3;
  for (unsigned long i = 0; count == 0 || i < count; ++i) {
    const QCString entry = QCString::FromUtf8(argv[3] + ("-" + std::to_string(i)));
    Change(config, entry, entry + filling.c_str());
    const std::uint32_t answer = config.Save(1);
    std::printf("%s %u %d\n", entry.ToUtf8().c_str(), answer, config.LastError());
    PrintNotice(config);
  }
  return 0;
}
