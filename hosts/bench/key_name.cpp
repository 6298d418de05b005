#include "hosts/bench/key_name.h"

#include <QtCore/qnamespace.h>

#include <algorithm>
#include <iterator>

namespace hostbench {
namespace {

struct Name {
  std::wstring_view text;
  std::uint32_t code;
};

constexpr Name kModifiers[] = {
    {L"CTRL", Qt::CTRL},
    {L"ALT", Qt::ALT},
    {L"SHIFT", Qt::SHIFT},
    {L"META", Qt::META},
};

// ENTER is the large one: files have that code for it.
constexpr Name kKeys[] = {
    {L"ENTER", Qt::Key_Return}, {L"ESC", Qt::Key_Escape},          {L"TAB", Qt::Key_Tab},
    {L"SPACE", Qt::Key_Space},  {L"BACKSPACE", Qt::Key_Backspace}, {L"INS", Qt::Key_Insert},
    {L"DEL", Qt::Key_Delete},   {L"HOME", Qt::Key_Home},           {L"END", Qt::Key_End},
    {L"PGUP", Qt::Key_PageUp},  {L"PGDOWN", Qt::Key_PageDown},     {L"UP", Qt::Key_Up},
    {L"DOWN", Qt::Key_Down},    {L"LEFT", Qt::Key_Left},           {L"RIGHT", Qt::Key_Right},
    {L"PAUSE", Qt::Key_Pause},
};

constexpr std::uint32_t kFunctionKeys = 35;
constexpr std::uint32_t kModifierBits = Qt::CTRL | Qt::ALT | Qt::SHIFT | Qt::META;

std::wstring Upper(std::wstring_view text) {
  std::wstring upper(text);
  for (wchar_t& ch : upper) {
    if (ch >= L'a' && ch <= L'z') ch = static_cast<wchar_t>(ch - (L'a' - L'A'));
  }
  return upper;
}

// F1 to F35, without a zero in front.
std::optional<std::uint32_t> FunctionKey(std::wstring_view name) {
  if (name.size() < 2 || name.size() > 3 || name[0] != L'F' || name[1] == L'0') return {};
  std::uint32_t number = 0;
  for (const wchar_t ch : name.substr(1)) {
    if (ch < L'0' || ch > L'9') return {};
    number = number * 10 + static_cast<std::uint32_t>(ch - L'0');
  }
  if (number > kFunctionKeys) return {};
  return Qt::Key_F1 + number - 1;
}

// Qt's codes of these keys are their characters, letters in upper case.
bool IsCharacterKey(std::uint32_t code) {
  return code > 0x20 && code < 0x7F && !(code >= 'a' && code <= 'z');
}

std::optional<std::uint32_t> PlainKey(std::wstring_view name) {
  if (name.size() == 1 && IsCharacterKey(static_cast<std::uint32_t>(name[0]))) {
    return static_cast<std::uint32_t>(name[0]);
  }
  const Name* const key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                       [name](const Name& row) { return row.text == name; });
  if (key != std::end(kKeys)) return key->code;
  return FunctionKey(name);
}

std::wstring PlainName(std::uint32_t code) {
  if (IsCharacterKey(code)) return std::wstring(1, static_cast<wchar_t>(code));
  if (code >= Qt::Key_F1 && code < Qt::Key_F1 + kFunctionKeys) {
    return L"F" + std::to_wstring(code - Qt::Key_F1 + 1);
  }
  const Name* const key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                       [code](const Name& row) { return row.code == code; });
  return key == std::end(kKeys) ? std::wstring() : std::wstring(key->text);
}

}  // namespace

std::optional<std::int32_t> KeyCodeOf(std::wstring_view name) {
  const std::wstring upper = Upper(name);
  std::wstring_view rest = upper;
  std::uint32_t bits = 0;
  // The plus sign that is the key itself has nothing behind it.
  for (std::size_t plus; (plus = rest.find(L'+')) != rest.npos && plus + 1 < rest.size();) {
    const std::wstring_view word = rest.substr(0, plus);
    const Name* const modifier = std::find_if(std::begin(kModifiers), std::end(kModifiers),
                                              [word](const Name& row) { return row.text == word; });
    if (modifier == std::end(kModifiers) || (bits & modifier->code) != 0) return {};
    bits |= modifier->code;
    rest.remove_prefix(plus + 1);
  }
  const std::optional<std::uint32_t> key = PlainKey(rest);
  if (!key) return {};
  return static_cast<std::int32_t>(bits | *key);
}

std::wstring KeyNameOf(std::int32_t code) {
  const auto bits = static_cast<std::uint32_t>(code);
  const std::wstring key = PlainName(bits & ~kModifierBits);
  if (key.empty()) return {};
  std::wstring name;
  for (const Name& modifier : kModifiers) {
    if ((bits & modifier.code) != 0) name.append(modifier.text).append(L"+");
  }
  return name + key;
}

std::vector<std::wstring> NamedKeys() {
  std::vector<std::wstring> names;
  for (const Name& key : kKeys) names.emplace_back(key.text);
  for (std::uint32_t i = 0; i < kFunctionKeys; ++i) names.push_back(PlainName(Qt::Key_F1 + i));
  return names;
}

}  // namespace hostbench
