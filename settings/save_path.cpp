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

QCString Relative(const QCString& path) {
  return GetAppPrefs().AbsoluteFile2RelativeFile(path, CFilePath::GetAppPath());
}

QCString WholePath(std::wstring_view stored) {
  return stored.empty() ? GetAppPrefs().GetDirectory() + kDefaultFile : Absolute(stored);
}

// The count of the stored text, not of the path: settings files in use were cut by it.
void Hold(SettingsMemory& memory, QCString path, std::wstring_view stored) {
  if (!path.EndsWith(kSuffix)) path += kSuffix;
  setting_field::Take(memory.settings.savePath, path.view().substr(0, stored.size()));
}

}  // namespace

void TakeSavePath(SettingsMemory& memory, std::wstring_view stored) {
  const QCString path = WholePath(stored);
  MakeDir(path, kDirectoryOfFile);
  Hold(memory, path, stored);
}

std::vector<QCString> StoredSavePaths(std::wstring_view stored) {
  LiveSwitches switches;
  SettingsMemory memory{switches};
  Hold(memory, WholePath(stored), stored);
  std::vector<QCString> paths = {SavePathText(memory)};
  if (!stored.empty()) paths.push_back(Relative(Absolute(stored)));
  return paths;
}

QCString SavePathText(SettingsMemory& memory) {
  return Relative(setting_field::Text(memory.settings.savePath));
}

void TakePluginPath(SettingsMemory& memory, std::wstring_view stored) {
  if (!stored.empty()) memory.settings.pluginPath = Absolute(stored);
}

QCString PluginPathText(SettingsMemory& memory) { return memory.settings.pluginPath; }

}  // namespace SvcKivClass
