#include "command/packet/diag_packet.h"

#include <string>
#include <utility>

#include "command/packet/packet_texts.h"
#include "params/default_fill.h"
#include "params/param_line_parser.h"
#include "params/quick_fill.h"
#include "platform/base/result_codes.h"
#include "platform/bounded/bounded.h"
#include "platform/bounded/pool.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

constexpr std::size_t kTextAlignmentBytes = 4;

bool IsStringTypeName(std::wstring_view name) {
  return name == L"dbk_str_type" || name == L"dbk_str_type_stru";
}

// For ParseNodes: whether the last structure of the tree is a string type.
std::uint32_t NoteStructure(CParamNode* node, void* stringTyped, std::uint32_t /*depth*/) {
  if (node->GetNodeType() != 17 && std::wstring_view(node->GetVariableName()) == L"struct") {
    *static_cast<bool*>(stringTyped) = IsStringTypeName(node->GetTypeName());
  }
  return 0;
}

// Names belong to the shape of a tree, so the walk is made once for each command.
bool IsStringTypedTree(CParamNode& root) {
  const void* const known = root.GetLayoutNote(LayoutNote::kTextType);
  if (known != nullptr) return *static_cast<const bool*>(known);
  bool stringTyped = false;
  root.ParseNodes(NoteStructure, &stringTyped, 0);
  stringTyped = stringTyped || IsStringTypeName(root.GetTypeName());
  root.KeepLayoutNote(LayoutNote::kTextType, &stringTyped, sizeof stringTyped);
  return stringTyped;
}

QCString WithNumber(const char* text, std::uint32_t number) {
  return FromQString(QObject::tr(text).arg(QString::number(number)));
}

}  // namespace

DiagPacket::DiagPacket(std::uint32_t cmdId, const QCString& cataloguePath)
    : cmdId_(cmdId), codec_(cataloguePath.c_str()) {}

DiagPacket::~DiagPacket() { FreeBody(); }

std::uint32_t DiagPacket::QueryDefaults() {
  const std::uint32_t status = codec_.QueryDefaultParam(cmdId_, CmdIdType::Any, tree_);
  hasDefaults_ = status == 0;
  if (status == 0) {
    stringTyped_ = IsStringTypedTree(tree_);
    return 0;
  }
  const QString id = QString::number(cmdId_, 16);
  reply_ += FromQString(QObject::tr(texts::kNoValidPacket).arg(id, QString::number(status)));
  return status;
}

void DiagPacket::SplitRest(const QCString& parameterRest) { split_ = SplitMacPath(parameterRest); }

std::uint32_t DiagPacket::FillParameters() {
  if (stringTyped_ || split_.rest.IsEmpty()) return 0;
  ClearFillErrorText();  // some failures have no text, and an older one must not show
  if (std::exchange(hasDefaults_, false) && QuickFill(tree_, split_.rest.view())) return 0;
  ParamLineParser parser;
  if (parser.SetParamLine(split_.rest) == 0) {
    reply_ += Translated(texts::kLineNotParsed) + parser.GetErrorText();
    return kFillFailed;
  }
  const std::uint32_t status = tree_.ParseNodes(FillNode, &parser, 0);
  if (status != 0) reply_ += Translated(texts::kTreeNotFilled) + GetFillErrorText();
  return status;
}

QCString DiagPacket::DisplayInputParams(const RenderFlags& flags) {
  QCString text = Translated(texts::kInputParametersHead);
  text += RenderTree(tree_, flags);
  text += Translated(texts::kInputParametersFoot);
  reply_ += text;
  return text;
}

std::uint32_t DiagPacket::Encode() {
  FreeBody();
  const std::uint32_t status =
      stringTyped_ ? EncodeText() : codec_.Encode(cmdId_, tree_, &bodyLengthBytes_, &body_);
  if (status != 0) reply_ += WithNumber(texts::kNotEncoded, status);
  return status;
}

std::uint32_t DiagPacket::EncodeText() {
  const std::string text = split_.rest.ToUtf8();
  const std::size_t withTerminator = text.size() + 1;
  const std::size_t lengthBytes =
      (withTerminator + kTextAlignmentBytes - 1) / kTextAlignmentBytes * kTextAlignmentBytes;
  body_ = static_cast<std::uint8_t*>(PoolMalloc(lengthBytes));
  if (body_ == nullptr) return result::kNoMemory;
  bodyLengthBytes_ = static_cast<std::uint32_t>(lengthBytes);
  bounded::memset_s(body_, lengthBytes, 0, lengthBytes);
  bounded::memcpy_s(body_, lengthBytes, text.data(), text.size());
  return result::kOk;
}

void DiagPacket::FreeBody() {
  PoolFree(body_);
  body_ = nullptr;
  bodyLengthBytes_ = 0;
}

QCString PostFailureText(std::uint32_t result) {
  switch (result) {
    case result::kOk:
      return {};
    case result::kLinkDown:
      return Translated(texts::kLinkDown);
    case result::kBadAddress:
      return Translated(texts::kBadMacPath);
    default:
      return WithNumber(texts::kPostFailed, result);
  }
}

}  // namespace SvcKivClass
