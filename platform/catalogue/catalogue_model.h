// The catalogue as a description: enumerations, structures and commands as a source says them, with
// the layout worked out. The catalogue compiler fills it, the file writer and reader carry it to
// disk and back; a running console does not need it (it steps the file and reads single layouts).
//
// Threads: plain values. Owns everything it names. Texts are UTF-8.
// Errors: LayOut answers a reason; everything else cannot fail.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform_export.h"

namespace catalogue {

// The bounds of docs/catalogue-format.md. They hold for compiled files too, so that a damaged one
// cannot ask for more memory than an honest one.
inline constexpr std::uint32_t kMaxStructureBytes = 16u * 1024 * 1024;
inline constexpr std::uint64_t kMaxTotalBytes = 128u * 1024 * 1024;  // of all structures
inline constexpr std::uint32_t kMaxFields = 4096;
inline constexpr std::uint32_t kMaxNesting = 32;
inline constexpr std::uint32_t kMaxNodes = 65536;
inline constexpr std::uint32_t kMaxIdentifierChars = 64;
inline constexpr std::uint32_t kMaxCommandNameChars = 80;

enum class Scalar : std::uint8_t { kU8, kU16, kU32, kU64, kI8, kI16, kI32, kI64, kChar };
inline constexpr std::uint32_t kScalarCount = 9;

KIVPLATFORM_API std::uint32_t WidthBytes(Scalar scalar) noexcept;
KIVPLATFORM_API bool IsSigned(Scalar scalar) noexcept;
// As sources spell it: "u8" ... "i64", "char".
KIVPLATFORM_API std::string_view ScalarName(Scalar scalar) noexcept;

// One name of an enumeration.
struct EnumerationValue {
  std::string name;
  std::uint64_t value = 0;  // two's complement, sign-extended to 64 bits
  std::string text;
};

// A scalar whose values have names for the consoles.
struct Enumeration {
  std::string name;
  Scalar base = Scalar::kU8;
  std::string text;
  std::vector<EnumerationValue> values;
};

// What a field's elements are.
enum class FieldKind : std::uint8_t { kScalar, kEnumeration, kStructure };

// One member of a structure, as the source describes it.
struct Field {
  static constexpr std::uint32_t kNoField = 0xFFFFFFFFu;

  std::string name;
  std::string text;
  FieldKind kind = FieldKind::kScalar;
  Scalar scalar = Scalar::kU8;  // also an enumeration's base
  std::uint32_t reference = 0;  // index of the enumeration or structure
  bool isArray = false;
  std::uint32_t count = 1;
  // Both are indices of fields of the same structure, set by SetLengthOf.
  std::uint32_t lengthOf = kNoField;  // the array of which this one carries the used bytes
  std::uint32_t lengthIn = kNoField;  // of an array: the field that carries them
  std::uint32_t offsetBytes = 0;      // in the structure; set by LayOut, as the next two
  std::uint32_t elementBytes = 0;
  std::uint32_t alignmentBytes = 1;

  std::uint64_t SizeBytes() const noexcept { return std::uint64_t{elementBytes} * count; }
};

// A type with members, packed or with the gaps that a C compiler leaves.
struct Structure {
  std::string name;
  std::string text;
  bool natural = false;
  std::vector<Field> fields;
  std::uint32_t sizeBytes = 0;
  std::uint32_t alignmentBytes = 1;
  std::uint32_t nodeCount = 1;  // of a value tree, the structure's own node included
  std::uint32_t nesting = 1;    // 1: no structures within
  std::string defaults;         // sizeBytes bytes
};

enum class Combined : std::uint8_t { kAny, kNone, kListed };

// One command and the structures of its packets.
struct Command {
  static constexpr std::int32_t kNoStructure = -1;

  std::uint32_t id = 0;
  std::string name;
  std::string text;
  std::string group;
  std::int32_t request = kNoStructure;  // index of the structure
  std::int32_t confirmation = kNoStructure;
  std::int32_t indication = kNoStructure;
  bool listed = true;
  Combined combined = Combined::kAny;
  std::vector<std::string> combinedTexts;
  std::uint64_t fingerprint = 0;

  // Whether it can be sent: one with neither request nor confirmation is an indication only.
  bool IsSendable() const noexcept {
    return request != kNoStructure || confirmation != kNoStructure;
  }
};

// A whole catalogue as its source describes it.
struct Model {
  std::string name;
  std::string text;
  std::vector<Enumeration> enumerations;
  std::vector<Structure> structures;  // a structure's fields refer to earlier ones only
  std::vector<Command> commands;      // after Seal: ascending ids, equal ids in order of the source
  std::vector<std::string> hostWords;
  std::uint64_t fingerprint = 0;
  std::uint64_t totalBytes = 0;  // of the structures laid out
};

// Places the fields of the structure `index` (those before it are laid out already) and sets its
// size, alignment, node count and nesting. Answers the reason when a bound is exceeded, else an
// empty text. The defaults are left alone.
KIVPLATFORM_API std::string LayOut(Model& model, std::uint32_t index);

// Makes the field `length` of the structure the one that carries how many bytes of its array
// `array` are used. Answers the reason when they cannot be such a pair, else an empty text; the
// structure is then unchanged. Both are indices of its fields.
KIVPLATFORM_API std::string SetLengthOf(Structure& structure, std::uint32_t length,
                                        std::uint32_t array);
// Whether a field of the structures carries the length of another: such a catalogue needs a newer
// format of the compiled file.
KIVPLATFORM_API bool HasLengths(const Model& model) noexcept;

// Puts the commands in order and works out all fingerprints.
KIVPLATFORM_API void Seal(Model& model);

// Whether a structure of this name is a text that is sent as typed ("dbk_str_type",
// "dbk_str_type_stru").
KIVPLATFORM_API bool IsTextStructure(std::string_view name) noexcept;

// 16 lower-case hexadecimal digits.
KIVPLATFORM_API std::string FingerprintText(std::uint64_t fingerprint);

}  // namespace catalogue
