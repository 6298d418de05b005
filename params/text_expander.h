// TextExpander: replaces every "$(T<path)" of a line by the content of the text file it names,
// references inside inserted texts too.
//
// The result is that of starting again at the line's beginning after each replacement, and is
// reached in one pass: what stands in front of the insertion holds no tag any more, and the part of
// it that inserted text may complete to one is still at the end of the output when the inserted
// text arrives. Each file is read once.
//
// A reference whose tag lies inside text that came from the same file, directly or through other
// files, would never end: it fails like a file that cannot be opened, and so does a line beyond
// kMaxLineChars or with more than kMaxReferences.
//
// Threads: one object for one thread, for one line. Owns the files' contents.
// Errors: Run answers false, with `errorText` set; the line is then as it was.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

// Replaces text-file references in one pass, and finds files that name themselves.
class TextExpander {
 public:
  // Both are borrowed until Run has returned.
  TextExpander(std::wstring& line, QCString& errorText) : line_(line), errorText_(errorText) {}

  bool Run();

 private:
  static constexpr std::size_t kNoSpan = static_cast<std::size_t>(-1);

  // A text that stands in the line: the typed one or what one reference brought in.
  struct Span {
    std::wstring_view rest;    // not yet in the output
    std::size_t outStart;      // where its first character is in the output
    const std::wstring* file;  // entry of files_; null for the typed line
    std::size_t parent;        // the span in which its reference's tag stands
  };

  bool Expand(std::size_t tagAt);
  std::size_t SpanAt(std::size_t outIndex) const;
  bool TakePath(std::wstring& path);
  void CutOutput(std::size_t tagAt);
  const std::wstring* ContentOf(const std::wstring& path);
  bool IsInside(std::size_t span, const std::wstring* file) const;

  std::wstring& line_;
  QCString& errorText_;
  std::wstring out_;
  std::vector<Span> spans_;        // all that ever were
  std::vector<std::size_t> open_;  // those with a rest, innermost last
  std::size_t lineChars_ = 0;      // of the whole line as it now reads
  std::size_t references_ = 0;     // replaced so far
  std::map<std::wstring, std::wstring> files_;
};

}  // namespace SvcKivClass
