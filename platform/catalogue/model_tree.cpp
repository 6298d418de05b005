#include "platform/catalogue/model_tree.h"

#include "platform/os/utf8.h"

using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Model;
using catalogue::Structure;

namespace {

FieldLayout StructureNode(const Structure& structure, std::uint64_t offsetBytes,
                          std::uint32_t depth) {
  FieldLayout node;
  node.kind = kKindStructure;
  node.depth = depth;
  node.offsetBytes = static_cast<std::uint32_t>(offsetBytes);
  node.fieldBytes = structure.sizeBytes;
  return node;
}

// Walks a structure with all that is nested in it. The nesting is bounded, so is the recursion.
class TreeMaker {
 public:
  explicit TreeMaker(const Model& model) : model_(model) {}

  std::shared_ptr<const TreeLayout> Make(const Structure& structure) {
    builder_.Add(StructureNode(structure, 0, 0), L"struct", os::Utf8ToWide(structure.name));
    AddFields(structure, 0, 1);
    return builder_.Finish({structure.defaults.begin(), structure.defaults.end()});
  }

 private:
  void AddFields(const Structure& structure, std::uint64_t offsetBytes, std::uint32_t depth) {
    std::uint64_t end = offsetBytes;
    for (const Field& field : structure.fields) {
      const std::uint64_t begin = offsetBytes + field.offsetBytes;
      builder_.AddGap(end, begin);
      AddField(structure, field, offsetBytes, depth);
      end = begin + field.SizeBytes();
    }
    builder_.AddGap(end, offsetBytes + structure.sizeBytes);
  }

  // `beginBytes` is where the structure around it begins.
  void AddField(const Structure& structure, const Field& field, std::uint64_t beginBytes,
                std::uint32_t depth) {
    const std::wstring name = os::Utf8ToWide(field.name);
    const std::uint64_t offsetBytes = beginBytes + field.offsetBytes;
    if (field.kind != FieldKind::kStructure) {
      FieldLayout node = ValueNode(field, offsetBytes, depth);
      if (field.lengthIn != Field::kNoField) {
        const Field& length = structure.fields[field.lengthIn];
        node.lengthOffsetBytes = static_cast<std::uint32_t>(beginBytes + length.offsetBytes);
        node.lengthWidthBytes = length.elementBytes;
      }
      builder_.Add(node, name, os::Utf8ToWide(TypeName(field)));
    } else if (!field.isArray) {
      AddStructure(field, name, offsetBytes, depth);
    } else {
      AddStructureArray(field, name, offsetBytes, depth);
    }
  }

  static FieldLayout ValueNode(const Field& field, std::uint64_t offsetBytes, std::uint32_t depth) {
    FieldLayout node;
    node.kind = field.isArray ? kKindArray : kKindValue;
    node.depth = depth;
    node.offsetBytes = static_cast<std::uint32_t>(offsetBytes);
    node.elementBytes = field.elementBytes;
    node.fieldBytes = static_cast<std::uint32_t>(field.SizeBytes());
    node.storageBytes = node.fieldBytes;
    node.bufferBytes = node.fieldBytes;
    node.isSigned = catalogue::IsSigned(field.scalar);
    node.isChar = field.scalar == catalogue::Scalar::kChar;
    node.hasBuffer = node.takesBytes = field.isArray;
    return node;
  }

  std::string_view TypeName(const Field& field) const {
    return field.kind == FieldKind::kEnumeration
               ? std::string_view(model_.enumerations[field.reference].name)
               : catalogue::ScalarName(field.scalar);
  }

  void AddStructure(const Field& field, const std::wstring& name, std::uint64_t offsetBytes,
                    std::uint32_t depth) {
    const Structure& nested = model_.structures[field.reference];
    builder_.Add(StructureNode(nested, offsetBytes, depth), name, os::Utf8ToWide(nested.name));
    AddFields(nested, offsetBytes, depth + 1);
  }

  void AddStructureArray(const Field& field, const std::wstring& name, std::uint64_t offsetBytes,
                         std::uint32_t depth) {
    const Structure& nested = model_.structures[field.reference];
    FieldLayout node = StructureNode(nested, offsetBytes, depth);
    node.kind = kKindContainer;
    node.elementBytes = field.elementBytes;
    node.fieldBytes = static_cast<std::uint32_t>(field.SizeBytes());
    builder_.Add(node, name, os::Utf8ToWide(nested.name));
    for (std::uint32_t i = 0; i < field.count; ++i) {
      AddStructure(field, name + L"[" + std::to_wstring(i) + L"]",
                   offsetBytes + std::uint64_t{i} * field.elementBytes, depth + 1);
    }
  }

  const Model& model_;
  TreeLayoutBuilder builder_;
};

}  // namespace

std::shared_ptr<const TreeLayout> MakeTreeLayout(const Model& model, std::uint32_t structure) {
  return TreeMaker(model).Make(model.structures[structure]);
}

std::shared_ptr<const TreeLayout> MakeEmptyTreeLayout() {
  TreeLayoutBuilder builder;
  builder.Add(FieldLayout{}, L"struct", L"");
  return builder.Finish({});
}
