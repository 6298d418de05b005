#include "platform/devlink/child_transport_posix.h"

#include <poll.h>

#include <asio/buffer.hpp>
#include <asio/error.hpp>

namespace devlink {

namespace {

// A longer line is handed over in pieces: a child cannot make us keep more.
constexpr std::size_t kLongestLineBytes = 4096;
constexpr int kAskAgainMs = 5;
// What a child may have left in the pipe when it ended; more is not waited for.
constexpr int kLastReads = 64;

}  // namespace

ChildTransport::ChildTransport(asio::io_context& io, ChildProcess process,
                               ChildProcess::Pipes pipes, ErrorLineHandler errorLine)
    : FdTransport(io, std::move(pipes.fromChild), std::move(pipes.toChild)),
      process_(std::move(process)),
      errors_(io),
      errorLine_(std::move(errorLine)) {
  errors_.assign(pipes.errorsFromChild.Get());  // may find no memory
  pipes.errorsFromChild.Release();
  errors_.non_blocking(true);
  ReadErrors();
}

ChildTransport::~ChildTransport() = default;

void ChildTransport::ReadErrors() {
  errors_.async_wait(asio::posix::descriptor_base::wait_read,
                     [this, alive = std::weak_ptr(alive_)](const asio::error_code& error) {
                       // A wait that was over before the close still gets here.
                       if (error == asio::error::operation_aborted || alive.expired()) return;
                       asio::error_code ended;
                       const std::size_t lengthBytes =
                           errors_.read_some(asio::buffer(buffer_), ended);
                       if (ended && ended != asio::error::would_block) return;
                       TakeErrors({buffer_.data(), lengthBytes});
                       ReadErrors();
                     });
}

void ChildTransport::TakeErrors(std::string_view text) {
  for (const char ch : text) {
    if (ch == '\n') {
      EndLine();
      continue;
    }
    line_ += ch;
    if (line_.size() >= kLongestLineBytes) EndLine();
  }
}

void ChildTransport::EndLine() {
  if (!line_.empty() && line_.back() == '\r') line_.pop_back();
  errorLine_(line_);
  line_.clear();
}

// Without waiting.
void ChildTransport::TakeWhatIsThere() {
  for (int i = 0; i < kLastReads; ++i) {
    asio::error_code error;
    const std::size_t lengthBytes = errors_.read_some(asio::buffer(buffer_), error);
    if (error) return;
    TakeErrors({buffer_.data(), lengthBytes});
  }
}

std::string ChildTransport::End(const KeepWaiting& keepWaiting) {
  // A child that reads sees the end of its input, one that writes a closed pipe.
  FdTransport::End(keepWaiting);
  while (!process_.HasEnded()) {
    if (!keepWaiting()) {
      process_.Kill();
      break;
    }
    pollfd entry = {errors_.native_handle(), POLLIN, 0};
    ::poll(&entry, 1, kAskAgainMs);
    if ((entry.revents & POLLIN) != 0) TakeWhatIsThere();
    if (entry.revents != 0 && (entry.revents & POLLIN) == 0) ::poll(nullptr, 0, kAskAgainMs);
  }
  TakeWhatIsThere();
  if (!line_.empty()) EndLine();
  alive_.reset();
  asio::error_code ignored;
  errors_.close(ignored);
  return process_.EndText();
}

}  // namespace devlink
