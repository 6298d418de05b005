// ParameterShape: the fields that a command's parameter line gives, in the order in which it gives
// them, each with its path, type, default, range and names, and its texts where a catalogue
// describes them.
//
// Threads: immutable once made, so any. Owns its texts.
// Errors: ReadShape answers a status of result_codes.h; making one throws std::bad_alloc only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/param_node.h"
#include "platform/text/qc_string.h"

namespace hostbench {

// A value of an enumeration. The parser takes numbers only: the name is for people.
struct Choice {
  std::wstring typed;  // the number as it is typed
  std::wstring name;
  std::wstring text;
};

// One value or one array.
struct ParameterField {
  std::wstring path;  // "a.b[2].c"; an array's elements are path + "[i]"
  std::wstring type;  // "u8", or an enumeration's name
  std::wstring text;  // from the catalogue, empty where it has none
  std::shared_ptr<const std::vector<Choice>> choices;  // null: no enumeration
  std::uint32_t depth = 0;                             // braces around it in a line that has braces
  std::uint32_t sharedDepth = 0;  // of them those that stay open from the field before
  std::uint32_t count = 0;        // elements of an array; 0: a single value
  std::uint32_t elementBytes = 0;
  std::uint32_t offsetBytes = 0;  // in the body
  bool isSigned = false;
  bool isChar = false;

  bool IsArray() const noexcept { return count != 0; }
};

// Two numbers as they are typed.
struct TypedRange {
  std::wstring lowest;
  std::wstring highest;
};

// What can be typed so that the field holds it. Beyond it the module keeps the low bytes and says
// nothing. 8 bytes take the 32 bits that a typed number has.
TypedRange RangeOf(const ParameterField& field);

// All fields of one command.
class ParameterShape {
 public:
  ParameterShape() = default;
  // Of a tree that has its defaults; `model` describes it (null: names and types alone), its
  // structure `structure` is the root.
  explicit ParameterShape(CParamNode& defaults, const catalogue::Model* model = nullptr,
                          std::uint32_t structure = 0);

  const std::vector<ParameterField>& Fields() const noexcept { return fields_; }
  const std::vector<std::uint8_t>& DefaultBody() const noexcept { return body_; }
  const std::wstring& TypeName() const noexcept { return typeName_; }
  const std::wstring& Text() const noexcept { return text_; }
  // Braces that are open behind the last field.
  std::uint32_t LastDepth() const noexcept { return fields_.empty() ? 0 : fields_.back().depth; }

  // A single value's default, or an array element's, as a decimal number of its own sign.
  std::wstring DefaultOf(const ParameterField& field, std::uint32_t element = 0) const;
  // The same as it can be typed; empty for what 32 bits do not reach: left empty it stays.
  std::wstring TypedDefaultOf(const ParameterField& field, std::uint32_t element = 0) const;
  // Of characters: what they read, up to the first zero.
  std::wstring DefaultText(const ParameterField& field) const;
  // The line that gives every field its default, in braces; empty for no fields.
  std::wstring DefaultLine() const;

 private:
  std::uint64_t DefaultBits(const ParameterField& field, std::uint32_t element) const;

  std::vector<ParameterField> fields_;
  std::vector<std::uint8_t> body_;
  std::wstring typeName_;
  std::wstring text_;
};

// The brackets and braces between two fields that stand next to each other in a line with braces:
// what closes behind the first, what opens in front of the second.
std::uint32_t ClosingsBetween(const ParameterField& first, const ParameterField& second) noexcept;
std::uint32_t OpeningsBetween(const ParameterField& first, const ParameterField& second) noexcept;

}  // namespace hostbench
