#include "hosts/bench/terminal_key.h"

#include <QtCore/qnamespace.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace hostbench {
namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kModifierBits = Qt::SHIFT | Qt::CTRL | Qt::ALT | Qt::META;
constexpr char kEscape[] = "\x1b";

// A key that has a sequence of its own. Sequences end with the letter, or with ~ behind a number.
struct SequenceKey {
  std::uint32_t code;
  char letter;              // 0: none
  std::uint8_t numbers[2];  // 0: none
  const char* more = "";    // one more sequence, behind Esc; without modifiers alone
};

constexpr SequenceKey kSequenceKeys[] = {
    {Qt::Key_Up, 'A', {}},
    {Qt::Key_Down, 'B', {}},
    {Qt::Key_Right, 'C', {}},
    {Qt::Key_Left, 'D', {}},
    {Qt::Key_Home, 'H', {1, 7}},
    {Qt::Key_End, 'F', {4, 8}},
    {Qt::Key_Insert, 0, {2}},
    {Qt::Key_Delete, 0, {3}},
    {Qt::Key_PageUp, 0, {5}},
    {Qt::Key_PageDown, 0, {6}},
    // The last ones are those of the system's own console.
    {Qt::Key_F1, 'P', {11}, "[[A"},
    {Qt::Key_F2, 'Q', {12}, "[[B"},
    {Qt::Key_F3, 'R', {13}, "[[C"},
    {Qt::Key_F4, 'S', {14}, "[[D"},
    {Qt::Key_F5, 0, {15}, "[[E"},
    {Qt::Key_F6, 0, {17}},
    {Qt::Key_F7, 0, {18}},
    {Qt::Key_F8, 0, {19}},
    {Qt::Key_F9, 0, {20}},
    {Qt::Key_F10, 0, {21}},
    {Qt::Key_F11, 0, {23}},
    {Qt::Key_F12, 0, {24}},
};

// A key that is one byte, also behind the Esc that stands for Alt.
struct ByteKey {
  std::uint32_t code;
  char byte;
};

constexpr ByteKey kByteKeys[] = {
    {Qt::Key_Return, '\r'},
    {Qt::Key_Escape, '\x1b'},
    {Qt::Key_Tab, '\t'},
    {Qt::Key_Backspace, '\x7f'},
};

// With Ctrl: what is another key's byte (tab, the two line ends, Esc), and what the terminal or the
// system keeps.
constexpr std::string_view kNotWithCtrl = "IJM[CZ\\SQ@"sv;
// Behind Esc these two begin the sequences of keys.
constexpr std::string_view kNotWithAlt = "[O"sv;

// As terminals number them behind the sequence's first figure.
int ModifierNumber(std::uint32_t modifiers) {
  return 1 + ((modifiers & Qt::SHIFT) != 0 ? 1 : 0) + ((modifiers & Qt::ALT) != 0 ? 2 : 0) +
         ((modifiers & Qt::CTRL) != 0 ? 4 : 0);
}

std::vector<std::string> OfSequenceKey(const SequenceKey& key, std::uint32_t modifiers) {
  const std::string csi = std::string(kEscape) + "[";
  const std::string with = ";" + std::to_string(ModifierNumber(modifiers));
  std::vector<std::string> sequences;
  if (key.letter != 0 && modifiers == 0) {
    sequences.push_back(std::string(kEscape) + "O" + key.letter);
    sequences.push_back(csi + key.letter);
  } else if (key.letter != 0) {
    sequences.push_back(csi + "1" + with + key.letter);
  }
  for (const std::uint8_t number : key.numbers) {
    if (number == 0) continue;
    sequences.push_back(csi + std::to_string(number) + (modifiers != 0 ? with : "") + "~");
  }
  if (*key.more != '\0' && modifiers == 0) sequences.push_back(kEscape + std::string(key.more));
  return sequences;
}

// Letters, digits and signs; Ctrl leaves the lower five bits of those behind the digits.
std::string OfCharacter(char character, std::uint32_t modifiers) {
  const bool isLetter = character >= 'A' && character <= 'Z';
  const bool isShifted = (modifiers & Qt::SHIFT) != 0;
  const bool isAlt = (modifiers & Qt::ALT) != 0;
  if ((modifiers & Qt::CTRL) != 0) {
    if (character < '@' || character > '_' || isShifted) return {};
    if (kNotWithCtrl.find(character) != kNotWithCtrl.npos) return {};
    return (isAlt ? kEscape : "") + std::string(1, static_cast<char>(character & 0x1F));
  }
  if (!isAlt || (isShifted && !isLetter)) return {};
  const char typed = isLetter && !isShifted ? static_cast<char>(character + 0x20) : character;
  if (kNotWithAlt.find(typed) != kNotWithAlt.npos) return {};
  return std::string(kEscape) + typed;
}

}  // namespace

std::vector<std::string> TerminalSequencesOf(std::int32_t keyCode) {
  const auto bits = static_cast<std::uint32_t>(keyCode);
  const std::uint32_t modifiers = bits & kModifierBits;
  const std::uint32_t code = bits & ~kModifierBits;
  if ((modifiers & Qt::META) != 0) return {};
  const auto hasCode = [code](const auto& row) { return row.code == code; };
  const auto* const sequence =
      std::find_if(std::begin(kSequenceKeys), std::end(kSequenceKeys), hasCode);
  if (sequence != std::end(kSequenceKeys)) return OfSequenceKey(*sequence, modifiers);
  if (code == Qt::Key_Tab && modifiers == Qt::SHIFT) return {std::string(kEscape) + "[Z"};
  const auto* const byte = std::find_if(std::begin(kByteKeys), std::end(kByteKeys), hasCode);
  if (byte != std::end(kByteKeys)) {
    if (modifiers == 0) return {std::string(1, byte->byte)};
    if (modifiers == Qt::ALT) return {kEscape + std::string(1, byte->byte)};
    return {};
  }
  if (code <= 0x20 || code >= 0x7F) return {};
  const std::string typed = OfCharacter(static_cast<char>(code), modifiers);
  return typed.empty() ? std::vector<std::string>() : std::vector<std::string>{typed};
}

}  // namespace hostbench
