// The platform's real services with a watch in front. The linker turns every call of them into a
// call of the function here (--wrap, see CMakeLists.txt) and offers the real one under its __real_
// name.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/base/transfer_profile.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/os/files.h"
#include "platform/os/last_error.h"
#include "platform/os/time_thread.h"
#include "tests/fakes/seam_state.h"

#define WATCHED(symbol) __asm__("__wrap_" symbol)
#define REAL(symbol) __asm__("__real_" symbol)

#define SLEEP "_Z5Sleepj"
#define INSTALL "_Z16TpfClientInstallRSt6atomicIP16CTransferProfileEjj"
#define UNINSTALL "_Z18TpfClientUnInstallRSt6atomicIP16CTransferProfileE"
#define FILE_SIZE "_Z11GetFileSizePvPj"
#define FILE_POSITION "_Z14SetFilePointerPviPij"
#define FILE_READ "_Z8ReadFilePvS_jPjS_"
#define ENUM_COMMANDS "_ZN12CCmdDatabase12EnumCommandsER6QCListI7CmdInfoEjjjj"

void WatchedSleep(DWORD delayMs) WATCHED(SLEEP);
std::uint32_t RealInstall(std::atomic<CTransferProfile*>& profile, std::uint32_t channel,
                          std::uint32_t ueId) REAL(INSTALL);
std::uint32_t WatchedInstall(std::atomic<CTransferProfile*>& profile, std::uint32_t channel,
                             std::uint32_t ueId) WATCHED(INSTALL);
std::uint32_t RealUnInstall(std::atomic<CTransferProfile*>& profile) REAL(UNINSTALL);
std::uint32_t WatchedUnInstall(std::atomic<CTransferProfile*>& profile) WATCHED(UNINSTALL);
DWORD RealFileSize(HANDLE file, DWORD* high) REAL(FILE_SIZE);
DWORD WatchedFileSize(HANDLE file, DWORD* high) WATCHED(FILE_SIZE);
DWORD RealFilePosition(HANDLE file, LONG distanceBytes, LONG* distanceHigh, DWORD origin)
    REAL(FILE_POSITION);
DWORD WatchedFilePosition(HANDLE file, LONG distanceBytes, LONG* distanceHigh, DWORD origin)
    WATCHED(FILE_POSITION);
BOOL RealFileRead(HANDLE file, void* buffer, DWORD sizeBytes, DWORD* readBytes, void* overlapped)
    REAL(FILE_READ);
BOOL WatchedFileRead(HANDLE file, void* buffer, DWORD sizeBytes, DWORD* readBytes, void* overlapped)
    WATCHED(FILE_READ);
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

// The last error of a file service that is to fail.
bool FileStepFails(const std::string& step, const std::string& arguments) {
  const std::uint32_t status = fake::Step(step, arguments);
  if (status != 0) os::SetLastErrorCode(status);
  return status != 0;
}

}  // namespace

DWORD WatchedFileSize(HANDLE file, DWORD* high) {
  return FileStepFails("GetFileSize", "") ? INVALID_FILE_SIZE : RealFileSize(file, high);
}

DWORD WatchedFilePosition(HANDLE file, LONG distanceBytes, LONG* distanceHigh, DWORD origin) {
  return FileStepFails("SetFilePointer", std::to_string(distanceBytes))
             ? INVALID_SET_FILE_POINTER
             : RealFilePosition(file, distanceBytes, distanceHigh, origin);
}

BOOL WatchedFileRead(HANDLE file, void* buffer, DWORD sizeBytes, DWORD* readBytes,
                     void* overlapped) {
  return FileStepFails("ReadFile", std::to_string(sizeBytes))
             ? 0
             : RealFileRead(file, buffer, sizeBytes, readBytes, overlapped);
}

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
