#include "hosts/bench/parameter_shape.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "platform/os/utf8.h"

namespace hostbench {
namespace {

using catalogue::Enumeration;
using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Model;

using Choices = std::shared_ptr<const std::vector<Choice>>;

constexpr std::uint32_t kTypedBytes = 4;  // what a typed number is wide

std::wstring Signed(std::uint64_t bits, std::uint32_t widthBytes) {
  const std::uint32_t unused = widthBytes >= 8 ? 0 : 64 - 8 * widthBytes;
  return std::to_wstring(static_cast<std::int64_t>(bits << unused) >> unused);
}

std::uint64_t LowBits(std::uint64_t bits, std::uint32_t widthBytes) {
  return widthBytes >= 8 ? bits : bits & ((std::uint64_t{1} << 8 * widthBytes) - 1);
}

// As it is typed; empty for what a typed number does not reach.
std::wstring TypedNumber(std::uint64_t bits, std::uint32_t widthBytes, bool isSigned) {
  bits = LowBits(bits, widthBytes);
  if (widthBytes > kTypedBytes) {
    return bits <= 0xFFFFFFFFu ? std::to_wstring(bits) : std::wstring();
  }
  return isSigned ? Signed(bits, widthBytes) : std::to_wstring(bits);
}

// What the catalogue says of a field; each array of structures says it once an element.
struct FieldNote {
  std::wstring text;
  Choices choices;
};

// Fields of a structure in the order of the tree's values.
class NoteMaker {
 public:
  explicit NoteMaker(const Model& model) : model_(model) {}

  std::vector<FieldNote> Make(std::uint32_t structure) {
    AddFields(model_.structures[structure], false);
    return std::move(notes_);
  }

 private:
  void AddFields(const catalogue::Structure& structure, bool isElement) {
    for (const Field& field : structure.fields) {
      if (field.kind == FieldKind::kStructure) {
        for (std::uint32_t i = 0; i < field.count; ++i) {
          AddFields(model_.structures[field.reference], isElement || field.isArray);
        }
        continue;
      }
      FieldNote note{os::Utf8ToWide(field.text), nullptr};
      if (field.kind == FieldKind::kEnumeration) note.choices = ChoicesOf(field.reference);
      notes_.push_back(std::move(note));
    }
  }

  Choices ChoicesOf(std::uint32_t enumeration) {
    Choices& known = choices_[enumeration];
    if (known != nullptr) return known;
    const Enumeration& from = model_.enumerations[enumeration];
    std::vector<Choice> made;
    for (const catalogue::EnumerationValue& value : from.values) {
      made.push_back({TypedNumber(value.value, catalogue::WidthBytes(from.base),
                                  catalogue::IsSigned(from.base)),
                      os::Utf8ToWide(value.name), os::Utf8ToWide(value.text)});
    }
    return known = std::make_shared<const std::vector<Choice>>(std::move(made));
  }

  const Model& model_;
  std::vector<FieldNote> notes_;
  std::map<std::uint32_t, Choices> choices_;
};

std::wstring PathOf(const CParamNode& node) {
  std::wstring path = node.GetVariableName();
  for (const CParamNode* at = node.GetParent(); at != nullptr && at->GetParent() != nullptr;
       at = at->GetParent()) {
    if (at->GetNodeType() == 17) continue;  // its elements have its name
    path.insert(0, 1, L'.').insert(0, at->GetVariableName());
  }
  return path;
}

// Collects the fields of a tree.
struct ShapeMaker {
  std::vector<ParameterField>& fields;
  std::uint32_t leastDepth = 0;  // since the field before
};

bool IsSingleKind(std::int32_t kind) { return kind == 0 || kind == 8 || kind == 16; }
bool IsArrayKind(std::int32_t kind) { return kind == 1 || kind == 9; }

// For ParseNodes: the same nodes as the trace notes.
std::uint32_t AddNode(CParamNode* node, void* user, std::uint32_t depth) {
  ShapeMaker& maker = *static_cast<ShapeMaker*>(user);
  maker.leastDepth = std::min(maker.leastDepth, depth);
  const bool isArray = IsArrayKind(node->GetNodeType());
  if (!isArray && !IsSingleKind(node->GetNodeType())) return 0;
  ParameterField field;
  field.elementBytes = node->GetSizeOfDataType();
  if (isArray && field.elementBytes != 0) {
    if (node->GetSizeInStruct() == 0) return 0;
    field.count = node->GetSizeInStruct() / field.elementBytes;
  }
  field.path = PathOf(*node);
  field.type = node->GetTypeName();
  field.depth = depth;
  field.sharedDepth = maker.fields.empty() ? 0 : maker.leastDepth;
  field.offsetBytes = node->GetOffsetInBody();
  std::int32_t flag = 0;
  field.isSigned = node->IsSignedValue(&flag) == 0 && flag != 0;
  field.isChar = node->IsCharValue(&flag) == 0 && flag != 0;
  maker.leastDepth = depth;
  maker.fields.push_back(std::move(field));
  return 0;
}

}  // namespace

TypedRange RangeOf(const ParameterField& field) {
  const std::uint32_t widthBytes = std::clamp(field.elementBytes, 1u, kTypedBytes);
  const std::uint64_t span = std::uint64_t{1} << 8 * widthBytes;
  if (!field.isSigned || field.elementBytes > kTypedBytes) return {L"0", std::to_wstring(span - 1)};
  return {L"-" + std::to_wstring(span / 2), std::to_wstring(span / 2 - 1)};
}

ParameterShape::ParameterShape(CParamNode& defaults, const Model* model, std::uint32_t structure)
    : typeName_(defaults.GetTypeName()) {
  ShapeMaker maker{fields_};
  defaults.ParseNodes(AddNode, &maker, 0);
  if (const std::uint8_t* body = defaults.GetBody(); body != nullptr) {
    body_.assign(body, body + defaults.GetBodyBytes());
  }
  if (model == nullptr) return;
  text_ = os::Utf8ToWide(model->structures[structure].text);
  std::vector<FieldNote> notes = NoteMaker(*model).Make(structure);
  if (notes.size() != fields_.size()) return;  // another command's model: names alone
  for (std::size_t i = 0; i < notes.size(); ++i) {
    fields_[i].text = std::move(notes[i].text);
    fields_[i].choices = std::move(notes[i].choices);
  }
}

std::uint64_t ParameterShape::DefaultBits(const ParameterField& field,
                                          std::uint32_t element) const {
  const std::size_t begin = field.offsetBytes + std::size_t{element} * field.elementBytes;
  std::uint64_t bits = 0;
  for (std::uint32_t i = 0; i < field.elementBytes && i < 8 && begin + i < body_.size(); ++i) {
    bits |= std::uint64_t{body_[begin + i]} << 8 * i;
  }
  return bits;
}

std::wstring ParameterShape::DefaultOf(const ParameterField& field, std::uint32_t element) const {
  const std::uint64_t bits = DefaultBits(field, element);
  return field.isSigned ? Signed(bits, field.elementBytes) : std::to_wstring(bits);
}

std::wstring ParameterShape::TypedDefaultOf(const ParameterField& field,
                                            std::uint32_t element) const {
  return TypedNumber(DefaultBits(field, element), field.elementBytes, field.isSigned);
}

std::wstring ParameterShape::DefaultText(const ParameterField& field) const {
  const std::size_t begin = std::min<std::size_t>(field.offsetBytes, body_.size());
  const std::size_t end =
      std::min(begin + std::size_t{field.elementBytes} * std::max(field.count, 1u), body_.size());
  const std::string bytes(body_.begin() + static_cast<std::ptrdiff_t>(begin),
                          body_.begin() + static_cast<std::ptrdiff_t>(end));
  return os::Utf8ToWide(std::string_view(bytes).substr(0, bytes.find('\0')));
}

std::wstring ParameterShape::DefaultLine() const {
  std::wstring line;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const ParameterField& field = fields_[i];
    if (i == 0) {
      line.assign(field.depth, L'{');
    } else {
      line.append(ClosingsBetween(fields_[i - 1], field), L'}') += L',';
      line.append(OpeningsBetween(fields_[i - 1], field), L'{');
    }
    if (!field.IsArray()) {
      line += TypedDefaultOf(field);
      continue;
    }
    for (std::uint32_t element = 0; element < field.count; ++element) {
      (line += element == 0 ? L'[' : L',') += TypedDefaultOf(field, element);
    }
    line += L']';
  }
  return line.append(LastDepth(), L'}');
}

std::uint32_t ClosingsBetween(const ParameterField& first, const ParameterField& second) noexcept {
  return first.depth - second.sharedDepth;
}

std::uint32_t OpeningsBetween(const ParameterField& first, const ParameterField& second) noexcept {
  (void)first;
  return second.depth - second.sharedDepth;
}

}  // namespace hostbench
