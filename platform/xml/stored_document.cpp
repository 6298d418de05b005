#include "platform/xml/stored_document.h"

#include <cerrno>
#include <utility>

#include "platform/os/safe_file.h"
#include "platform/xml/xml_document.h"

namespace {

StoredDocument Unreadable(int error) {
  StoredDocument stored;
  stored.kind = StoredDocument::Kind::kUnreadable;
  stored.error = error;
  return stored;
}

StoredDocument Broken(std::string problem) {
  StoredDocument stored;
  stored.kind = StoredDocument::Kind::kBroken;
  stored.problem = std::move(problem);
  return stored;
}

}  // namespace

StoredDocument StoredDocument::Read(const std::string& mappedPath, const std::string& rootTag) {
  std::string bytes;
  const int error = os::ReadRegularFile(mappedPath, xml_document::kMaxBytes, bytes);
  if (error == ENOENT) return {};
  if (error == EFBIG) return Broken("more than 16 MiB");
  return error != 0 ? Unreadable(error) : OfText(std::move(bytes), rootTag);
}

StoredDocument StoredDocument::OfText(std::string bytes, const std::string& rootTag) {
  StoredDocument stored;
  auto parsed = xml_document::Parse(bytes, rootTag, stored.document);
  if (parsed.outcome == xml_document::Outcome::kNoMemory) return Unreadable(ENOMEM);
  if (parsed.outcome == xml_document::Outcome::kBroken) return Broken(std::move(parsed.reason));
  stored.kind = Kind::kSound;
  stored.bytes = std::move(bytes);
  return stored;
}

StoredDocument StoredDocument::Of(pugi::xml_document document) {
  StoredDocument stored;
  stored.kind = Kind::kSound;
  stored.bytes = xml_document::Serialise(document);
  stored.document = std::move(document);
  return stored;
}
