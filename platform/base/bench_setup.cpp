#include "platform/base/bench_setup.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/base/decimal.h"
#include "platform/base/ini_file.h"
#include "platform/base/share_dir.h"
#include "platform/os/paths.h"
#include "platform/os/utf8.h"

namespace bench {
namespace {

constexpr const char* kDefaultEndpoint = "exec:kivagent --stdio";
constexpr std::uint32_t kHighestCode = 65535;  // the greeting has 16 bits for one

// What the host set and what came of it. Never destroyed: the link's thread asks until the very
// end.
struct State {
  std::mutex lock;
  Setup setup;
  std::vector<std::unique_ptr<const Resolved>> kept;  // readers may hold older ones
  std::atomic<const Resolved*> current{nullptr};      // one of `kept`; null: not looked up yet
};

State& TheState() {
  static auto* state = new State;
  return *state;
}

// The two sources behind the host, in their order: an environment variable, a key of kiv.ini. An
// empty text counts as not said.
class Sources {
 public:
  explicit Sources(const QCString& configDir)
      : kivIni_(ReadIniFile(os::MapPath(configDir.view()) + "/kiv.ini")) {}

  std::string Text(const char* variable, const char* key) const {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
    return kivIni_.Get("bench", key).value_or("");
  }

  QCString TextOr(const std::optional<QCString>& asked, const char* variable, const char* key,
                  const QCString& fallback) const {
    if (asked && !asked->IsEmpty()) return *asked;
    const std::string text = Text(variable, key);
    return text.empty() ? fallback : QCString::FromUtf8(text);
  }

  // A variant or product code. What is none counts as not said.
  std::optional<std::uint32_t> Code(const char* variable, const char* key) const {
    const auto code = ParseDecimal(Text(variable, key));
    return code && *code <= kHighestCode ? code : std::nullopt;
  }

 private:
  os::IniDocument kivIni_;
};

QCString DirectoryOr(const std::optional<QCString>& asked, const std::string& fallback) {
  return asked && !asked->IsEmpty() ? *asked : QCString::FromUtf8(fallback);
}

// Drive letters map beneath the data directory from here on.
QCString ResolveDataDir(const Setup& setup) {
  os::SetDataDirectory("");
  if (setup.dataDir && !setup.dataDir->IsEmpty()) {
    os::SetDataDirectory(os::MapPath(setup.dataDir->view()));
  }
  return QCString::FromUtf8(os::DataDirectory());
}

std::unique_ptr<const Resolved> Resolve(const Setup& setup) {
  auto found = std::make_unique<Resolved>();
  found->dataDir = ResolveDataDir(setup);
  found->configDir = DirectoryOr(setup.configDir, os::DefaultConfigDirectory());
  found->shareDir = QCString::FromUtf8(ShareDirectory());
  const Sources sources(found->configDir);
  found->endpoint =
      sources.TextOr(setup.endpoint, "KIV_LINK", "link", QCString::FromUtf8(kDefaultEndpoint));
  found->catalogue = sources.TextOr(setup.catalogue, "KIV_CATALOGUE", "catalogue",
                                    found->shareDir + L"/board.kcat");
  found->variant = setup.variant;
  found->product = setup.product;
  found->fallbackVariant = sources.Code("KIV_VARIANT", "variant");
  found->fallbackProduct = sources.Code("KIV_PRODUCT", "product");
  return found;
}

}  // namespace

void SetSetup(const Setup& setup) {
  State& state = TheState();
  const std::lock_guard<std::mutex> guard(state.lock);
  state.setup = setup;
  ResolveDataDir(setup);
  state.current.store(nullptr);
}

std::string SourceNotUtf8() {
  State& state = TheState();
  const std::lock_guard<std::mutex> guard(state.lock);
  const auto isSet = [](const std::optional<QCString>& text) { return text && !text->IsEmpty(); };
  std::string found = os::DataDirectoryNotUtf8();
  if (found.empty() && !isSet(state.setup.configDir)) found = os::DefaultConfigDirectoryNotUtf8();
  const auto look = [&](const std::optional<QCString>& asked, const char* variable) {
    const char* value = std::getenv(variable);
    if (found.empty() && !isSet(asked) && value != nullptr && !os::IsUtf8(value)) found = variable;
  };
  look(state.setup.endpoint, "KIV_LINK");
  look(state.setup.catalogue, "KIV_CATALOGUE");
  return found;
}

const Resolved& GetSetup() {
  State& state = TheState();
  if (const Resolved* known = state.current.load(std::memory_order_acquire)) return *known;
  const std::lock_guard<std::mutex> guard(state.lock);
  if (state.current.load() == nullptr) {
    state.kept.push_back(Resolve(state.setup));
    state.current.store(state.kept.back().get(), std::memory_order_release);
  }
  return *state.kept.back();
}

}  // namespace bench
