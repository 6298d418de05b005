#include "cts/kiv_cts.h"

#include <cwchar>
#include <iterator>

#include "channels/channel_text.h"
#include "channels/packet_class.h"
#include "cts/cts_texts.h"
#include "platform/bounded/bounded.h"
#include "platform/bounded/pool_ptr.h"
#include "platform/os/paths.h"
#include "platform/os/time_thread.h"
#include "platform/text/qt_text.h"
#include "service/message/view_sender.h"

namespace SvcKivClass {
namespace {

// Users find the file beneath their data directory (platform/os/paths.h).
constexpr wchar_t kIniFile[] = L"C:\\Kestrax\\kit_kiv_plc_cts.ini";
constexpr wchar_t kIniSection[] = L"config";
constexpr wchar_t kIniPath[] = L"path";
constexpr wchar_t kIniTitle[] = L"title";

constexpr wchar_t kNoTitle[] = L"na";
constexpr wchar_t kLogHead[] =
    L"Config Init complete.\n=============================================\n\n";

// When a configuration was looked at, in UTC, and by which thread.
QCString TimeStampLine() {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  wchar_t line[80];
  std::swprintf(line, std::size(line), L"\n%04d-%02d-%02d %02d:%02d:%02d.%03d %04d\n",
                static_cast<int>(now.wYear), static_cast<int>(now.wMonth),
                static_cast<int>(now.wDay), static_cast<int>(now.wHour),
                static_cast<int>(now.wMinute), static_cast<int>(now.wSecond),
                static_cast<int>(now.wMilliseconds), static_cast<int>(GetCurrentThreadId()));
  return QCString(line);
}

}  // namespace

std::int32_t KivCts::Init(const ChannelServiceTable& table) {
  TextChannel::Init(table);
  if (Files().configPath.IsEmpty()) LoadConfig();
  return kChannelTaken;
}

void KivCts::LoadConfig() {
  QCString path;
  QCString title;
  ReadIniString(kIniFile, kIniSection, kIniPath, path);
  ReadIniString(kIniFile, kIniSection, kIniTitle, title);
  if (PathFileExistsW(path.c_str()) != 0) SetConfigPath(path.c_str(), title.c_str());
}

std::int32_t KivCts::SetConfigPath(const wchar_t* path, const wchar_t* title) {
  if (path == nullptr) return kChannelNoFile;
  if (PathFileExistsW(path) == 0) {
    PublishFiles({});
    return kChannelNoFile;
  }
  const QCString shownTitle(title == nullptr || *title == L'\0' ? kNoTitle : title);
  PublishFiles({path, QCString(path) + L"\\cts_" + shownTitle + L".log"});
  WriteLog(kLogHead);
  return kChannelTaken;
}

void KivCts::ShowText(const wchar_t* text) {
  const std::size_t lengthChars = text != nullptr ? std::wcslen(text) : 0;
  PoolPtr<wchar_t> copy = PoolAllocate<wchar_t>(lengthChars + 2);
  if (copy != nullptr) {
    if (lengthChars > 0) std::wmemcpy(copy.get(), text, lengthChars);
    copy.get()[lengthChars] = L'\n';
    copy.get()[lengthChars + 1] = L'\0';
    WriteLog(copy.get());
  }
  SendOwned(ViewKind(), copy.release());
}

void KivCts::OutputText(const wchar_t* text) {
  SaveLineToOutputFile(text);
  ShowText(text);
}

void KivCts::OutputWith(const char* sourceText, std::initializer_list<QCString> words) {
  OutputText(TextWith(sourceText, words).c_str());
}

std::int32_t KivCts::HandleCommand(const wchar_t* word, const wchar_t* rest) {
  const QCString name = QCString(word).ToLower();
  QCString argument(rest);
  const std::uint32_t delay = GetDelayOption(argument);
  if (delay != 0) argument = CutAtDelay(argument);
  WriteLog((name + L" " + argument + L" \n").c_str());
  if (name == L"cts") return RunCts(argument.c_str(), delay);
  if (name == L"ctscfg") return CtsConfigCommand(argument.c_str());
  if (name != L"ctsftl") return kChannelNotMine;
  SwitchFilter(argument);
  return kChannelTaken;
}

void KivCts::SwitchFilter(const QCString& rest) {
  if (!rest.IsEmpty()) SetFilter(rest == L"0" ? 0 : 1);
  OutputWith(GetFilter() != 0 ? texts::kFilterOn : texts::kFilterOff, {});
}

std::int32_t KivCts::CtsConfigCommand(const wchar_t* argument) {
  if (argument != nullptr && *argument != L'\0') ChangeConfig(argument);
  const ChannelFiles& files = Files();
  OutputWith(texts::kCurrentConfig, {files.configPath, files.outputFile});
  if (files.configPath.IsEmpty()) OutputWith(texts::kConfigUsage, {});
  WriteLog(TimeStampLine().c_str());
  return kChannelTaken;
}

void KivCts::ChangeConfig(const QCString& argument) {
  QCString path;
  QCString title;
  SplitAtChar(argument, path, title, L' ');
  if (PathFileExistsW(path.c_str()) == 0) {
    OutputWith(texts::kConfigPathMissing, {path});
    return;
  }
  SetConfigPath(path.c_str(), title.c_str());
  WriteIniString(kIniFile, kIniSection, kIniPath, path.c_str());
  WriteIniString(kIniFile, kIniSection, kIniTitle, title.c_str());
}

std::int32_t KivCts::HandleResponse(std::uint32_t cmdId, const void* /*ignored*/,
                                    const std::uint8_t* data, std::uint32_t lengthBytes) {
  switch (cmdId) {
    case kTestRequestId:
      ShowText(Translated(texts::kSentToUe).c_str());
      return kChannelTaken;
    case kTestTextId:
      ShowPayloadText(data, lengthBytes);
      return kChannelTaken;
    default:
      return AnswerOther();
  }
}

void KivCts::ShowPayloadText(const std::uint8_t* data, std::uint32_t lengthBytes) {
  const std::size_t sizeBytes = std::size_t{lengthBytes} + 1;
  const auto text = PoolAllocate<char>(sizeBytes);
  if (text == nullptr) return;
  if (lengthBytes > 0 && bounded::memcpy_s(text.get(), sizeBytes, data, lengthBytes) != 0) return;
  text.get()[lengthBytes] = '\0';
  ShowText(QCString::AnsiToUnicode(text.get()).c_str());
}

}  // namespace SvcKivClass
