#include "platform/xml/untold_notice.h"

#include <algorithm>
#include <cstddef>

#include "platform/os/safe_file.h"

namespace {

constexpr std::size_t kMaxBytes = 16 * 1024;
constexpr const char* kBeginning = "*** ";

// One line of text that begins as all of them do.
bool IsNotice(const std::string& text) {
  const auto isControl = [](char ch) {
    return static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F;
  };
  return text.starts_with(kBeginning) && std::none_of(text.begin(), text.end(), isControl);
}

}  // namespace

std::string UntoldNotice::Read() const {
  std::string text;
  if (os::ReadRegularFile(path_, kMaxBytes, text) != 0) return {};
  return text;
}

std::string UntoldNotice::Left() {
  const std::string text = Read();
  if (!IsNotice(text)) return {};
  return mine_ = text;
}

void UntoldNotice::Keep(const std::string& text) {
  const std::string before = Read();
  if (!before.empty() && !IsNotice(before)) return;  // somebody's own file
  if (before.find(text) != std::string::npos) {
    mine_ = before;
    return;
  }
  mine_ = before.empty() ? text : before + " " + text;
  os::WriteFileSafely(path_, mine_, os::NewFileRights::kOwnerOnly);
}

void UntoldNotice::Forget() {
  if (mine_.empty()) return;
  if (Read() == mine_) os::RemoveFile(path_);
  mine_.clear();
}
