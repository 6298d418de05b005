#include "platform/adapter/dev_adapter_connect.h"

#include <span>

#include "platform/base/result_codes.h"
#include "platform/devlink/installed_link.h"
#include "platform/devlink/link_engine.h"

CDevAdapterConnect::CDevAdapterConnect() = default;
CDevAdapterConnect::~CDevAdapterConnect() = default;

unsigned long CDevAdapterConnect::TestServerResponse(const void* buffer,
                                                     unsigned long lengthBytes) {
  if (buffer == nullptr && lengthBytes != 0) return result::kFailure;
  const auto link = devlink::InstalledLink();
  if (link == nullptr) return result::kNotConnected;
  return link->TestExchange({static_cast<const std::uint8_t*>(buffer), lengthBytes});
}
