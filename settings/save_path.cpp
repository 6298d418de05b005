#include "settings/save_path.h"

#include "platform/base/app_prefs.h"
#include "platform/text/file_path.h"

namespace SvcKivClass {
namespace {

constexpr wchar_t kDefaultFile[] = L"\\kiv.txt";
constexpr wchar_t kSuffix[] = L".txt";
constexpr std::int32_t kDirectoryOfFile = 1;

QCString Absolute(std::wstring_view stored) {
  return GetAppPrefs().RelativeFile2AbsoluteFile(QCString(stored), CFilePath::GetAppPath());
}

}  // namespace

void TakeSavePath(SettingsMemory& memory, std::wstring_view stored) {
  QCString path = stored.empty() ? GetAppPrefs().GetDirectory() + kDefaultFile : Absolute(stored);
  MakeDir(path, kDirectoryOfFile);
  if (!path.EndsWith(kSuffix)) path += kSuffix;
  // The count of the stored text, not of the path: settings files in use were cut by it.
  setting_field::Take(memory.settings.savePath, path.view().substr(0, stored.size()));
}

QCString SavePathText(SettingsMemory& memory) {
  return GetAppPrefs().AbsoluteFile2RelativeFile(setting_field::Text(memory.settings.savePath),
                                                 CFilePath::GetAppPath());
}

void TakePluginPath(SettingsMemory& memory, std::wstring_view stored) {
  if (!stored.empty()) memory.settings.pluginPath = Absolute(stored);
}

QCString PluginPathText(SettingsMemory& memory) { return memory.settings.pluginPath; }

}  // namespace SvcKivClass
