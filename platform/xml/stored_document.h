// StoredDocument: what stands in a file that should hold a document.
//
// Threads: one. Owns the document. Errors: told by its kind.
#pragma once

#include <pugixml.hpp>
#include <string>

// A value that moves; made by Read.
struct StoredDocument {
  enum class Kind {
    kMissing,     // no such file
    kSound,       // `bytes` and `document` are set
    kBroken,      // not a document within the limits; `problem` says why
    kUnreadable,  // rights, I/O, memory, not a regular file; `error` is the system's number, and
                  // `problem` what it befell when that is not the file itself
  };

  Kind kind = Kind::kMissing;
  std::string bytes;
  std::string problem;
  int error = 0;
  pugi::xml_document document;

  static StoredDocument Read(const std::string& mappedPath, const std::string& rootTag);
  // As if they had been read from a file.
  static StoredDocument OfText(std::string bytes, const std::string& rootTag);
  static StoredDocument Of(pugi::xml_document document);
};
