#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "platform/os/open_file.h"
#include "platform/os/paths.h"
#include "platform/text/qc_file.h"

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kLineLimitBytes = std::size_t{256} * 1024 * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

// Hands out raw lines from chunks of the file.
struct QCStdioFile::Reader {
  explicit Reader(std::FILE* openFile) : file(openFile), chunk(kChunkBytes) {}

  // Fetches the next chunk when the last one is used up; false at the end and on an error.
  bool Fill() {
    if (used < filled) return true;
    used = 0;
    filled = std::fread(chunk.data(), 1, chunk.size(), file.get());
    error = std::ferror(file.get()) != 0 ? errno : 0;
    if (atStart && std::string_view(chunk.data(), filled).starts_with(kByteOrderMark)) {
      used = kByteOrderMark.size();
    }
    atStart = false;
    return used < filled;
  }

  // Moves what is there of the line into `line`; true when its line feed was met.
  bool TakePart(std::string& line) {
    const char* start = chunk.data() + used;
    const std::size_t left = filled - used;
    const auto* end = static_cast<const char*>(std::memchr(start, '\n', left));
    const std::size_t partBytes = end != nullptr ? static_cast<std::size_t>(end - start) : left;
    line.append(start, partBytes);
    used += partBytes + (end != nullptr ? 1 : 0);
    return end != nullptr;
  }

  // The next line without its "\n" or "\r\n"; false when there is none. A "\r" at the file's end
  // stays.
  bool NextLine(std::string& line) {
    line.clear();
    bool any = false;
    while (Fill()) {
      any = true;
      if (TakePart(line)) {
        if (line.ends_with('\r')) line.pop_back();
        return true;
      }
      if (line.size() > kLineLimitBytes) error = EFBIG;
      if (error != 0) return false;
    }
    return any && error == 0;
  }

  std::unique_ptr<std::FILE, FileCloser> file;
  std::vector<char> chunk;
  std::size_t used = 0;
  std::size_t filled = 0;
  std::string line;
  bool atStart = true;
  int error = 0;
};

QCStdioFile::QCStdioFile() = default;
QCStdioFile::~QCStdioFile() = default;

bool QCStdioFile::OpenRead(const QCString& path) {
  Close();
  std::FILE* file = os::OpenFile(os::MapPath(path.view()), "rt");
  lastError_ = file != nullptr ? 0 : errno;
  if (file != nullptr) reader_ = std::make_unique<Reader>(file);
  return file != nullptr;
}

bool QCStdioFile::ReadString(QCString& line) {
  line.Empty();
  lastError_ = reader_ != nullptr ? 0 : EBADF;
  if (reader_ == nullptr) return false;
  const bool isLine = reader_->NextLine(reader_->line);
  lastError_ = reader_->error;
  if (!isLine) return false;
  line = QCString::FromUtf8(reader_->line);
  return true;
}

void QCStdioFile::Close() { reader_.reset(); }
