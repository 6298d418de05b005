// Rendering: a value tree, a confirmation or an indication as text.
//
// Pure: display settings are handed in, nothing here knows the link or the application object.
//
// Threads: any; no state.
// Owns nothing.
#pragma once

#include <cstdint>

#include "platform/catalogue/param_node.h"
#include "platform/text/qc_list.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {

// The user's display settings at the moment of rendering.
struct RenderFlags {
  bool hexadecimal = false;
  bool oneLineArrays = false;
  bool showType = false;
};

// Rows of name, value and comment, with the widths that align them.
struct RenderTable {
  QCString title;  // type name of the last node named "struct"
  QCList<QCString> names;
  QCList<QCString> values;
  QCList<QCString> comments;
  std::int32_t nameWidth = 0;   // characters of the longest name
  std::int32_t valueWidth = 0;  // characters of the longest value
  RenderFlags flags;

  void AddRow(QCString name, QCString value, QCString comment);
  // Empties the three lists and the widths; the title stays.
  void Clear();
};

// Where result codes get their texts: the link client, or the platform's table in tools.
class ResultCodeTexts {
 public:
  virtual ~ResultCodeTexts() = default;
  virtual QCString GetResultCodeText(std::uint32_t resultCode) const = 0;
};

// A received body with what came beside it. The body is borrowed.
struct ReplyDescriptor {
  std::uint32_t cmdId = 0;
  const std::uint8_t* body = nullptr;
  std::uint32_t bodyLengthBytes = 0;
  std::uint32_t resultCode = 0;
  std::uint32_t isInd = 0;
  std::uint32_t word = 0;  // carried unchanged from the link
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
};

// Fills `text` with the whole text of a reply that has a body.
void RenderReply(const ResultCodeTexts& client, QCString& text, const ReplyDescriptor& reply,
                 std::uint32_t cmdId, const RenderFlags& flags);
// The same text as the view gets it: a block of the pool with a line feed in front and a zero
// behind, which the caller releases; null for an empty text. False, and null, when the pool has no
// block.
bool RenderReplyForView(const ResultCodeTexts& client, const ReplyDescriptor& reply,
                        std::uint32_t cmdId, const RenderFlags& flags, wchar_t** forView);
// Any text in that form.
bool TextForView(const QCString& text, wchar_t** forView);
// The codec's status, 0 after one that was turned into a line. `resultCodeOnly` is set when the
// structure has nothing to show.
std::uint32_t DecodeReply(std::uint32_t cmdId, const ReplyDescriptor& reply,
                          const RenderFlags& flags, QCList<QCString>& lines, bool& resultCodeOnly);
// Callback for CParamNode::ParseNodes; `user` is the RenderTable. 2 for a null table.
std::uint32_t RenderNode(CParamNode* node, void* user, std::uint32_t depth);
void FormatTable(const RenderTable& table, QCList<QCString>& lines);
// "0x" and lower-case digits for an element of 1, 2 or 4 bytes; empty for any other size.
QCString FormatNumber(std::uint32_t elementBytes, const QCString& decimalText);

// A whole tree as text, all lines joined: the input-parameter display.
QCString RenderTree(CParamNode& root, const RenderFlags& flags);

}  // namespace SvcKivClass
