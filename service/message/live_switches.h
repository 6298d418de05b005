// LiveSwitches: the few values that the facade's thread sets and the link's receive thread reads.
// They exist once, here; the application object owns the block, the settings object and the
// exported record reach into it by get and set, never by copy, so a host's store is seen by the
// next reply.
//
// Threads: every field may be read and written from any thread; the order between fields does not
// matter.
#pragma once

#include <atomic>
#include <cstdint>

namespace SvcKivClass {

// One block for the whole module, owned by the application object.
struct LiveSwitches {
  std::atomic<std::int32_t> ueConnectStatus{0};
  std::atomic<bool> hexadecimal{false};
  std::atomic<bool> instantInd{false};
  // The three that belong to the settings; off while no settings object exists.
  std::atomic<std::int32_t> oneLineArrays{0};
  std::atomic<std::int32_t> showType{0};
  std::atomic<std::int32_t> indicationsEnabled{0};

  bool IsUeConnected() const noexcept {
    return ueConnectStatus.load(std::memory_order_relaxed) != 0;
  }
  void ResetSettings() noexcept {
    oneLineArrays.store(0, std::memory_order_relaxed);
    showType.store(0, std::memory_order_relaxed);
    indicationsEnabled.store(0, std::memory_order_relaxed);
  }
};

}  // namespace SvcKivClass
