// kivcat encode and decode: what the module would send, and what it would show.
#include <memory>

#include "command/packet/diag_packet.h"
#include "link/render/render.h"
#include "platform/base/bench_setup.h"
#include "platform/base/result_codes.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/param_codec.h"
#include "platform/text/shown_text.h"
#include "tools/kivcat/program_commands.h"

namespace kivcat {
namespace {

using SvcKivClass::DiagPacket;
using SvcKivClass::RenderFlags;

// The words that both commands begin with: the catalogue, which becomes the one that the process
// works with, and one of its commands.
bool FindCommand(Invocation& invocation, std::uint32_t& cmdId) {
  const std::string& path = invocation.words[0];
  bench::Setup setup;
  setup.catalogue = QCString::FromUtf8(path);
  bench::SetSetup(setup);
  QCList<CmdInfo> list;
  CCmdDatabase database;
  const std::uint32_t status = database.EnumCommands(list, 3, 256, 0, 0);
  if (status != 0) {
    invocation.Fail(path + ": " + result::Text(status).ToUtf8() +
                    (status == result::kCatalogueDamaged ? " or not compiled" : ""));
    return false;
  }
  const QCString name = QCString::FromUtf8(invocation.words[1]);
  for (const CmdInfo& info : list) {
    if (!(name == info.GetName())) continue;
    cmdId = info.GetId();
    return true;
  }
  invocation.Fail(path + ": there is no command \"" + invocation.words[1] + "\"");
  return false;
}

// With a line feed at the end of the last line.
std::string WholeLines(const QCString& text) {
  const std::string lines = ShownText(text.view());
  return lines.ends_with('\n') ? lines : lines + "\n";
}

std::string HexOf(const std::uint8_t* bytes, std::size_t lengthBytes) {
  std::string text;
  for (std::size_t i = 0; i < lengthBytes; ++i) {
    text += "0123456789abcdef"[bytes[i] >> 4];
    text += "0123456789abcdef"[bytes[i] & 15];
  }
  return text;
}

// Digits of either case; blanks between bytes are passed over.
bool ParseHex(const std::string& text, std::vector<std::uint8_t>& bytes) {
  int high = -1;
  for (const char c : text) {
    if (c == ' ' && high < 0) continue;
    const std::size_t digit = std::string_view("0123456789abcdef0123456789ABCDEF").find(c);
    if (digit == std::string_view::npos) return false;
    const int value = static_cast<int>(digit % 16);
    if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(high << 4 | value));
    high = high >= 0 ? -1 : value;
  }
  return high < 0;
}

// The parameter text as the console hands it on: one line, without blanks at its ends.
QCString ParameterRest(const std::string& text) {
  QCString rest = QCString::FromUtf8(text);
  rest.Remove(L'\r');
  rest.Remove(L'\n');
  return rest.Trim();
}

class TableOfResults : public SvcKivClass::ResultCodeTexts {
 public:
  QCString GetResultCodeText(std::uint32_t resultCode) const override {
    return result::Text(resultCode);
  }
};

RenderFlags FlagsOf(const Invocation& invocation) {
  return {invocation.Has("hex"), invocation.Has("one-line"), invocation.Has("types")};
}

// A confirmation or an indication. The text is shown even when the codec refuses the body, because
// that is what a console does.
int DecodeReply(Invocation& invocation, std::uint32_t cmdId, bool isInd,
                const std::vector<std::uint8_t>& body) {
  SvcKivClass::ReplyDescriptor reply;
  reply.cmdId = cmdId;
  reply.body = body.data();
  reply.bodyLengthBytes = static_cast<std::uint32_t>(body.size());
  reply.isInd = isInd ? 1 : 0;
  QCString text = result::Text(0);
  std::uint32_t status = 0;
  if (!body.empty()) {
    CParamNode tree;
    SvcKivClass::RenderReply(TableOfResults(), text, reply, cmdId, FlagsOf(invocation));
    status = CParamCodec(L"").Decode(
        {cmdId, isInd ? DecodeDescriptor::kInd : DecodeDescriptor::kCnf, reply.bodyLengthBytes},
        body.data(), tree, CategoryIdType::Any);
  }
  invocation.outputs.output += WholeLines(text);
  return status == 0 ? 0 : invocation.Fail(result::Text(status).ToUtf8());
}

int DecodeRequest(Invocation& invocation, std::uint32_t cmdId,
                  const std::vector<std::uint8_t>& body) {
  DiagPacket packet(cmdId, QCString());
  if (packet.QueryDefaults() == 0 && packet.IsStringTyped()) {
    const std::string text(body.begin(), body.end());
    invocation.outputs.output += WholeLines(QCString::FromUtf8(text.substr(0, text.find('\0'))));
    return 0;
  }
  CParamNode tree;
  const std::uint32_t status = CParamCodec(L"").Decode(
      {cmdId, DecodeDescriptor::kReq, static_cast<std::uint32_t>(body.size())}, body.data(), tree,
      CategoryIdType::Any);
  if (status != 0) return invocation.Fail(result::Text(status).ToUtf8());
  invocation.outputs.output += ShownText(SvcKivClass::RenderTree(tree, FlagsOf(invocation)).view());
  return 0;
}

}  // namespace

int RunEncode(Invocation& invocation) {
  std::uint32_t cmdId = 0;
  if (!FindCommand(invocation, cmdId)) return 1;
  DiagPacket packet(cmdId, QCString::FromUtf8(invocation.words[0]));
  std::uint32_t status = packet.QueryDefaults();
  if (status == 0) {
    packet.SplitRest(ParameterRest(invocation.words.size() > 2 ? invocation.words[2] : ""));
    status = packet.FillParameters();
  }
  if (status == 0) status = packet.Encode();
  QCString reply = packet.Reply();
  if (status == 0) {
    status = SvcKivClass::RouteOf(packet.MacPath()).status;
    reply = SvcKivClass::PostFailureText(status);
  }
  if (status != 0) {
    invocation.outputs.errorOutput += WholeLines(reply);
    return 1;
  }
  invocation.outputs.output += HexOf(packet.Body(), packet.BodyLengthBytes()) + "\n";
  return 0;
}

int RunDecode(Invocation& invocation) {
  std::vector<std::uint8_t> body;
  const std::string& mode = invocation.words[2];
  if (mode != "cnf" && mode != "ind" && mode != "req") {
    return invocation.Fail("\"" + mode + "\" is none of cnf, ind, req");
  }
  if (!ParseHex(invocation.words[3], body)) {
    return invocation.Fail("the body must be pairs of hexadecimal digits");
  }
  std::uint32_t cmdId = 0;
  if (!FindCommand(invocation, cmdId)) return 1;
  if (mode == "req") return DecodeRequest(invocation, cmdId, body);
  return DecodeReply(invocation, cmdId, mode == "ind", body);
}

}  // namespace kivcat
