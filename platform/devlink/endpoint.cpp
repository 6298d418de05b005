#include "platform/devlink/endpoint.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace devlink {

namespace {

constexpr std::string_view kForms =
    "use exec:PROGRAM ARG..., unix:PATH, tcp:HOST:PORT or serial:PATH?baud=N";

Endpoint Problem(std::string text) {
  Endpoint endpoint;
  endpoint.problem = std::move(text);
  return endpoint;
}

bool IsBlank(char ch) { return ch == ' ' || ch == '\t' || ch == '\n'; }

// Splits one text into words; see the header for the grammar.
class WordSplitter {
 public:
  explicit WordSplitter(std::string_view text) : text_(text) {}

  // Nothing when there is no further word or the text is malformed (then Problem() is set).
  std::optional<std::string> Next() {
    while (position_ < text_.size() && IsBlank(text_[position_])) ++position_;
    if (position_ == text_.size()) return std::nullopt;
    std::string word;
    while (position_ < text_.size() && !IsBlank(text_[position_])) {
      if (!TakePiece(word)) return std::nullopt;
    }
    return word;
  }
  const char* Problem() const { return problem_; }

 private:
  bool Fail(const char* problem) {
    problem_ = problem;
    return false;
  }
  bool TakePiece(std::string& word) {
    const char ch = text_[position_++];
    if (ch == '\'') return TakeSingleQuoted(word);
    if (ch == '"') return TakeDoubleQuoted(word);
    if (ch != '\\') {
      word += ch;
      return true;
    }
    if (position_ == text_.size()) return Fail("it ends in a backslash");
    word += text_[position_++];
    return true;
  }
  bool TakeSingleQuoted(std::string& word) {
    const std::size_t end = text_.find('\'', position_);
    if (end == std::string_view::npos) return Fail("a ' is not closed");
    word += text_.substr(position_, end - position_);
    position_ = end + 1;
    return true;
  }
  bool TakeDoubleQuoted(std::string& word) {
    static constexpr std::string_view kQuotable = "\"\\$`";
    while (position_ < text_.size()) {
      const char ch = text_[position_++];
      if (ch == '"') return true;
      const bool quotes = ch == '\\' && position_ < text_.size() &&
                          kQuotable.find(text_[position_]) != std::string_view::npos;
      word += quotes ? text_[position_++] : ch;
    }
    return Fail("a \" is not closed");
  }

  std::string_view text_;
  std::size_t position_ = 0;
  const char* problem_ = nullptr;
};

Endpoint ParseExec(std::string_view rest) {
  Endpoint endpoint;
  WordSplitter splitter(rest);
  while (auto word = splitter.Next()) endpoint.arguments.push_back(std::move(*word));
  if (splitter.Problem() != nullptr) {
    return Problem(splitter.Problem());
  }
  if (endpoint.arguments.empty() || endpoint.arguments.front().empty()) {
    return Problem("it names no program");
  }
  endpoint.kind = EndpointKind::kExec;
  return endpoint;
}

Endpoint ParseUnix(std::string_view rest) {
  if (rest.empty()) return Problem("it names no path");
  if (rest.size() > MaxUnixPathBytes()) {
    return Problem("a path of more than " + std::to_string(MaxUnixPathBytes()) +
                   " bytes cannot be a socket's");
  }
  Endpoint endpoint;
  endpoint.kind = EndpointKind::kUnix;
  endpoint.path = rest;
  return endpoint;
}

// A whole decimal number of 1 to `most`.
template <typename Number>
bool ReadNumber(std::string_view text, Number most, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && behind == end && number >= 1 && number <= most;
}

// One option of a kind of endpoint. `set` answers what is wrong with the value, or null.
struct OptionRow {
  EndpointKind kind;
  std::string_view name;
  const char* (*set)(Endpoint& endpoint, std::string_view value);
};

constexpr OptionRow kOptions[] = {
    {EndpointKind::kTcp, "token-file",
     [](Endpoint& endpoint, std::string_view value) -> const char* {
       endpoint.tokenFile = value;
       return value.empty() ? "token-file names no file" : nullptr;
     }},
    {EndpointKind::kSerial, "baud",
     [](Endpoint& endpoint, std::string_view value) -> const char* {
       return ReadNumber(value, UINT32_MAX, endpoint.baud)
                  ? nullptr
                  : "baud is no number from 1 to 4294967295";
     }},
    {EndpointKind::kSerial, "flow",
     [](Endpoint& endpoint, std::string_view value) -> const char* {
       endpoint.rtsCts = value == "rtscts";
       return endpoint.rtsCts || value == "none" ? nullptr : "flow is none or rtscts";
     }},
};

// "NAME=VALUE" into the endpoint. Answers what is wrong with it, or nothing.
std::string TakeOption(Endpoint& endpoint, std::string_view text) {
  const std::size_t equals = text.find('=');
  const std::string_view name = text.substr(0, equals);
  for (const OptionRow& row : kOptions) {
    if (row.kind != endpoint.kind || row.name != name) continue;
    if (equals == text.npos) return std::string(name) + " has no value";
    const char* const problem = row.set(endpoint, text.substr(equals + 1));
    return problem != nullptr ? problem : "";
  }
  return "there is no option \"" + std::string(name) + "\"";
}

// What stands behind the first "?".
Endpoint TakeOptions(Endpoint endpoint, std::string_view text) {
  std::vector<std::string_view> seen;
  for (bool more = true; more;) {
    const std::size_t end = text.find('&');
    const std::string_view option = text.substr(0, end);
    const std::string_view name = option.substr(0, option.find('='));
    const std::string problem = TakeOption(endpoint, option);
    if (!problem.empty()) return Problem(problem);
    if (std::find(seen.begin(), seen.end(), name) != seen.end()) {
      return Problem("it says " + std::string(name) + " twice");
    }
    seen.push_back(name);
    more = end != text.npos;
    if (more) text.remove_prefix(end + 1);
  }
  return endpoint;
}

Endpoint WithOptions(Endpoint endpoint, std::string_view rest, std::size_t question) {
  return question == rest.npos ? endpoint
                               : TakeOptions(std::move(endpoint), rest.substr(question + 1));
}

// "HOST:PORT", "[ADDRESS]:PORT".
Endpoint ParseTcp(std::string_view rest) {
  const std::size_t question = rest.find('?');
  const std::string_view address = rest.substr(0, question);
  const std::size_t colon = address.rfind(':');
  if (colon == address.npos || address.ends_with("]")) return Problem("it names no port");
  std::string_view host = address.substr(0, colon);
  if (host.starts_with("[") && host.ends_with("]")) {
    host = host.substr(1, host.size() - 2);
  } else if (host.find_first_of(":[]") != host.npos) {
    return Problem("an IPv6 address stands in brackets: tcp:[ADDRESS]:PORT");
  }
  Endpoint endpoint;
  endpoint.kind = EndpointKind::kTcp;
  endpoint.host = host;
  if (host.empty()) return Problem("it names no host");
  if (!ReadNumber<std::uint16_t>(address.substr(colon + 1), 65535, endpoint.port)) {
    return Problem("the port is no number from 1 to 65535");
  }
  return WithOptions(std::move(endpoint), rest, question);
}

Endpoint ParseSerial(std::string_view rest) {
  const std::size_t question = rest.find('?');
  Endpoint endpoint;
  endpoint.kind = EndpointKind::kSerial;
  endpoint.path = rest.substr(0, question);
  if (endpoint.path.empty()) return Problem("it names no path");
  return WithOptions(std::move(endpoint), rest, question);
}

struct Scheme {
  std::string_view name;
  Endpoint (*parse)(std::string_view rest);  // a problem without the link's text
};

constexpr Scheme kSchemes[] = {
    {"exec:", ParseExec},
    {"unix:", ParseUnix},
    {"tcp:", ParseTcp},
    {"serial:", ParseSerial},
};

}  // namespace

Endpoint ParseEndpoint(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    return Problem("the link's text has a zero character in it");
  }
  if (text.empty()) return Problem("no link is set: " + std::string(kForms));
  const std::string link = "link \"" + std::string(text) + "\"";
  for (const Scheme& scheme : kSchemes) {
    if (!text.starts_with(scheme.name)) continue;
    Endpoint endpoint = scheme.parse(text.substr(scheme.name.size()));
    if (!endpoint.problem.empty()) endpoint.problem = link + ": " + endpoint.problem;
    endpoint.text = text;
    return endpoint;
  }
  return Problem(link + " is of no known kind: " + std::string(kForms));
}

std::string EndpointProblem(std::string_view text) { return ParseEndpoint(text).problem; }

}  // namespace devlink
