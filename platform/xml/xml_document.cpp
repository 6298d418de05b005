#include "platform/xml/xml_document.h"

#include "platform/xml/well_formed.h"

namespace xml_document {
namespace {

constexpr unsigned kParseFlags = pugi::parse_default | pugi::parse_comments | pugi::parse_pi;
constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Collects what the engine writes.
class TextWriter final : public pugi::xml_writer {
 public:
  explicit TextWriter(std::string text) : text_(std::move(text)) {}
  void write(const void* data, std::size_t size) override {
    text_.append(static_cast<const char*>(data), size);
  }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

ParseResult Broken(std::size_t line, const std::string& reason) {
  return {Outcome::kBroken, "line " + std::to_string(line) + ": " + reason};
}

ParseResult ParseSound(std::string_view bytes, std::string_view rootTag,
                       pugi::xml_document& document) {
  const pugi::xml_parse_result parsed =
      document.load_buffer(bytes.data(), bytes.size(), kParseFlags, pugi::encoding_utf8);
  if (parsed.status == pugi::status_out_of_memory) return {Outcome::kNoMemory, {}};
  if (!parsed) return Broken(1, parsed.description());
  if (document.document_element().name() == rootTag) return {};
  return Broken(1, "the root is not \"" + std::string(rootTag) + "\"");
}

}  // namespace

ParseResult Parse(std::string_view bytes, std::string_view rootTag, pugi::xml_document& document) {
  document.reset();
  if (bytes.size() > kMaxBytes) return {Outcome::kBroken, "more than 16 MiB"};
  if (const auto fault = well_formed::FindFault(bytes)) return Broken(fault->line, fault->reason);
  const ParseResult result = ParseSound(bytes, rootTag, document);
  if (result.outcome != Outcome::kSound) document.reset();
  return result;
}

std::string Serialise(const pugi::xml_document& document) {
  TextWriter writer(kDeclaration);
  document.save(writer, "  ", pugi::format_indent | pugi::format_no_declaration,
                pugi::encoding_utf8);
  return writer.Take();
}

std::string Serialise(pugi::xml_node node) {
  TextWriter writer({});
  node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
  return writer.Take();
}

}  // namespace xml_document
