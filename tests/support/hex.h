// Bytes as hexadecimal text and back, so that a failing comparison can be read.
//
// Threads: any. Errors: FromHex takes an even number of hexadecimal digits and nothing else.
#ifndef TESTS_SUPPORT_HEX_H_
#define TESTS_SUPPORT_HEX_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kivtest {

inline std::string ToHex(const std::uint8_t* bytes, std::size_t lengthBytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < lengthBytes; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

inline std::string ToHex(const std::vector<std::uint8_t>& bytes) {
  return ToHex(bytes.data(), bytes.size());
}

inline std::vector<std::uint8_t> FromHex(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoul(std::string(text.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

}  // namespace kivtest

#endif  // TESTS_SUPPORT_HEX_H_
