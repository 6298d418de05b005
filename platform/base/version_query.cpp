#include "platform/base/version_query.h"

#include <atomic>
#include <optional>

#include "platform/base/bench_setup.h"

namespace {

constexpr std::uint32_t kDefaultVariant = 248;
constexpr std::uint32_t kDefaultProduct = 0;

// What the device said; -1: nothing.
std::atomic<std::int64_t> g_deviceVariant{-1};
std::atomic<std::int64_t> g_deviceProduct{-1};

std::uint32_t Decide(const std::optional<std::uint32_t>& fixed,
                     const std::atomic<std::int64_t>& device,
                     const std::optional<std::uint32_t>& configured, std::uint32_t fallback) {
  if (fixed) return *fixed;
  const std::int64_t said = device.load(std::memory_order_relaxed);
  return said >= 0 ? static_cast<std::uint32_t>(said) : configured.value_or(fallback);
}

}  // namespace

std::uint32_t CVersion::GetVersion() {
  const bench::Resolved& setup = bench::GetSetup();
  return Decide(setup.variant, g_deviceVariant, setup.fallbackVariant, kDefaultVariant);
}

std::uint32_t CProductVersion::GetVersion() {
  const bench::Resolved& setup = bench::GetSetup();
  return Decide(setup.product, g_deviceProduct, setup.fallbackProduct, kDefaultProduct);
}

namespace version_query {

void NoteDevice(std::int64_t variant, std::int64_t product) {
  g_deviceVariant.store(variant, std::memory_order_relaxed);
  g_deviceProduct.store(product, std::memory_order_relaxed);
}

}  // namespace version_query
