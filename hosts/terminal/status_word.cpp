#include "hosts/terminal/status_word.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "hosts/terminal/line_timing.h"
#include "kiv_version.h"
#include "platform/base/app_prefs.h"
#include "platform/base/bench_setup.h"
#include "platform/base/version_query.h"
#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/fingerprint.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

using devlink::LinkCounters;
using devlink::LinkState;

// Those that this console selects.
constexpr char kSettingsPlace[] = "session 1, instance 1";

struct CounterRow {
  const char* name;
  std::uint64_t LinkCounters::*count;
};
constexpr CounterRow kCounters[] = {
    {"frames_in", &LinkCounters::framesIn},
    {"frames_out", &LinkCounters::framesOut},
    {"bytes_in", &LinkCounters::bytesIn},
    {"bytes_out", &LinkCounters::bytesOut},
    {"messages_in", &LinkCounters::messagesIn},
    {"messages_out", &LinkCounters::messagesOut},
    {"bad_frames", &LinkCounters::badFrames},
    {"bad_messages", &LinkCounters::badMessages},
    {"lost_frames", &LinkCounters::sequenceGaps},
    {"repeated_frames", &LinkCounters::repeatedFrames},
    {"abandoned_messages", &LinkCounters::abandonedMessages},
    {"device_dropped", &LinkCounters::deviceDropped},
    {"attempts", &LinkCounters::attempts},
    {"connects", &LinkCounters::connects},
    {"disconnects", &LinkCounters::disconnects},
};

// Rows with their names; the values begin in one column.
class Rows {
 public:
  void Add(const char* name, std::string value) { rows_.emplace_back(name, std::move(value)); }
  void Add(const char* name, std::uint64_t value) { Add(name, std::to_string(value)); }

  std::string Text() const {
    std::size_t width = 0;
    for (const auto& [name, value] : rows_) width = std::max(width, name.size());
    std::string text;
    for (const auto& [name, value] : rows_) {
      text += name + std::string(width + 2 - name.size(), ' ') + value + "\n";
    }
    return text;
  }

 private:
  std::vector<std::pair<std::string, std::string>> rows_;
};

std::string StateText(const LinkStatus& link) {
  if (link.state == LinkState::kConnected) return "connected";
  const std::string state = link.state == LinkState::kConnecting ? "connecting" : "not connected";
  return link.reason.empty() ? state : state + ": " + ShownLine(link.reason);
}

std::string CodeText(std::uint32_t own, const std::optional<std::uint32_t>& device) {
  const std::string text = std::to_string(own);
  if (!device || *device == own) return text;
  return text + ", the device says " + std::to_string(*device);
}

std::string FingerprintText(std::uint64_t fingerprint) {
  return fingerprint != 0 ? catalogue::FingerprintText(fingerprint) : "not known";
}

std::string DeviceFingerprintText(const StatusFacts& facts) {
  const std::uint64_t device = facts.link.peer ? facts.link.peer->catalogueFingerprint : 0;
  const std::string text = FingerprintText(device);
  if (device == 0 || facts.fingerprint == 0) return text;
  return text + (device == facts.fingerprint ? ", the same" : ", another");
}

void AddLink(Rows& rows, const StatusFacts& facts) {
  const LinkStatus& link = facts.link;
  rows.Add("link", ShownLine(facts.endpoint));
  rows.Add("state", StateText(link));
  if (link.since) {
    rows.Add("since", link.sinceText + ", " + DurationText(facts.now - *link.since));
  }
  rows.Add("losses", link.losses);
  if (link.losses == 0) return;
  rows.Add("last_loss", link.lastLossText);
  rows.Add("last_loss_reason", ShownLine(link.lastLossReason));
}

void AddDevice(Rows& rows, const StatusFacts& facts) {
  const auto& peer = facts.link.peer;
  std::optional<std::uint32_t> variant;
  std::optional<std::uint32_t> product;
  if (peer) {
    variant = peer->variant;
    product = peer->product;
    rows.Add("device", ShownLine(peer->agentName));
    rows.Add("protocol", peer->protocolVersion);
  }
  rows.Add("variant", CodeText(facts.variant, variant));
  rows.Add("product", CodeText(facts.product, product));
  rows.Add("catalogue", ShownLine(facts.catalogue));
  rows.Add("fingerprint", FingerprintText(facts.fingerprint));
  rows.Add("device_fingerprint", DeviceFingerprintText(facts));
}

}  // namespace

std::string StatusText(const StatusFacts& facts) {
  Rows rows;
  AddLink(rows, facts);
  AddDevice(rows, facts);
  for (const CounterRow& row : kCounters) rows.Add(row.name, facts.counters.*row.count);
  rows.Add("queue_texts", facts.queue.events);
  rows.Add("queue_bytes",
           std::to_string(facts.queue.heldBytes) + " of " + std::to_string(facts.queue.limitBytes));
  rows.Add("settings", ShownLine(facts.settingsFile));
  rows.Add("settings_place",
           facts.areSettingsThere ? kSettingsPlace : std::string(kSettingsPlace) + ", not there");
  rows.Add("version", KIV_VERSION);
  return rows.Text();
}

int ShowStatus(ConsoleContext& context, std::wstring_view) {
  const bench::Resolved& setup = bench::GetSetup();
  // Behind the load of the settings, which a batch does not wait for.
  ViewEvent settings;
  const auto areThere = [](FacadeThread& here, ViewEvent& answer) {
    answer.answered = here.Settings() != nullptr && here.Settings()->AreThere();
  };
  if (!context.runner.Ask(areThere, settings)) return kInterrupted;
  StatusFacts facts;
  facts.endpoint = setup.endpoint.ToUtf8();
  facts.link = context.watch.Status();
  facts.now = LinkStatus::Time::clock::now();
  facts.variant = CVersion::GetVersion();
  facts.product = CProductVersion::GetVersion();
  facts.catalogue = setup.catalogue.str();
  facts.fingerprint = CurrentCatalogueFingerprint();
  facts.counters = devlink::GetLinkCounters();
  facts.queue = context.queue.GetFill();
  facts.settingsFile = GetAppPrefs().GetConfigFileByVersion(L"kiv", 0).str();
  facts.areSettingsThere = settings.answered;
  context.display.Answer(StatusText(facts));
  return kDone;
}

}  // namespace kiv
