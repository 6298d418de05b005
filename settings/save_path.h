// The two paths of the settings: where the console saves what it shows, and its plug-in.
//
// Threads: the facade's. Errors: a directory that cannot be made shows when the file is opened.
#pragma once

#include <vector>

#include "settings/setting_field.h"

namespace SvcKivClass {

// SAVE_PATH. Taking makes it absolute, appends ".txt", makes its directory, and then keeps as many
// characters as the document's own text has; an empty text thus gives an empty path. Hosts read
// the whole path from the attribute itself.
void TakeSavePath(SettingsMemory& memory, std::wstring_view stored);
// What a store of the path may write after such a text was taken: the cut path, or the whole one of
// a host that read it. Makes no directory.
std::vector<QCString> StoredSavePaths(std::wstring_view stored);
// Relative to the application directory.
QCString SavePathText(SettingsMemory& memory);
// PLUGIN NAME, made absolute; an empty one changes nothing.
void TakePluginPath(SettingsMemory& memory, std::wstring_view stored);
QCString PluginPathText(SettingsMemory& memory);

inline constexpr SettingField kSavePathField = {&TakeSavePath, &SavePathText, SettingForm::kPath,
                                                SvcKivSpace::kSavePathBufferChars - 1};
inline constexpr SettingField kPluginPathField = {&TakePluginPath, &PluginPathText,
                                                  SettingForm::kPath, 0};

}  // namespace SvcKivClass
