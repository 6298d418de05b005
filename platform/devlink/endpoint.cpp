#include "platform/devlink/endpoint.h"

#include <optional>

namespace devlink {

namespace {

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
    return Problem("link \"exec:" + std::string(rest) + "\": " + splitter.Problem());
  }
  if (endpoint.arguments.empty() || endpoint.arguments.front().empty()) {
    return Problem("link \"exec:" + std::string(rest) + "\" names no program");
  }
  endpoint.kind = EndpointKind::kExec;
  return endpoint;
}

Endpoint ParseUnix(std::string_view rest) {
  if (rest.empty()) return Problem("link \"unix:\" names no path");
  Endpoint endpoint;
  endpoint.kind = EndpointKind::kUnix;
  endpoint.path = rest;
  return endpoint;
}

struct Scheme {
  std::string_view name;
  Endpoint (*parse)(std::string_view rest);
};

constexpr Scheme kSchemes[] = {
    {"exec:", ParseExec},
    {"unix:", ParseUnix},
};

}  // namespace

Endpoint ParseEndpoint(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    return Problem("the link's text has a zero character in it");
  }
  for (const Scheme& scheme : kSchemes) {
    if (text.starts_with(scheme.name)) return scheme.parse(text.substr(scheme.name.size()));
  }
  if (text.empty()) return Problem("no link is set: use exec:PROGRAM ARG... or unix:PATH");
  return Problem("link \"" + std::string(text) +
                 "\" is of no known kind: use exec:PROGRAM ARG... or unix:PATH");
}

}  // namespace devlink
