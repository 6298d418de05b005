// The bench setup: which device, which catalogue, which directories. A host fills it before
// SvcKiv::Start(); from then to Stop it is fixed.
//
// What a host leaves out comes from the environment (KIV_LINK, KIV_CATALOGUE, KIV_VARIANT, KIV_PRODUCT,
// KIV_CONFIG_DIR, KIV_DATA_DIR), then from section "bench" of kiv.ini in the configuration directory,
// then from the default: the agent as a child process, the shipped catalogue.
//
// Threads: Set before Start, Get from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

namespace bench {

// What a host asks for; an unset field is looked up as described above.
struct Setup {
  std::optional<QCString> endpoint;    // "exec:PROGRAM ARG...", "unix:PATH", ...
  std::optional<QCString> catalogue;   // path of a compiled catalogue
  std::optional<QCString> configDir;   // created when something is first written there
  std::optional<QCString> dataDir;     // per-user data; drive letters map beneath it
  std::optional<std::uint32_t> variant;
  std::optional<std::uint32_t> product;
};

// What holds, every field decided.
struct Resolved {
  QCString endpoint;
  QCString catalogue;
  QCString configDir;
  QCString dataDir;
  QCString shareDir;                     // shipped files: share/kiv of the build tree or the prefix
  std::optional<std::uint32_t> variant;  // unset: nobody said, ask the device, else the default
  std::optional<std::uint32_t> product;
};

KIVPLATFORM_API void SetSetup(const Setup& setup);
KIVPLATFORM_API Resolved GetSetup();

}  // namespace bench
