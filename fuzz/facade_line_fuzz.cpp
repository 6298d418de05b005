// A typed line through the whole facade, and its own bytes back as a confirmation and an
// indication.
//
// The first byte switches display, connection, post result, protocol variant and product; the rest
// is the line in UTF-8. Only a channel's line may leave the reply as it was. What comes back is
// offered under the ids of every channel. After each line the pool holds as many blocks as before
// it.
#include <QtGlobal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/base/bench_setup.h"
#include "platform/base/version_query.h"
#include "platform/bounded/pool.h"
#include "platform/text/qc_string.h"
#include "svckiv/svc_kiv.h"
#include "tests/fakes/platform_seam.h"

namespace {

using SvcKivSpace::SvcKiv;

// Traces are built, and go nowhere.
void Drop(QtMsgType, const QMessageLogContext&, const QString&) {}

// Nothing is written: the directories cannot be made and the log has nowhere to go.
bool StartOnce() {
  static const bool started = [] {
    qInstallMessageHandler(&Drop);
    bench::Setup setup;
    setup.catalogue = QCString::FromUtf8(KIV_TEST_CATALOGUE);
    setup.configDir = QCString(L"/dev/null/kiv-fuzz");
    setup.dataDir = QCString(L"/dev/null/kiv-fuzz");
    bench::SetSetup(setup);
    SvcKiv::Start();
    return true;
  }();
  return started;
}

void Switch(std::uint8_t flags) {
  fake::ResetSeam();
  SvcKiv::SetHexadecimalFlag((flags & 1) != 0);
  SvcKiv::SetUEConnectStatus((flags & 2) != 0 ? 0 : 1);
  SvcKiv().SetIsEnableInstantInd((flags & 4) != 0);
  fake::SetDeviceThere((flags & 8) == 0);
  fake::SetPostStatus((flags & 16) != 0 ? 9 : 0);
  version_query::NoteDevice((flags & 32) != 0 ? 246 : 249, (flags & 64) != 0 ? 38 : 0);
}

// The line would configure test cases beside any directory, and write a log there. The module looks
// at it without its line ends.
bool ConfiguresTestCases(const QCString& lowered) {
  QCString line = lowered;
  line.Remove(L'\r');
  line.Remove(L'\n');
  return line.Find(L"cfg") != QCString::npos;
}

constexpr std::uint32_t kChannelIds[] = {0x500C, 0xA010, 0x500D, 0xA011, 0x705,
                                         0x4005, 0x805,  0x4105, 0x7E0C};

// What the text channels may take. `line` is in lower case.
bool MayBeTaken(std::uint8_t flags, const QCString& line) {
  if ((flags & (32 | 64)) != 0) return true;
  QCString start = line;
  start.Trim(L' ').Trim(L'\n');
  return start.StartsWith(L"at") || start.Find(L"at+") != QCString::npos ||
         start.Find(L"at^") != QCString::npos || start.StartsWith(L"sh") ||
         start.StartsWith(L"cts") || start.Find(L'\r') != QCString::npos ||
         start.Find(L'\n') != QCString::npos;
}

void Check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || !StartOnce()) return 0;
  const QCString line =
      QCString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  const QCString lowered = line.ToLower();
  if (ConfiguresTestCases(lowered)) return 0;
  Switch(data[0]);
  const std::uint64_t blocks = pool::LiveBlocks();
  QCString reply(L"<untouched>");
  SvcKiv::GetDiagCmdResponse(line.c_str(), reply);
  Check(!(reply == L"<untouched>") || MayBeTaken(data[0], lowered));
  for (const fake::Post& post : fake::Posts()) {
    fake::DeliverCnf(post.cmdId, post.body);
    fake::DeliverInd(post.cmdId, post.body);
    for (const std::uint32_t id : kChannelIds) fake::DeliverInd(id, post.body);
  }
  Check(pool::LiveBlocks() == blocks);
  return 0;
}
