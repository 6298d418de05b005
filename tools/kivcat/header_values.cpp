#include "tools/kivcat/header_values.h"

#include <algorithm>

namespace kivcat {
namespace {

using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Scalar;

bool IsPlainText(const char* bytes, std::size_t length) {
  return std::all_of(bytes, bytes + length, [](char c) {
    return c >= ' ' && c <= '~' && c != '"' && c != '\\' && c != '?';
  });
}

// A text up to its zeros, when C can take it as a literal with room for the terminator.
bool TextLiteral(const Field& field, const char* bytes, std::string& literal) {
  std::size_t length = field.count;
  while (length > 0 && bytes[length - 1] == '\0') --length;
  if (length == 0 || length == field.count || !IsPlainText(bytes, length)) return false;
  literal = "\"" + std::string(bytes, length) + "\"";
  return true;
}

std::string ElementInitialiser(const catalogue::Model& model, const Field& field,
                               const char* bytes) {
  if (field.kind == FieldKind::kStructure) {
    return StructureInitialiser(model, model.structures[field.reference], bytes);
  }
  return ScalarConstant(field.scalar, LoadScalar(field.scalar, bytes));
}

}  // namespace

std::string FieldInitialiser(const catalogue::Model& model, const Field& field, const char* bytes) {
  if (!field.isArray) return ElementInitialiser(model, field, bytes);
  std::string text;
  if (field.kind == FieldKind::kScalar && field.scalar == Scalar::kChar &&
      TextLiteral(field, bytes, text)) {
    return text;
  }
  // Zeros at the end come by themselves.
  std::size_t used = field.SizeBytes();
  while (used > 0 && bytes[used - 1] == '\0') --used;
  const std::size_t elements =
      std::max<std::size_t>(1, (used + field.elementBytes - 1) / field.elementBytes);
  for (std::size_t i = 0; i < elements; ++i) {
    text +=
        (i == 0 ? "{" : ", ") + ElementInitialiser(model, field, bytes + i * field.elementBytes);
  }
  return text + "}";
}

std::string HexText(std::uint64_t value) {
  std::string digits;
  for (; value != 0 || digits.empty(); value /= 16) {
    digits.insert(digits.begin(), "0123456789abcdef"[value % 16]);
  }
  return "0x" + digits;
}

std::uint64_t LoadScalar(Scalar scalar, const char* bytes) {
  const std::uint32_t width = catalogue::WidthBytes(scalar);
  std::uint64_t value = 0;
  for (std::uint32_t i = 0; i < width; ++i) {
    value |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
  }
  const std::uint64_t signBit = std::uint64_t{1} << (8 * width - 1);
  if (catalogue::IsSigned(scalar) && (value & signBit) != 0) value |= ~(signBit - 1);
  return value;
}

std::string ScalarConstant(Scalar scalar, std::uint64_t value) {
  switch (scalar) {
    case Scalar::kChar:
      return value < 128 ? std::to_string(value) : "(char)" + std::to_string(value);
    case Scalar::kU32:
      return std::to_string(value) + "u";
    case Scalar::kU64:
      return "UINT64_C(" + std::to_string(value) + ")";
    case Scalar::kI64:
      if (value == std::uint64_t{1} << 63) return "(-INT64_C(9223372036854775807) - 1)";
      return "INT64_C(" + std::to_string(static_cast<std::int64_t>(value)) + ")";
    case Scalar::kI32:
      if (static_cast<std::int64_t>(value) == INT32_MIN) return "(-2147483647 - 1)";
      break;
    default:
      break;
  }
  return std::to_string(static_cast<std::int64_t>(value));
}

std::string StructureInitialiser(const catalogue::Model& model,
                                 const catalogue::Structure& structure, const char* bytes) {
  std::string text;
  for (const Field& field : structure.fields) {
    text += (text.empty() ? "{" : ", ") + FieldInitialiser(model, field, bytes + field.offsetBytes);
  }
  return text + "}";
}

}  // namespace kivcat
