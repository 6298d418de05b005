#include "params/text_expander.h"

#include <utility>

#include "params/line_files.h"
#include "params/params_texts.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

constexpr std::wstring_view kTag = L"$(T<";

}  // namespace

bool TextExpander::Run() {
  if (line_.find(kTag) == std::wstring::npos) return true;
  lineChars_ = line_.size();
  spans_.push_back({line_, 0, nullptr, kNoSpan});
  open_.push_back(0);
  while (!open_.empty()) {
    std::wstring_view& rest = spans_[open_.back()].rest;
    const std::size_t tagEnd = rest.find(kTag.back());
    if (tagEnd == std::wstring_view::npos) {
      out_.append(rest);
      open_.pop_back();
      continue;
    }
    out_.append(rest.substr(0, tagEnd + 1));
    rest.remove_prefix(tagEnd + 1);
    if (out_.ends_with(kTag) && !Expand(out_.size() - kTag.size())) return false;
  }
  line_ = std::move(out_);
  return true;
}

// The output ends with a tag at `tagAt`: puts the file's text in place of the reference.
bool TextExpander::Expand(std::size_t tagAt) {
  const std::size_t tagSpan = SpanAt(tagAt);
  std::wstring path;
  if (!TakePath(path)) {
    errorText_ = Translated(texts::kTextFileTagOpen);
    return false;
  }
  CutOutput(tagAt);
  const std::wstring* const content = ContentOf(path);
  if (content == nullptr) return false;
  lineChars_ += content->size();
  lineChars_ -= kTag.size() + path.size() + 1;
  if (IsInside(tagSpan, content) || lineChars_ > kMaxLineChars || ++references_ > kMaxReferences) {
    errorText_ = FailedToOpenText(QCString(path));
    return false;
  }
  if (content->empty()) return true;
  spans_.push_back({*content, tagAt, content, tagSpan});
  open_.push_back(spans_.size() - 1);
  return true;
}

// The span of a character of the tag that was just completed. A tag may begin in front of the span
// that completes it; it then begins in the text around that span, since inserted text ends with a
// blank.
std::size_t TextExpander::SpanAt(std::size_t outIndex) const {
  std::size_t span = open_.back();
  while (spans_[span].outStart > outIndex) span = spans_[span].parent;
  return span;
}

// Takes everything up to the first ")" and that one off the unread text.
bool TextExpander::TakePath(std::wstring& path) {
  for (; !open_.empty(); open_.pop_back()) {
    std::wstring_view& rest = spans_[open_.back()].rest;
    const std::size_t pathEnd = rest.find(L')');
    path.append(rest.substr(0, pathEnd));
    if (pathEnd == std::wstring_view::npos) continue;
    rest.remove_prefix(pathEnd + 1);
    return true;
  }
  return false;
}

// Takes the tag off the output; what is left of the open spans now begins behind it.
void TextExpander::CutOutput(std::size_t tagAt) {
  out_.resize(tagAt);
  for (std::size_t i = open_.size(); i-- > 0 && spans_[open_[i]].outStart > tagAt;) {
    spans_[open_[i]].outStart = tagAt;
  }
}

const std::wstring* TextExpander::ContentOf(const std::wstring& path) {
  const auto known = files_.find(path);
  if (known != files_.end()) return &known->second;
  std::wstring content;
  if (!ReadTextFile(QCString(path), content, errorText_)) return nullptr;
  return &files_.emplace(path, std::move(content)).first->second;
}

bool TextExpander::IsInside(std::size_t span, const std::wstring* file) const {
  for (; span != kNoSpan; span = spans_[span].parent) {
    if (spans_[span].file == file) return true;
  }
  return false;
}

}  // namespace SvcKivClass
