// A whole command for people: what it is, its fields as a tree, and the line that would type it.
//
// Threads: any; plain values. Owns its texts.
// Errors: Describe answers a status of result_codes.h; the description is then of no use.
#pragma once

#include <cstdint>
#include <string>

#include "hosts/bench/parameter_shape.h"
#include "platform/catalogue/cmd_info.h"

namespace hostbench {

// Lengths that the module takes of a command's parameter text, in wchar_t.
inline constexpr std::size_t kMaxParameterChars = 16384;

// One command, described.
struct CommandDescription {
  std::uint32_t id = 0;
  std::wstring name;
  std::wstring text;
  std::wstring group;
  ParameterShape shape;
  bool isSendable = true;  // false: it only comes as an indication; no shape, no line
  bool takesText = false;  // the parameters are sent as the text they are
  // The command with every default spelled out: typed, it fills the same tree as the defaults.
  // The name alone where there is nothing to type.
  std::wstring line;
  bool lineFits = true;     // false: longer than the module takes; the name alone sends the same
  bool lineAllowed = true;  // false: the catalogue wants the command without this parameter text
};

// `cataloguePath` as for CParamCodec: empty is the catalogue that the process works with.
std::uint32_t Describe(const CmdInfo& command, const QCString& cataloguePath,
                       CommandDescription& description);

// The description as lines, each with a line feed: head, one row a field, the line to type.
std::wstring DescriptionText(const CommandDescription& description);

}  // namespace hostbench
