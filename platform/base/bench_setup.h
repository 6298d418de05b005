// The bench setup: which device, which catalogue, which directories. A host fills it before
// SvcKiv::Start(); from then to Stop it is fixed.
//
// What a host leaves out comes from the environment (KIV_LINK, KIV_CATALOGUE, KIV_VARIANT,
// KIV_PRODUCT, KIV_CONFIG_DIR, KIV_DATA_DIR), then from section "bench" of kiv.ini in the
// configuration directory, then from the default: the agent as a child process, the shipped
// catalogue.
//
// The variant and product that the environment or kiv.ini name stand behind what the device says in
// its greeting (version_query.h); those that the host set stand before it.
//
// Threads: any; SetSetup not between Start and Stop.
// Errors: a number in the environment or in kiv.ini that is none, or beyond 32 bits, counts as not
// said.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

namespace bench {

// What a host asks for; an unset field (for a text also an empty one) is looked up as described
// above.
struct Setup {
  std::optional<QCString> endpoint;   // "exec:PROGRAM ARG...", "tcp:HOST:PORT", ...
  std::optional<QCString> catalogue;  // path of a compiled catalogue
  std::optional<QCString> configDir;  // created when something is first written there
  std::optional<QCString> dataDir;    // per-user data; drive letters map beneath it
  std::optional<std::uint32_t> variant;
  std::optional<std::uint32_t> product;
};

// What holds. Paths are not mapped yet (os::MapPath).
struct Resolved {
  QCString endpoint;
  QCString catalogue;
  QCString configDir;
  QCString dataDir;
  QCString shareDir;  // shipped files: share/kiv of the build tree or of the install prefix
  std::optional<std::uint32_t> variant;  // what the host set; unset: ask the device
  std::optional<std::uint32_t> product;
  std::optional<std::uint32_t> fallbackVariant;  // of the environment or kiv.ini, for a device that
  std::optional<std::uint32_t> fallbackProduct;  // does not say
};

// Takes over what the host asks for; the next GetSetup looks everything up anew.
KIVPLATFORM_API void SetSetup(const Setup& setup);
// Which environment variable (or "the home directory") of those that the setup makes use of is not
// UTF-8 and so names another path than it should; empty when none. A host asks after SetSetup and
// goes no further.
KIVPLATFORM_API std::string SourceNotUtf8();
// Looked up at the first call after SetSetup (or ever), the same from then on. The reference lives
// until the process ends.
KIVPLATFORM_API const Resolved& GetSetup();

}  // namespace bench
