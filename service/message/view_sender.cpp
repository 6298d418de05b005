#include "service/message/view_sender.h"

#include <atomic>

#include "platform/bounded/pool.h"

namespace SvcKivClass {
namespace {

std::atomic<SvcKivSpace::SvcKivMessage*> g_sender{nullptr};

}  // namespace

void SetViewSender(SvcKivSpace::SvcKivMessage* sender) {
  g_sender.store(sender, std::memory_order_release);
}

bool SendOwned(SvcKivSpace::SvcKivMsgType kind, void* payload) {
  SvcKivSpace::SvcKivMessage* const sender = g_sender.load(std::memory_order_acquire);
  if (sender != nullptr && sender->SVCSendToReceiver(kind, payload)) return true;
  PoolFree(payload);
  return false;
}

void SendBorrowed(SvcKivSpace::SvcKivMsgType kind, void* payload) {
  SvcKivSpace::SvcKivMessage* const sender = g_sender.load(std::memory_order_acquire);
  if (sender != nullptr) sender->SVCSendMessage(kind, payload);
}

}  // namespace SvcKivClass
