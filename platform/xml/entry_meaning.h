// EntryMeaning: what the entries of a list say, however they are spelt.
//
// Two spellings of one entry have the same text here: an attribute that is empty and one that is
// missing, and what the reader of the list makes of it (xml_config::StoredAs).
//
// Threads: one. Borrows the reader. Errors: std::bad_alloc.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

#include "platform/xml/xml_config.h"

// Asked for the children of one list, in their order.
class EntryMeaning {
 public:
  EntryMeaning(const xml_config::StoredAs& storedAs, std::string listTagPath)
      : storedAs_(storedAs), listTagPath_(std::move(listTagPath)) {}

  // Unset for what the reader does not take, and for comments; a taken entry that says nothing has
  // its tag alone.
  std::optional<std::string> Of(pugi::xml_node entry);
  // As Of, but what is not taken is told by how it stands in the file.
  std::string KeyOf(pugi::xml_node entry);

  // Of a whole list. Entries at its end that say nothing are as good as none.
  static std::string OfList(const xml_config::StoredAs& storedAs, const std::string& listTagPath,
                            const std::vector<pugi::xml_node>& entries);

 private:
  const xml_config::StoredAs& storedAs_;
  std::string listTagPath_;
  std::map<std::string, std::size_t> positions_;  // the next of each tag
};
