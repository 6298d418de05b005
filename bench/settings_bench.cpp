// Lists of the settings document: n entries of two texts appended and written by position, then
// read by position. The limit does the same with the XML engine's own nodes, one after the other.
// What must stay the same from 100 entries to 4,000 is the ratio.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>
#include <string>

#include "bench/bench_rows.h"
#include "platform/os/utf8.h"
#include "platform/xml/xml_config.h"

namespace {

struct Case {
  const char* shape;
  int entries;
};
constexpr Case kCases[] = {{"small", 100}, {"medium", 1000}, {"large", 4000}};

constexpr const wchar_t* kList = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD";
constexpr const wchar_t* kEntry = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD.CMD";
constexpr const wchar_t* kName = L"nv_write";
constexpr const wchar_t* kPara = L"7,3,[0x10,0x20,0x30] -r 00:11:22:33:44:55";

QCString At(int position) { return QCString(L"0.0.0.0.0.") + std::to_wstring(position).c_str(); }

// How many characters the entries' texts have together.
std::size_t WriteAndRead(int entries) {
  CXmlConfig config(L"unused", {.openAs = xml_config::OpenAs::kNew});
  config.AddConfigNode(L"HISTORY_CMD", L"SourceData.SESSION.INSTANCE.DEFAULT", L"0.0.0.0", 1);
  for (int i = 0; i < entries; ++i) {
    config.AddConfigNode(L"CMD", kList, L"0.0.0.0.0", 0);
    config.WriteAttrValue(kName, L"NAME", kEntry, At(i));
    config.WriteAttrValue(kPara, L"PARA", kEntry, At(i));
  }
  std::uint32_t count = 0;
  config.GetSubNodeCount(count, kList, L"CMD", L"0.0.0.0.0");
  std::size_t lengthChars = 0;
  QCString text;
  for (std::uint32_t i = 0; i < count; ++i) {
    config.ReadAttrValue(text, L"NAME", kEntry, At(static_cast<int>(i)));
    lengthChars += text.GetLength();
    config.ReadAttrValue(text, L"PARA", kEntry, At(static_cast<int>(i)));
    lengthChars += text.GetLength();
  }
  return lengthChars;
}

std::size_t WriteAndWalk(int entries) {
  pugi::xml_document document;
  pugi::xml_node list = document.append_child("HISTORY_CMD");
  for (int i = 0; i < entries; ++i) {
    pugi::xml_node entry = list.append_child("CMD");
    entry.append_attribute("NAME") = os::WideToUtf8(kName).c_str();
    entry.append_attribute("PARA") = os::WideToUtf8(kPara).c_str();
  }
  std::size_t lengthChars = 0;
  for (const pugi::xml_node entry : list.children("CMD")) {
    lengthChars += os::Utf8ToWide(entry.attribute("NAME").value()).size();
    lengthChars += os::Utf8ToWide(entry.attribute("PARA").value()).size();
  }
  return lengthChars;
}

template <typename Work>
void Measure(const Case& measured, const char* who, Work work) {
  const std::string name = std::string("settings_list/") + measured.shape + "/" + who;
  benchmark::RegisterBenchmark(name.c_str(), [measured, work](benchmark::State& state) {
    bench_rows::Require(WriteAndRead(measured.entries) == WriteAndWalk(measured.entries),
                        "the texts of a list");
    for (auto _ : state) benchmark::DoNotOptimize(work(measured.entries));
  });
}

const bool kRegistered = [] {
  for (const Case& measured : kCases) {
    Measure(measured, bench_rows::kOurs, WriteAndRead);
    Measure(measured, bench_rows::kLimit, WriteAndWalk);
  }
  return true;
}();

}  // namespace
