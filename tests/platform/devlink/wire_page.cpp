#include "tests/platform/devlink/wire_page.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/support/tree_paths.h"

namespace linktest {

namespace {

using Fields = std::map<std::string, std::string>;

// "key: value" lines; a line that begins with blanks goes on with the one before.
Fields ReadBlock(std::istream& page) {
  Fields fields;
  std::string key;
  for (std::string line; std::getline(page, line) && line != "```";) {
    if (line.starts_with(" ")) {
      fields[key] += " " + line;
      continue;
    }
    const std::size_t colon = line.find(':');
    key = line.substr(0, colon);
    fields[key] = line.substr(colon + 1);
  }
  return fields;
}

std::uint32_t Number(const Fields& fields, const std::string& key, std::uint32_t fallback = 0) {
  const auto field = fields.find(key);
  if (field == fields.end()) return fallback;
  return static_cast<std::uint32_t>(std::stoul(field->second, nullptr, 0));
}

WireExample ToExample(const std::string& name, const Fields& fields) {
  WireExample example;
  example.name = name;
  example.fromHost = fields.at("from") == " host";
  example.line = FromHex(fields.at("line"));
  NaiveFrame& frame = example.frame;
  frame.payload = FromHex(fields.at("body"));
  frame.kind = static_cast<std::uint8_t>(Number(fields, "kind"));
  frame.flags = static_cast<std::uint8_t>(Number(fields, "flags"));
  frame.id = Number(fields, "id");
  frame.tag = static_cast<std::uint16_t>(Number(fields, "tag"));
  frame.word16 = static_cast<std::uint16_t>(Number(fields, "word16"));
  frame.word32 = Number(fields, "word32");
  frame.result = Number(fields, "result");
  frame.sequence = Number(fields, "sequence");
  frame.length = Number(fields, "length", static_cast<std::uint32_t>(frame.payload.size()));
  frame.offset = Number(fields, "offset");
  return example;
}

WireStream ToStream(const std::string& name, const Fields& fields) {
  WireStream stream;
  stream.name = name;
  stream.line = FromHex(fields.at("line"));
  std::istringstream names(fields.at("gives"));
  for (std::string given; names >> given;) stream.gives.push_back(given);
  stream.damaged = Number(fields, "damaged");
  stream.stray = Number(fields, "stray");
  stream.malformed = Number(fields, "malformed");
  return stream;
}

WirePage Read() {
  WirePage read;
  std::ifstream page(std::string(kivtest::SourceDir()) + "/docs/wire-format.md");
  for (std::string line; std::getline(page, line);) {
    std::istringstream words(line);
    std::string fence, name;
    words >> fence >> name;
    if (fence == "```example") read.examples.push_back(ToExample(name, ReadBlock(page)));
    if (fence == "```stream") read.streams.push_back(ToStream(name, ReadBlock(page)));
  }
  return read;
}

}  // namespace

const WireExample& WirePage::Example(const std::string& name) const {
  for (const WireExample& example : examples) {
    if (example.name == name) return example;
  }
  throw std::runtime_error("the wire page has no example " + name);
}

const WirePage& TheWirePage() {
  static const WirePage page = Read();
  return page;
}

}  // namespace linktest
