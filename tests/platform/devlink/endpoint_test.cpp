// The forms of an endpoint's text, and what a person reads when it is none.
#include "platform/devlink/endpoint.h"

#include <gmock/gmock.h>

namespace linktest {
namespace {

using devlink::EndpointKind;
using devlink::ParseEndpoint;

struct Words {
  std::string text;
  std::vector<std::string> arguments;
};

TEST(Endpoint, SplitsExecAsAShellWould) {
  const Words rows[] = {
      {"exec:kivagent", {"kivagent"}},
      {"exec:kivagent --stdio", {"kivagent", "--stdio"}},
      {"exec:  a \t b\nc  ", {"a", "b", "c"}},
      {"exec:a 'b c' d", {"a", "b c", "d"}},
      {"exec:a 'b\\c\"$x`'", {"a", "b\\c\"$x`"}},
      {"exec:a \"b c\"", {"a", "b c"}},
      {"exec:a \"\\\" \\\\ \\$ \\` \\n '\"", {"a", "\" \\ $ ` \\n '"}},
      {"exec:a b\\ c \\\"d\\' \\\\", {"a", "b c", "\"d'", "\\"}},
      {"exec:a x'y'\"z\"\\w", {"a", "xyzw"}},
      {"exec:a '' \"\"", {"a", "", ""}},
      {"exec:a $HOME ~ * ; | > & `ls` $(ls) #x",
       {"a", "$HOME", "~", "*", ";", "|", ">", "&", "`ls`", "$(ls)", "#x"}},
      {"exec:/opt/\xC3\xA9 \xE2\x82\xAC", {"/opt/\xC3\xA9", "\xE2\x82\xAC"}},
      {"exec:ssh -T board kivagent --stdio", {"ssh", "-T", "board", "kivagent", "--stdio"}},
  };
  for (const Words& row : rows) {
    const auto endpoint = ParseEndpoint(row.text);
    EXPECT_EQ(endpoint.kind, EndpointKind::kExec) << row.text << " " << endpoint.problem;
    EXPECT_EQ(endpoint.arguments, row.arguments) << row.text;
    EXPECT_EQ(endpoint.problem, "");
  }
}

TEST(Endpoint, TakesTheRestOfUnixAsThePath) {
  const auto endpoint = ParseEndpoint("unix:/tmp/a b'c");
  EXPECT_EQ(endpoint.kind, EndpointKind::kUnix);
  EXPECT_EQ(endpoint.path, "/tmp/a b'c");
}

struct Bad {
  std::string text;
  std::string problem;
};

TEST(Endpoint, SaysWhatIsWrongWithATextThatIsNone) {
  const Bad rows[] = {
      {"", "no link is set: use exec:PROGRAM ARG... or unix:PATH"},
      {"kivagent", "link \"kivagent\" is of no known kind: use exec:PROGRAM ARG... or unix:PATH"},
      {"EXEC:a", "link \"EXEC:a\" is of no known kind: use exec:PROGRAM ARG... or unix:PATH"},
      {"exec:", "link \"exec:\" names no program"},
      {"exec:   ", "link \"exec:   \" names no program"},
      {"exec:'' a", "link \"exec:'' a\" names no program"},
      {"exec:a 'b", "link \"exec:a 'b\": a ' is not closed"},
      {"exec:a \"b\\\"", "link \"exec:a \"b\\\"\": a \" is not closed"},
      {"exec:a b\\", "link \"exec:a b\\\": it ends in a backslash"},
      {"unix:", "link \"unix:\" names no path"},
      {std::string("exec:a\0b", 8), "the link's text has a zero character in it"},
  };
  for (const Bad& row : rows) {
    const auto endpoint = ParseEndpoint(row.text);
    EXPECT_EQ(endpoint.kind, EndpointKind::kNone) << row.text;
    EXPECT_EQ(endpoint.problem, row.problem);
  }
}

}  // namespace
}  // namespace linktest
