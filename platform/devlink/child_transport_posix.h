// ChildTransport: a transport over the standard streams of a child process, whose standard error
// becomes lines for the host.
//
// Threads and errors: as transport.h says. Owns the process: End waits for it or kills it.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "platform/devlink/child_process_posix.h"
#include "platform/devlink/fd_transport_posix.h"

namespace devlink {

// A link over the pipes of a child process.
class ChildTransport : public FdTransport {
 public:
  ChildTransport(asio::io_context& io, ChildProcess process, ChildProcess::Pipes pipes,
                 ErrorLineHandler errorLine);
  ~ChildTransport() override;

  std::string End(const KeepWaiting& keepWaiting) override;

 private:
  void ReadErrors();
  void TakeErrors(std::string_view text);
  void TakeWhatIsThere();
  void EndLine();

  ChildProcess process_;
  asio::posix::stream_descriptor errors_;
  ErrorLineHandler errorLine_;
  std::string line_;  // what came since the last line end
  std::array<char, 4096> buffer_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // until End
};

}  // namespace devlink
