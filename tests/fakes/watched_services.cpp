// The platform's real services with a watch in front. The linker turns every call of them into a
// call of the function here (--wrap, see CMakeLists.txt) and offers the real one under its __real_
// name.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/base/transfer_profile.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/os/time_thread.h"
#include "tests/fakes/seam_state.h"

#define WATCHED(symbol) __asm__("__wrap_" symbol)
#define REAL(symbol) __asm__("__real_" symbol)

#define SLEEP "_Z5Sleepj"
#define INSTALL "_Z16TpfClientInstallRSt6atomicIP16CTransferProfileEjj"
#define UNINSTALL "_Z18TpfClientUnInstallRSt6atomicIP16CTransferProfileE"
#define ENUM_COMMANDS "_ZN12CCmdDatabase12EnumCommandsER6QCListI7CmdInfoEjjjj"

void WatchedSleep(DWORD delayMs) WATCHED(SLEEP);
std::uint32_t RealInstall(std::atomic<CTransferProfile*>& profile, std::uint32_t channel,
                          std::uint32_t ueId) REAL(INSTALL);
std::uint32_t WatchedInstall(std::atomic<CTransferProfile*>& profile, std::uint32_t channel,
                             std::uint32_t ueId) WATCHED(INSTALL);
std::uint32_t RealUnInstall(std::atomic<CTransferProfile*>& profile) REAL(UNINSTALL);
std::uint32_t WatchedUnInstall(std::atomic<CTransferProfile*>& profile) WATCHED(UNINSTALL);
// A member function, with its object as the first argument.
std::uint32_t RealEnumCommands(CCmdDatabase* self, QCList<CmdInfo>& list, std::uint32_t scopeMask,
                               std::uint32_t channel, std::uint32_t reserved1,
                               std::uint32_t reserved2) REAL(ENUM_COMMANDS);
std::uint32_t WatchedEnumCommands(CCmdDatabase* self, QCList<CmdInfo>& list,
                                  std::uint32_t scopeMask, std::uint32_t channel,
                                  std::uint32_t reserved1, std::uint32_t reserved2)
    WATCHED(ENUM_COMMANDS);

extern "C" {
void* __real_PoolMalloc(std::size_t sizeBytes);  // NOLINT(bugprone-reserved-identifier)
void* __wrap_PoolMalloc(std::size_t sizeBytes);  // NOLINT(bugprone-reserved-identifier)
void __real_PoolFree(void* block);               // NOLINT(bugprone-reserved-identifier)
void __wrap_PoolFree(void* block);               // NOLINT(bugprone-reserved-identifier)
}

namespace {

std::string Join(std::uint32_t a, std::uint32_t b) {
  return std::to_string(a) + ", " + std::to_string(b);
}

bool PoolIsRecorded() {
  std::lock_guard lock(fake::Seam().mutex);
  return fake::Seam().recordPool;
}

}  // namespace

// Does not wait: pauses are counted.
void WatchedSleep(DWORD delayMs) { fake::Step("Sleep", std::to_string(delayMs)); }

std::uint32_t WatchedInstall(std::atomic<CTransferProfile*>& profile, std::uint32_t channel,
                             std::uint32_t ueId) {
  const std::uint32_t status = fake::Step("TpfClientInstall", Join(channel, ueId));
  return status != 0 ? status : RealInstall(profile, channel, ueId);
}

std::uint32_t WatchedUnInstall(std::atomic<CTransferProfile*>& profile) {
  const std::uint32_t status = fake::Step("TpfClientUnInstall", "");
  return status != 0 ? status : RealUnInstall(profile);
}

std::uint32_t WatchedEnumCommands(CCmdDatabase* self, QCList<CmdInfo>& list,
                                  std::uint32_t scopeMask, std::uint32_t channel,
                                  std::uint32_t reserved1, std::uint32_t reserved2) {
  const std::uint32_t status =
      fake::Step("EnumCommands", Join(scopeMask, channel) + ", " + Join(reserved1, reserved2));
  return status != 0 ? status
                     : RealEnumCommands(self, list, scopeMask, channel, reserved1, reserved2);
}

void* __wrap_PoolMalloc(std::size_t sizeBytes) {
  if (PoolIsRecorded()) fake::Step("PoolMalloc", std::to_string(sizeBytes));
  return __real_PoolMalloc(sizeBytes);
}

void __wrap_PoolFree(void* block) {
  if (PoolIsRecorded()) fake::Step("PoolFree", block == nullptr ? "null" : "");
  __real_PoolFree(block);
}
