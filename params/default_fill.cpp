#include "params/default_fill.h"

#include <cstddef>
#include <string>
#include <vector>

#include "params/params_texts.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

thread_local QCString fillErrorText;

std::uint32_t Fail(const QCString& text) {
  fillErrorText = text;
  return kFillFailed;
}

// No number is put in: the text has no marker for one, and scripts know it with its "%d".
QCString IndexLine() { return Translated(texts::kIndexLine); }

QCString ArrayIndexLine(std::uint32_t index) {
  return FromQString(QObject::tr(texts::kArrayIndexLine).arg(QString::number(index)));
}

bool IsStructure(std::int32_t kind) {
  return kind == 17 || kind == 24 || kind == 25 || kind == 32 || kind == 33;
}

bool DepthFits(std::int32_t kind, std::uint32_t depth, const ParamLineParser& parser) {
  return IsStructure(kind) || depth == 0 || parser.GetDepth() == ParamLineParser::kAllOnes ||
         parser.GetDepth() == depth;
}

std::uint32_t FillSingleValue(CParamNode& node, ParamLineParser& parser) {
  std::uint32_t value = 0;
  bool leftAtDefault = false;
  if (parser.GetNextValue(&value, &leftAtDefault) == 0) {
    return Fail(parser.GetErrorText() + IndexLine());
  }
  return leftAtDefault ? 0 : node.SetValue(value);
}

bool NextArray(ParamLineParser& parser, std::uint8_t* buffer, std::uint32_t elementBytes,
               std::uint32_t fieldBytes) {
  if (parser.GetNextArray(&buffer, elementBytes, fieldBytes) != 0) return true;
  fillErrorText = parser.GetErrorText() + ArrayIndexLine(parser.GetIndex());
  return false;
}

std::uint32_t FillArray(CParamNode& node, ParamLineParser& parser) {
  const std::uint32_t elementBytes = node.GetSizeOfDataType();
  if (elementBytes == 0) return kFillNoElementWidth;
  const std::uint32_t fieldBytes = node.GetSizeInStruct();
  if (fieldBytes == 0) return 0;
  std::uint8_t* own = nullptr;
  std::uint64_t ownBytes = 0;
  if (node.GetValueBuf(&own, &ownBytes) == 0 && own != nullptr) {
    if (ownBytes != fieldBytes) return kFillFailed;
    return NextArray(parser, own, elementBytes, fieldBytes) ? 0 : kFillFailed;
  }
  std::vector<std::uint8_t> bytes(fieldBytes);
  if (!NextArray(parser, bytes.data(), elementBytes, fieldBytes)) return kFillFailed;
  return node.SetValueBuf(bytes.data(), fieldBytes);
}

}  // namespace

std::uint32_t FillNode(CParamNode* node, void* user, std::uint32_t depth) {
  if (user == nullptr) return kFillFailed;
  auto& parser = *static_cast<ParamLineParser*>(user);
  const std::int32_t kind = node->GetNodeType();
  if (!DepthFits(kind, depth, parser)) {
    return Fail(Translated(texts::kDepthMismatch) + IndexLine());
  }
  switch (kind) {
    case 0:
    case 8:
    case 16:
      return FillSingleValue(*node, parser);
    case 1:
    case 9:
      return FillArray(*node, parser);
    default:
      return 0;
  }
}

const QCString& GetFillErrorText() { return fillErrorText; }

void ClearFillErrorText() { fillErrorText.Empty(); }

void FillDataNodes(CParamNode* start, std::uint64_t leadingValue, std::uint32_t lengthBytes,
                   const std::uint8_t* data, std::uint32_t* result) {
  if (start == nullptr) return;
  *result |= start->SetValue(leadingValue);
  CParamNode* const length = start->GetNextNeighbor();
  if (length == nullptr) return;
  *result |= length->SetValue(lengthBytes);
  CParamNode* const bytes = length->GetNextNeighbor();
  if (bytes == nullptr) return;
  *result |= bytes->SetValueBuf(data, lengthBytes);
}

}  // namespace SvcKivClass
