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
  EXPECT_EQ(ParseEndpoint("unix:" + std::string(107, 'x')).problem, "");
}

TEST(Endpoint, TakesHostAndPortOfTcp) {
  const struct {
    std::string text, host;
    std::uint16_t port;
    std::string tokenFile;
  } rows[] = {
      {"tcp:127.0.0.1:5555", "127.0.0.1", 5555, ""},
      {"tcp:board.local:1", "board.local", 1, ""},
      {"tcp:[::1]:65535", "::1", 65535, ""},
      {"tcp:[fe80::1%eth0]:80", "fe80::1%eth0", 80, ""},
      {"tcp:localhost:80?token-file=/run/a b=c?d", "localhost", 80, "/run/a b=c?d"},
  };
  for (const auto& row : rows) {
    const auto endpoint = ParseEndpoint(row.text);
    EXPECT_EQ(endpoint.kind, EndpointKind::kTcp) << row.text << " " << endpoint.problem;
    EXPECT_EQ(endpoint.host, row.host);
    EXPECT_EQ(endpoint.port, row.port);
    EXPECT_EQ(endpoint.tokenFile, row.tokenFile);
    EXPECT_EQ(endpoint.text, row.text);
  }
}

TEST(Endpoint, TakesPathRateAndFlowOfSerial) {
  const struct {
    std::string text, path;
    std::uint32_t baud;
    bool rtsCts;
  } rows[] = {
      {"serial:/dev/ttyS0", "/dev/ttyS0", 115'200, false},
      {"serial:/dev/ttyUSB0?baud=9600", "/dev/ttyUSB0", 9600, false},
      {"serial:/dev/a b?baud=1234567&flow=rtscts", "/dev/a b", 1'234'567, true},
      {"serial:x?flow=none&baud=1", "x", 1, false},
      {"serial:x?baud=4294967295", "x", 4'294'967'295, false},
  };
  for (const auto& row : rows) {
    const auto endpoint = ParseEndpoint(row.text);
    EXPECT_EQ(endpoint.kind, EndpointKind::kSerial) << row.text << " " << endpoint.problem;
    EXPECT_EQ(endpoint.path, row.path);
    EXPECT_EQ(endpoint.baud, row.baud);
    EXPECT_EQ(endpoint.rtsCts, row.rtsCts);
  }
}

struct Bad {
  std::string text;
  std::string problem;
};

const std::string kForms =
    "use exec:PROGRAM ARG..., unix:PATH, tcp:HOST:PORT or serial:PATH?baud=N";

// What stands behind 'link "TEXT"'.
const Bad kBadLinks[] = {
    {"kivagent", " is of no known kind: " + kForms},
    {"EXEC:a", " is of no known kind: " + kForms},
    {"udp:127.0.0.1:1", " is of no known kind: " + kForms},
    {"exec:", ": it names no program"},
    {"exec:   ", ": it names no program"},
    {"exec:'' a", ": it names no program"},
    {"exec:a 'b", ": a ' is not closed"},
    {"exec:a \"b\\\"", ": a \" is not closed"},
    {"exec:a b\\", ": it ends in a backslash"},
    {"unix:", ": it names no path"},
    {"unix:" + std::string(108, 'x'), ": a path of more than 107 bytes cannot be a socket's"},
    {"tcp:", ": it names no port"},
    {"tcp:board", ": it names no port"},
    {"tcp:[::1]", ": it names no port"},
    {"tcp::5555", ": it names no host"},
    {"tcp:[]:5555", ": it names no host"},
    {"tcp:::1:5555", ": an IPv6 address stands in brackets: tcp:[ADDRESS]:PORT"},
    {"tcp:[::1:5555", ": an IPv6 address stands in brackets: tcp:[ADDRESS]:PORT"},
    {"tcp:board:", ": the port is no number from 1 to 65535"},
    {"tcp:board:0", ": the port is no number from 1 to 65535"},
    {"tcp:board:65536", ": the port is no number from 1 to 65535"},
    {"tcp:board:http", ": the port is no number from 1 to 65535"},
    {"tcp:board:80x", ": the port is no number from 1 to 65535"},
    {"tcp:board:-1", ": the port is no number from 1 to 65535"},
    {"tcp:board:80?", ": there is no option \"\""},
    {"tcp:board:80?baud=1", ": there is no option \"baud\""},
    {"tcp:board:80?token-file", ": token-file has no value"},
    {"tcp:board:80?token-file=", ": token-file names no file"},
    {"serial:", ": it names no path"},
    {"serial:?baud=1", ": it names no path"},
    {"serial:x?baud=0", ": baud is no number from 1 to 4294967295"},
    {"serial:x?baud=", ": baud is no number from 1 to 4294967295"},
    {"serial:x?baud=4294967296", ": baud is no number from 1 to 4294967295"},
    {"serial:x?baud=9600 ", ": baud is no number from 1 to 4294967295"},
    {"serial:x?baud=9600&", ": there is no option \"\""},
    {"serial:x?baud=1&baud=2", ": it says baud twice"},
    {"serial:x?baud=1&flow=none&baud=1", ": it says baud twice"},
    {"tcp:board:80?token-file=a&token-file=b", ": it says token-file twice"},
    {"serial:x?flow=xonxoff", ": flow is none or rtscts"},
    {"serial:x?parity=even", ": there is no option \"parity\""},
};

TEST(Endpoint, SaysWhatIsWrongWithATextThatIsNone) {
  std::vector<Bad> rows = {
      {"", "no link is set: " + kForms},
      {std::string("exec:a\0b", 8), "the link's text has a zero character in it"},
  };
  for (const Bad& bad : kBadLinks) {
    rows.push_back({bad.text, "link \"" + bad.text + "\"" + bad.problem});
  }
  for (const Bad& row : rows) {
    const auto endpoint = ParseEndpoint(row.text);
    EXPECT_EQ(endpoint.kind, EndpointKind::kNone) << row.text;
    EXPECT_EQ(endpoint.problem, row.problem);
    EXPECT_EQ(devlink::EndpointProblem(row.text), row.problem);
  }
}

}  // namespace
}  // namespace linktest
