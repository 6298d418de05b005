// From a diagnostic command's parameter text to the packet that is posted: MAC-path options,
// default tree, parse and fill, input display, encoding, and the form of the post. Pure: no link,
// no settings, no application object, so tools and hosts show exactly what the module would send.
//
// Threads: any; one DiagPacket for one thread. Owns the encoded body.
#pragma once

#include <cstdint>
#include <utility>

#include "command/packet/post_route.h"
#include "link/render/render.h"
#include "platform/catalogue/param_codec.h"
#include "platform/catalogue/param_node.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {

// One command on its way to a packet. The steps are called in this order; each answers 0 or the
// status that ended it, and appends its failure text to Reply().
class DiagPacket {
 public:
  // `cataloguePath` empty: the catalogue that the process works with.
  DiagPacket(std::uint32_t cmdId, const QCString& cataloguePath);
  ~DiagPacket();
  DiagPacket(const DiagPacket&) = delete;
  DiagPacket& operator=(const DiagPacket&) = delete;

  std::uint32_t QueryDefaults();
  // Splits the rest and keeps path and remaining rest.
  void SplitRest(const QCString& parameterRest);
  // Parses and fills; a string-typed command's tree is left alone.
  std::uint32_t FillParameters();
  // Appends the input-parameter display to Reply() and answers what was appended.
  QCString DisplayInputParams(const RenderFlags& flags);
  // The body: the tree's, or a string-typed command's text. The pool block stays this object's.
  std::uint32_t Encode();

  std::uint32_t CmdId() const noexcept { return cmdId_; }
  bool IsStringTyped() const noexcept { return stringTyped_; }
  const QCString& Rest() const noexcept { return split_.rest; }
  const QCString& MacPath() const noexcept { return split_.macPath; }
  const std::uint8_t* Body() const noexcept { return body_; }
  std::uint32_t BodyLengthBytes() const noexcept { return bodyLengthBytes_; }
  const QCString& Reply() const noexcept { return reply_; }
  // The same, which this object then has no more.
  QCString TakeReply() noexcept { return std::exchange(reply_, {}); }
  CParamNode& Tree() noexcept { return tree_; }

 private:
  // The rest in the 8-bit code page with its terminator, zeros up to a multiple of four bytes.
  std::uint32_t EncodeText();
  void FreeBody();

  std::uint32_t cmdId_;
  CParamCodec codec_;
  CParamNode tree_;
  MacSplit split_;
  bool stringTyped_ = false;
  bool hasDefaults_ = false;  // the tree's values are those that QueryDefaults gave it
  std::uint8_t* body_ = nullptr;
  std::uint32_t bodyLengthBytes_ = 0;
  QCString reply_;
};

// The reply text of a post's result; empty for 0.
QCString PostFailureText(std::uint32_t result);

}  // namespace SvcKivClass
