// Names of keys as the settings have them: upper case, modifiers in front ("ENTER", "ESC", "F2",
// "CTRL+R", "CTRL+SHIFT+F5"), for Qt's key codes with their modifier bits.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hostbench {

// In any case, modifiers in any order; unset where there is no such key, or a modifier twice.
std::optional<std::int32_t> KeyCodeOf(std::wstring_view name);
// Modifiers in the order CTRL, ALT, SHIFT, META; empty for a code that has no name here.
std::wstring KeyNameOf(std::int32_t code);

// The keys that are named by words, for those who list what may be typed. Beside them each
// printable ASCII character names its own key.
std::vector<std::wstring> NamedKeys();

}  // namespace hostbench
