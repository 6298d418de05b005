// The device adapter without a device: records the exchange and answers what a test ordered.
#include "platform/adapter/dev_adapter_connect.h"

#include <string>

#include "tests/fakes/seam_state.h"

CDevAdapterConnect::CDevAdapterConnect() = default;
CDevAdapterConnect::~CDevAdapterConnect() = default;

unsigned long CDevAdapterConnect::TestServerResponse(const void* buffer,
                                                     unsigned long lengthBytes) {
  const std::string bytes(static_cast<const char*>(buffer), lengthBytes);
  return fake::Step("TestServerResponse", bytes + ", " + std::to_string(lengthBytes));
}
