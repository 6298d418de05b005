// TcpOpener: connects to a TCP port: finds the host's addresses, tries one after the other, shows
// the token.
//
// Threads: the link's. Errors: one line; an attempt ends by LinkTiming::connectWait at the latest.
#pragma once

#include <memory>

#include "platform/devlink/transport.h"

namespace devlink {

// Opens tcp: endpoints. Nothing of it blocks.
class TcpOpener : public TransportOpener {
 public:
  TcpOpener(asio::io_context& io, const Endpoint& endpoint);
  ~TcpOpener() override;

  void Open(Handler handler) override;

 private:
  class Attempt;
  std::shared_ptr<Attempt> attempt_;
};

}  // namespace devlink
