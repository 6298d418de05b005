// CTransferProfile: transfer statistics of one client.
//
// Threads: the counters may be raised and read from any thread.
// Owns: a profile belongs to the platform from TpfClientInstall to TpfClientUnInstall; a client
// only borrows the pointer. A profile stays readable until the process ends, because the link's
// thread may still hold the pointer when it is uninstalled.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/platform_export.h"

// Counts of packets and bytes in both directions, since the profile was installed.
class KIVPLATFORM_API CTransferProfile {
 public:
  void IncTxSize(std::uint32_t count, std::uint32_t lengthBytes) noexcept;
  void IncRecvSize(std::uint32_t count, std::uint32_t lengthBytes) noexcept;

  std::uint64_t TxCount() const noexcept { return txCount_.load(std::memory_order_relaxed); }
  std::uint64_t TxBytes() const noexcept { return txBytes_.load(std::memory_order_relaxed); }
  std::uint64_t RecvCount() const noexcept { return recvCount_.load(std::memory_order_relaxed); }
  std::uint64_t RecvBytes() const noexcept { return recvBytes_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::uint64_t> txCount_{0}, txBytes_{0}, recvCount_{0}, recvBytes_{0};
};

// Fills `profile` with a fresh profile registered under channel and UE id; 0 on success, 500
// without memory (`profile` is then null).
KIVPLATFORM_API std::uint32_t TpfClientInstall(std::atomic<CTransferProfile*>& profile,
                                               std::uint32_t channel, std::uint32_t ueId);
// Takes the profile out of the register and sets `profile` to null; a null one is left alone.
KIVPLATFORM_API std::uint32_t TpfClientUnInstall(std::atomic<CTransferProfile*>& profile);
// The profile installed last under channel and UE id, for a host that shows statistics; null when
// none is.
KIVPLATFORM_API const CTransferProfile* TpfFind(std::uint32_t channel, std::uint32_t ueId);
