#include "platform/catalogue/catalogue_model.h"

#include <algorithm>
#include <array>

namespace catalogue {
namespace {

struct ScalarTraits {
  std::string_view name;
  std::uint32_t widthBytes;
  bool isSigned;
};

constexpr std::array<ScalarTraits, kScalarCount> kScalars{{{"u8", 1, false},
                                                           {"u16", 2, false},
                                                           {"u32", 4, false},
                                                           {"u64", 8, false},
                                                           {"i8", 1, true},
                                                           {"i16", 2, true},
                                                           {"i32", 4, true},
                                                           {"i64", 8, true},
                                                           {"char", 1, false}}};

const ScalarTraits& TraitsOf(Scalar scalar) noexcept {
  return kScalars[static_cast<std::size_t>(scalar) % kScalarCount];
}

std::uint64_t RoundUp(std::uint64_t value, std::uint32_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

// Sets element size and alignment of a field from what it refers to.
void MeasureElement(const Model& model, Field& field) {
  if (field.kind == FieldKind::kStructure) {
    const Structure& inner = model.structures[field.reference];
    field.elementBytes = inner.sizeBytes;
    field.alignmentBytes = inner.alignmentBytes;
  } else {
    field.elementBytes = WidthBytes(field.scalar);
    field.alignmentBytes = field.elementBytes;
  }
}

// Adds what a field means for the value tree.
void CountNodes(const Model& model, const Field& field, std::uint64_t& nodes,
                std::uint32_t& nesting) {
  if (field.kind != FieldKind::kStructure) {
    ++nodes;
    return;
  }
  const Structure& inner = model.structures[field.reference];
  nesting = std::max(nesting, inner.nesting + 1);
  nodes += std::uint64_t{inner.nodeCount} * field.count + (field.isArray ? 1 : 0);
}

constexpr std::uint64_t kFnvBasis = 0xcbf29ce484222325u;
constexpr std::uint64_t kFnvPrime = 0x100000001b3u;

std::uint64_t Hash(std::string_view text) {
  std::uint64_t hash = kFnvBasis;
  for (const char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= kFnvPrime;
  }
  return hash;
}

std::string HexText(std::uint64_t value) {
  std::string digits;
  do {
    digits.insert(digits.begin(), "0123456789abcdef"[value % 16]);
    value /= 16;
  } while (value != 0);
  return digits;
}

// The texts that fingerprints are made of, one a structure. A structure refers to earlier ones
// only, so each is made once from those before it. Nested texts are folded to their hash: a text
// that repeated them in full would grow without bound.
class FingerprintTexts {
 public:
  explicit FingerprintTexts(const Model& model) {
    texts_.reserve(model.structures.size());
    for (const Structure& structure : model.structures) texts_.push_back(TextOf(structure));
  }

  std::string OfCommand(const Command& command) const {
    return HexText(command.id) + " " + command.name + " req " + Body(command.request) + " cnf " +
           Body(command.confirmation) + " ind " + Body(command.indication);
  }

 private:
  std::string TextOf(const Structure& structure) const {
    std::string text = structure.name + ":" + std::to_string(structure.sizeBytes) + "{";
    for (const Field& field : structure.fields) {
      text += field.name + "@" + std::to_string(field.offsetBytes) + "=";
      text += field.kind == FieldKind::kStructure ? FingerprintText(Hash(texts_[field.reference]))
                                                  : std::string(ScalarName(field.scalar));
      if (field.isArray) text += "[" + std::to_string(field.count) + "]";
      if (field.lengthOf != Field::kNoField) text += "#" + structure.fields[field.lengthOf].name;
      text += ";";
    }
    return text + "}";
  }

  std::string Body(std::int32_t structure) const {
    if (structure == Command::kNoStructure) return "-";
    return texts_[static_cast<std::size_t>(structure)];
  }

  std::vector<std::string> texts_;
};

}  // namespace

std::uint32_t WidthBytes(Scalar scalar) noexcept { return TraitsOf(scalar).widthBytes; }
bool IsSigned(Scalar scalar) noexcept { return TraitsOf(scalar).isSigned; }
std::string_view ScalarName(Scalar scalar) noexcept { return TraitsOf(scalar).name; }

bool IsTextStructure(std::string_view name) noexcept {
  return name == "dbk_str_type" || name == "dbk_str_type_stru";
}

std::string FingerprintText(std::uint64_t fingerprint) {
  const std::string digits = HexText(fingerprint);
  return std::string(16 - digits.size(), '0') + digits;
}

std::string LayOut(Model& model, std::uint32_t index) {
  Structure& structure = model.structures[index];
  std::uint64_t offset = 0;
  std::uint64_t nodes = 1;
  structure.alignmentBytes = 1;
  structure.nesting = 1;
  if (structure.fields.size() > kMaxFields) return "has more than 4096 fields";
  for (Field& field : structure.fields) {
    MeasureElement(model, field);
    if (structure.natural) {
      offset = RoundUp(offset, field.alignmentBytes);
      structure.alignmentBytes = std::max(structure.alignmentBytes, field.alignmentBytes);
    }
    field.offsetBytes = static_cast<std::uint32_t>(offset);
    offset += field.SizeBytes();
    if (offset > kMaxStructureBytes) return "is longer than 16777216 bytes";
    CountNodes(model, field, nodes, structure.nesting);
    if (nodes > kMaxNodes) return "has more than 65536 nodes";
  }
  if (structure.nesting > kMaxNesting) return "is nested more than 32 deep";
  structure.sizeBytes = static_cast<std::uint32_t>(RoundUp(offset, structure.alignmentBytes));
  if (structure.sizeBytes > kMaxStructureBytes) return "is longer than 16777216 bytes";
  structure.nodeCount = static_cast<std::uint32_t>(nodes);
  model.totalBytes += structure.sizeBytes;
  if (model.totalBytes > kMaxTotalBytes) return "makes all types together longer than 128 MiB";
  return {};
}

std::string SetLengthOf(Structure& structure, std::uint32_t length, std::uint32_t array) {
  Field& carrier = structure.fields[length];
  Field& carried = structure.fields[array];
  const bool isUnsigned = carrier.scalar != Scalar::kChar && !IsSigned(carrier.scalar);
  if (carrier.kind != FieldKind::kScalar || carrier.isArray || !isUnsigned) {
    return "the length of an array must be one of u8 u16 u32 u64, and no array";
  }
  if (carried.kind != FieldKind::kScalar || !carried.isArray || WidthBytes(carried.scalar) != 1) {
    return "\"" + carried.name + "\" is no array of u8, i8 or char";
  }
  const std::uint32_t bits = 8 * WidthBytes(carrier.scalar);
  if (carried.count > ~std::uint64_t{0} >> (64 - bits)) {
    return std::string(ScalarName(carrier.scalar)) + " is too narrow for the " +
           std::to_string(carried.count) + " bytes of \"" + carried.name + "\"";
  }
  if (carried.lengthIn != Field::kNoField) {
    return "\"" + structure.fields[carried.lengthIn].name + "\" carries the length of \"" +
           carried.name + "\" already";
  }
  carrier.lengthOf = array;
  carried.lengthIn = length;
  return {};
}

bool HasLengths(const Model& model) noexcept {
  return std::any_of(model.structures.begin(), model.structures.end(), [](const Structure& one) {
    return std::any_of(one.fields.begin(), one.fields.end(),
                       [](const Field& field) { return field.lengthOf != Field::kNoField; });
  });
}

void Seal(Model& model) {
  std::stable_sort(model.commands.begin(), model.commands.end(),
                   [](const Command& a, const Command& b) { return a.id < b.id; });
  const FingerprintTexts texts(model);
  std::string whole;
  for (Command& command : model.commands) {
    command.fingerprint = Hash(texts.OfCommand(command));
    whole += FingerprintText(command.fingerprint) + "\n";
  }
  model.fingerprint = Hash(whole);
}

}  // namespace catalogue
