// IniDocument: the text of an ini file, with single values read and changed in place.
//
//   ; a comment            kept as it is, like every line that is not understood
//   [section]              what stands behind "]" is ignored
//   key = value            blanks around key and value do not count; one pair of quotation marks
//   key = "value"          around the value is dropped when it is read
//
// Sections and keys are compared without regard to case (Unicode's simple mapping). A section that
// stands several times counts as one; of a key that stands several times the first one holds. Lines
// that are not touched keep every byte; a new line ends as the first line of the file does. Bytes
// are UTF-8; a byte order mark is kept.
//
// Threads: a value type. Owns its text. Errors: none but std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace os {

// An ini file in memory with its comments and foreign keys where they were.
class IniDocument {
 public:
  IniDocument() = default;
  explicit IniDocument(std::string_view text);

  // Unset when section or key is not there.
  std::optional<std::string> Get(std::string_view section, std::string_view key) const;
  // Changes the value, or adds it behind the last line of its section (at the end of the file in a
  // new section when there is none). The value is written as it is.
  void Set(std::string_view section, std::string_view key, std::string_view value);
  // Removing what is not there changes nothing.
  void Remove(std::string_view section, std::string_view key);
  void RemoveSection(std::string_view section);
  // The whole text as it goes into the file.
  std::string Text() const;

 private:
  // Index of the key's line; lines_.size() when it is not there.
  std::size_t FindKey(std::string_view section, std::string_view key) const;
  // Index behind the last line with content of the section's first stretch; 0 when there is none.
  std::size_t EndOfSection(std::string_view section) const;
  void InsertLine(std::size_t index, const std::string& content);

  std::vector<std::string> lines_;  // each with its own line end; the last may have none
  std::string lineEnd_ = "\n";
};

}  // namespace os
