// The five key bindings as a table: their elements, and where they are in memory.
//
// Threads: any; constant.
#pragma once

#include <array>

#include "svckiv/svc_kiv_config.h"

namespace SvcKivClass {

inline constexpr wchar_t kKeyboardElement[] = L"KEYBOARD";
inline constexpr wchar_t kValueAttribute[] = L"VALUE";

// One key.
struct KeyBindingRow {
  const wchar_t* tag;      // below KEYBOARD
  const wchar_t* element;  // below DEFAULT
  SvcKivSpace::KivKeyBinding SvcKivSpace::KivKeyBindings::*binding;
};

enum KeyBindingIndex { kRepeat, kSend, kListHistory, kListRecent, kCancel };

// In the order of the document.
inline constexpr std::array<KeyBindingRow, 5> kKeyBindings = {{
    {L"REPEAT_CMD", L"KEYBOARD.REPEAT_CMD", &SvcKivSpace::KivKeyBindings::repeatCmd},
    {L"SEND_CMD", L"KEYBOARD.SEND_CMD", &SvcKivSpace::KivKeyBindings::sendCmd},
    {L"LIST_HISTORY_CMD", L"KEYBOARD.LIST_HISTORY_CMD",
     &SvcKivSpace::KivKeyBindings::listHistoryCmd},
    {L"LIST_RECENT_CMD", L"KEYBOARD.LIST_RECENT_CMD", &SvcKivSpace::KivKeyBindings::listRecentCmd},
    {L"CANCEL", L"KEYBOARD.CANCEL", &SvcKivSpace::KivKeyBindings::cancel},
}};

}  // namespace SvcKivClass
