// The table of settings: every attribute of the document but those of lists and ids, one row each.
// Readers, writers, the starting document and docs/settings.md walk it; nothing else knows what a
// setting is called.
//
// Threads: any; constant. Errors: none.
#pragma once

#include <span>

#include "settings/setting_field.h"

namespace SvcKivClass {

// The one attribute that is also read by itself.
inline constexpr wchar_t kPopularElement[] = L"POPULAR";
inline constexpr wchar_t kNvLoadFileMaxSizeAttribute[] = L"NV_LOAD_FILE_MAX_SIZE";

// When a row's attribute is touched.
enum class SettingUse {
  kReadAndWritten,
  kReadOnly,       // the user edits the file
  kReadUnchecked,  // read only, and a missing attribute takes the text that was read before it
  kWrittenOnly,    // the place in the order of writing of an attribute that is read elsewhere
};

// One attribute.
struct SettingRow {
  SettingField field;
  const wchar_t* element;  // tag path below DEFAULT
  const wchar_t* attribute;
  SettingUse use;
  const wchar_t* initial;  // in the starting document; null: not there
  const char* meaning;     // one line for docs/settings.md
};

// The groups, each in the order of its reading and writing.
std::span<const SettingRow> PopularRows();
std::span<const SettingRow> ColourRows();
std::span<const SettingRow> SaveRows();
std::span<const SettingRow> AutoIntellisenseRows();
std::span<const SettingRow> ClearScreenRows();
std::span<const SettingRow> KeyboardRows();

// All groups, in the order in which everything is written.
std::span<const std::span<const SettingRow>> AllSettingRows();

}  // namespace SvcKivClass
