// The "cts" command of KivCts: from the typed name and index to the posted packet.
#include <memory>
#include <string>

#include "channels/channel_text.h"
#include "channels/packet_class.h"
#include "cts/cts_texts.h"
#include "cts/kiv_cts.h"
#include "cts/test_packet.h"
#include "platform/bounded/bounded.h"
#include "platform/bounded/pool_ptr.h"
#include "platform/os/paths.h"
#include "platform/text/file_path.h"

namespace SvcKivClass {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace

std::int32_t KivCts::RunCts(const wchar_t* argument, std::uint32_t delay) {
  QCString typed(argument);
  typed.Trim(L' ');
  // A message slot may change the configuration while this answers.
  const QCString configPath = GetConfigPath();
  QCString name;
  QCString index;
  SplitAtChar(typed, name, index, L' ');
  const QCString configFile = configPath + L"\\" + name + L".pcfg";
  if (typed.IsEmpty()) {
    OutputWith(texts::kNoArgument, {});
  } else if (!IsUeConnected()) {
    OutputWith(texts::kCtsNotConnected, {});
  } else if (PathFileExistsW(configPath.c_str()) == 0) {
    OutputWith(texts::kNoConfigPath, {});
  } else if (index.IsEmpty()) {
    OutputWith(texts::kNoIndex, {});
  } else if (PathFileExistsW(configFile.c_str()) == 0) {
    OutputWith(texts::kNoConfigFile, {configFile});
  } else {
    return RunCompiledConfig(delay, name, index, name, configFile);
  }
  return kChannelTaken;
}

std::int32_t KivCts::RunCompiledConfig(std::uint32_t delay, const QCString& name,
                                       const QCString& index, const QCString& entry,
                                       const QCString& configFile) {
  const QCString compiled = GetConfigPath() + L"\\pbin\\" + name + L".pcfg.rt." + index;
  if (PathFileExistsW(compiled.c_str()) == 0) {
    OutputWith(texts::kNotCompiled, {configFile, compiled});
    return kChannelTaken;
  }
  std::FILE* const file = CFilePathOperator::OpenFile(compiled, "rb");
  if (file != nullptr) return SendTestParameters(compiled, file, delay, entry, configFile);
  OutputWith(texts::kReadFailed, {compiled});
  return kChannelTaken;
}

std::int32_t KivCts::SendTestParameters(const QCString& compiledFile, std::FILE* file,
                                        std::uint32_t delay, const QCString& entry,
                                        const QCString& configFile) {
  const OpenFile open(file);
  std::uint64_t sizeBytes = 0;
  if (!CFilePathOperator::GetSize(file, sizeBytes)) return kChannelTaken;
  if (sizeBytes > UINT32_MAX - kTestHeadBytes) {
    OutputWith(texts::kReadFailed, {compiledFile});
    return kChannelTaken;
  }
  const auto parameterBytes = static_cast<std::uint32_t>(sizeBytes);
  const std::uint32_t packetBytes = parameterBytes + kTestHeadBytes;
  const auto packet = PoolAllocate<std::uint8_t>(packetBytes);
  if (packet == nullptr) {
    OutputWith(texts::kNoMemory, {});
    return kChannelTaken;
  }
  bounded::memset_s(packet.get(), packetBytes, 0, packetBytes);
  FillTestHead(packet.get(), entry.ToUtf8(), parameterBytes);
  const PostDiagDataFn post = Services().postDiagData;
  const bool sent =
      std::fread(packet.get() + kTestHeadBytes, 1, parameterBytes, file) == parameterBytes &&
      post != nullptr && post(kTestRequestId, packet.get(), packetBytes, 0, delay) == 0;
  if (!sent) {
    OutputWith(texts::kReadFailed, {compiledFile});  // of a refused post too
    return kChannelTaken;
  }
  OutputWith(texts::kSentParameters, {entry, QCString(std::to_wstring(packetBytes)), configFile});
  return kChannelTaken;
}

}  // namespace SvcKivClass
