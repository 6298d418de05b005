#include "hosts/terminal/line_source.h"

#include <algorithm>

#include "platform/os/utf8.h"

namespace kiv {

void LineSource::Add(std::string_view bytes) {
  if (from_ > 0) {
    pending_.erase(0, from_);
    searched_ -= from_;
    from_ = 0;
  }
  pending_ += bytes;
}

bool LineSource::Next(Line& line) {
  const std::size_t end = pending_.find('\n', searched_);
  if (end != std::string::npos) {
    Cut(end - from_, line);
    from_ = searched_ = end + 1;
    return true;
  }
  searched_ = pending_.size();
  if (searched_ - from_ > kLimitBytes) {
    skipping_ = true;
    from_ = searched_;
  }
  if (!ended_ || (from_ == searched_ && !skipping_)) return false;
  Cut(searched_ - from_, line);
  from_ = searched_;
  return true;
}

void LineSource::Cut(std::size_t lengthBytes, Line& line) {
  std::string_view text(pending_.data() + from_, lengthBytes);
  line.number = ++number_;
  line.isOfKey = false;
  line.tooLong = skipping_ || text.size() > kLimitBytes;
  skipping_ = false;
  line.text.clear();
  if (line.tooLong) return;
  if (text.ends_with('\r')) text.remove_suffix(1);
  if (line.number == 1 && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  line.text = os::Utf8ToWide(text);
  std::replace(line.text.begin(), line.text.end(), L'\0', static_cast<wchar_t>(0xFFFD));
}

}  // namespace kiv
