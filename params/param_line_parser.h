// ParamLineParser: the text grammar of a command's parameters.
//
//   line     = flat | "{" items "}"              flat: no brace anywhere
//   flat     = items
//   items    = item *("," item)                  blanks that touch a comma are dropped
//   item     = *"{" [ value | array ] *"}"
//   array    = "[" [number] *("," [number]) "]" | "$(B<" path ")"
//   number   = [sign] ( "0x" hex | "0" octal | decimal )     32 bits, see StrToUint32
//   "@" path        the whole line comes from a command file ("#" starts a comment there)
//   "$(T<" path ")" is replaced by the content of a text file
//
// The parser does not know the tree: it hands out the next single value or the next array on
// request and tells how deep in braces it stands.
//
// Threads: one object for one thread. Owns its line.
// Errors: every operation answers 1 for success, 0 for failure with the text in GetErrorText();
// position and depth stay as they were at the failure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

// Hands out one value or array after the other; knows nothing of the tree.
class ParamLineParser {
 public:
  // Position of a used-up line; depth of a line without braces.
  static constexpr std::uint32_t kAllOnes = 0xFFFFFFFFu;

  ParamLineParser();
  // Runs SetParamLine at once.
  explicit ParamLineParser(const QCString& line);
  virtual ~ParamLineParser();

  std::uint32_t SetParamLine(const QCString& line);
  // `leftAtDefault` is set when the line has no value here: the node keeps its default. Both are
  // set also on failure.
  std::uint32_t GetNextValue(std::uint32_t* value, bool* leftAtDefault);
  // Writes element by element; empty elements keep what `*buffer` held. Sizes in bytes. On failure
  // the buffer may be partly written.
  std::uint32_t GetNextArray(std::uint8_t** buffer, std::uint32_t elementBytes,
                             std::uint32_t bufferBytes);
  // `*value` is stored also when the conversion fails.
  std::uint32_t StrToUint32(const wchar_t* text, std::uint32_t* value);

  const QCString& GetErrorText() const noexcept { return errorText_; }
  const QCString& GetLine() const noexcept { return line_; }        // preprocessed
  std::uint32_t GetPosition() const noexcept { return position_; }  // index into GetLine()
  std::uint32_t GetDepth() const noexcept { return depth_; }
  std::uint32_t GetIndex() const noexcept { return index_; }  // requests so far

 private:
  static constexpr std::size_t npos = std::wstring_view::npos;

  bool Preprocess();
  bool TracksDepth() const noexcept { return depth_ != kAllOnes; }
  // Moves behind the comma that ended an item, and into the braces of the next.
  void PassComma(std::size_t comma);
  void EnterBraces();
  // Whether the unread rest holds a binary-file reference.
  bool HasBinaryReference();
  bool ReadBinaryReference(std::uint8_t* buffer, std::uint32_t bufferBytes);
  // The brackets of the array that comes next; false when they are not well placed.
  bool FindBrackets(std::size_t* opening, std::size_t* closing) const;
  bool SplitArrayValues(std::wstring_view text, std::uint8_t* buffer, std::uint32_t elementBytes,
                        std::uint32_t bufferBytes);
  // Moves behind an array's closing bracket.
  void PassArray(std::size_t closing);
  bool Convert(std::wstring_view text, std::uint32_t* value);
  bool Fail(const char* text);
  bool FailNumber(std::wstring_view text);

  QCString line_;
  std::uint32_t position_ = 0;
  std::uint32_t depth_ = 0;
  std::uint32_t index_ = 0;
  QCString errorText_;
  std::size_t lastOpeningBrace_ = npos;  // of the whole line: no need to look for one behind it
  std::size_t binaryReference_ =
      npos;  // first "$(B<" behind the position it was last looked for from
};

}  // namespace SvcKivClass
