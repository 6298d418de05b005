// What every settings object has without a function table entry: hosts built against this header
// find memory, place and switches in the one class that implements the interface.
#include "svckiv/svc_kiv_config.h"

#include "settings/svc_kiv_config_impl.h"

namespace SvcKivSpace {
namespace {

using SvcKivClass::SvcKivConfigImpl;

const SvcKivConfigImpl& Impl(const CSVCKIVConfig& config) {
  return static_cast<const SvcKivConfigImpl&>(config);
}

SvcKivConfigImpl& Impl(CSVCKIVConfig& config) { return static_cast<SvcKivConfigImpl&>(config); }

std::int32_t Value(const std::atomic<std::int32_t>& value) {
  return value.load(std::memory_order_relaxed);
}

void SetValue(std::atomic<std::int32_t>& target, std::int32_t value) {
  target.store(value, std::memory_order_relaxed);
}

}  // namespace

CSVCKIVConfig::~CSVCKIVConfig() = default;

KivSettings& CSVCKIVConfig::Settings() { return Impl(*this).Memory().settings; }
KivKeyBindings& CSVCKIVConfig::KeyBindings() { return Impl(*this).Memory().keys; }
KivCommandLists& CSVCKIVConfig::Lists() { return Impl(*this).Memory().lists; }
std::uint32_t CSVCKIVConfig::CompleteCurrentInstance() { return Impl(*this).CompleteSettings(); }
QCString CSVCKIVConfig::SettingsPrefix() const { return Impl(*this).Place().prefix; }
QCString CSVCKIVConfig::SettingsInstancePath() const { return Impl(*this).Place().instancePath; }

std::int32_t CSVCKIVConfig::OneLineArrays() const {
  return Value(Impl(*this).Memory().switches.oneLineArrays);
}
void CSVCKIVConfig::SetOneLineArrays(std::int32_t value) {
  SetValue(Impl(*this).Memory().switches.oneLineArrays, value);
}
std::int32_t CSVCKIVConfig::ShowType() const {
  return Value(Impl(*this).Memory().switches.showType);
}
void CSVCKIVConfig::SetShowType(std::int32_t value) {
  SetValue(Impl(*this).Memory().switches.showType, value);
}
std::int32_t CSVCKIVConfig::IndicationsEnabled() const {
  return Value(Impl(*this).Memory().switches.indicationsEnabled);
}
void CSVCKIVConfig::SetIndicationsEnabled(std::int32_t value) {
  SetValue(Impl(*this).Memory().switches.indicationsEnabled, value);
}

}  // namespace SvcKivSpace
