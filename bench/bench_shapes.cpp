#include "bench/bench_shapes.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace bench_shapes {
namespace {

// Numbers of mixed lengths, the same in every run.
class Values {
 public:
  std::int64_t Next(std::uint32_t widthBytes, bool isSigned) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    // As many bits as come up: short numbers are as common as long ones, as in real parameters.
    const std::uint32_t bits = 8 * widthBytes - (isSigned ? 1 : 0);
    const std::uint32_t kept = 1 + static_cast<std::uint32_t>(state_ >> 59) % bits;
    const auto magnitude = static_cast<std::int64_t>((state_ >> 20) & ((1ull << kept) - 1));
    return isSigned && (state_ >> 40 & 1) != 0 ? -magnitude : magnitude;
  }

 private:
  std::uint64_t state_ = 20261;
};

// Writes one set of values three times at once: as typed, for the peer, and packed.
class Writer {
 public:
  Writer(Set& set, Values& values) : set_(set), values_(values) {}

  std::size_t Count() const { return count_; }

  void Value(std::string_view name, std::uint32_t widthBytes, bool isSigned) {
    Name(name);
    Number(widthBytes, isSigned);
  }
  void Table(std::string_view name, std::size_t count) {
    Name(name);
    Both("[");
    first_ = true;
    for (std::size_t i = 0; i < count; ++i) {
      if (!first_) Both(",");
      first_ = false;
      Number(2, false);
    }
    Both("]");
  }
  void Part(std::string_view prefix) {
    const std::string start(prefix);
    Value(start + "id", 1, false);
    Value(start + "gain", 1, true);
    Value(start + "start", 2, false);
    Value(start + "shift", 2, true);
    Value(start + "rate_hz", 4, false);
    Value(start + "error", 4, true);
    Value(start + "count", 2, false);
    Value(start + "total", 4, false);
  }
  void Leg() {
    Value("number", 1, false);
    Value("x", 2, true);
    Value("y", 2, true);
    Value("weight", 4, false);
  }
  void Open(std::string_view name) {
    Name(name, false);
    Both("{");
    first_ = true;
  }
  void Close() {
    Both("}");
    first_ = false;
  }
  // Braces that only the typed line has.
  void Brace(wchar_t brace) {
    if (brace == L'{' && !first_) set_.line += L',';
    set_.line += brace;
    first_ = brace == L'{';
  }

 private:
  void Name(std::string_view name, bool isValue = true) {
    if (!first_) set_.line += L',';
    if (!set_.peerLine.empty()) set_.peerLine += ' ';
    first_ = false;
    set_.peerLine += name;
    if (isValue) set_.peerLine += ':';
  }
  void Both(std::string_view text) {
    set_.line.append(text.begin(), text.end());
    set_.peerLine += text;
  }
  void Number(std::uint32_t widthBytes, bool isSigned) {
    const std::int64_t value = values_.Next(widthBytes, isSigned);
    Both(std::to_string(value));
    for (std::uint32_t i = 0; i < widthBytes; ++i) {
      set_.body.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    ++count_;
  }

  Set& set_;
  Values& values_;
  bool first_ = true;
  std::size_t count_ = 0;
};

void WriteSmall(Writer& to) {
  to.Value("state", 1, false);
  to.Value("level", 1, true);
  to.Value("channel", 2, false);
  to.Value("offset", 2, true);
  to.Value("frequency_hz", 4, false);
  to.Value("drift_ppb", 4, true);
}

void WriteMedium(Writer& to) {
  to.Brace(L'{');
  for (const char* prefix : {"first_", "second_", "third_"}) to.Part(prefix);
  for (const char* name : {"left", "right"}) {
    to.Open(name);
    to.Part("");
    to.Close();
  }
  to.Brace(L'{');
  for (std::size_t i = 0; i < kMediumLegs; ++i) {
    to.Open("legs");
    to.Leg();
    to.Close();
  }
  to.Brace(L'}');
  to.Table("table", kMediumTable);
  to.Brace(L'}');
}

void WriteLarge(Writer& to) {
  to.Brace(L'{');
  to.Brace(L'{');
  for (std::size_t i = 0; i < kLargeGroups; ++i) {
    to.Open("groups");
    to.Part("");
    to.Close();
  }
  to.Brace(L'}');
  to.Brace(L'}');
}

void WriteArray(Writer& to) { to.Table("table", kArrayTable); }

std::array<Sample, 4> MakeSamples() {
  std::array<Sample, 4> samples{{{"small", 0x2001, 0, {}},
                                 {"medium", 0x2002, 0, {}},
                                 {"large", 0x2003, 0, {}},
                                 {"array", 0x2004, 0, {}}}};
  constexpr void (*kWriters[])(Writer&) = {WriteSmall, WriteMedium, WriteLarge, WriteArray};
  Values values;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    for (Set& set : samples[i].sets) {
      Writer writer(set, values);
      kWriters[i](writer);
      samples[i].values = writer.Count();
    }
  }
  return samples;
}

// A folder under the system's temporary one.
class Scratch {
 public:
  Scratch() {
    path_ = (std::filesystem::temp_directory_path() / "kivbench-XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

const Sample& SampleOf(Shape shape) {
  static const std::array<Sample, 4> samples = MakeSamples();
  return samples[static_cast<std::size_t>(shape)];
}

std::string CataloguePath() { return KIV_BENCH_CATALOGUE; }
std::string LargeCataloguePath() { return KIV_LARGE_CATALOGUE; }

const std::string& ScratchFolder() {
  static const Scratch scratch;
  return scratch.Path();
}

}  // namespace bench_shapes
