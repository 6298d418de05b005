// CDevAdapterConnect: a raw test exchange with the device.
//
// Threads: the host's. Errors: the post's status; 502 when no client is installed.
#pragma once

#include "platform/platform_export.h"

// Reaches the device over whichever link client was installed last.
class KIVPLATFORM_API CDevAdapterConnect {
 public:
  CDevAdapterConnect();
  ~CDevAdapterConnect();  // NOLINT(performance-trivially-destructible): exported, defined apart
  // Sends the buffer as one raw-text message over the installed link. An answer within a second is
  // counted and shown by the link's tap; this call waits for it, but answers the post's status.
  unsigned long TestServerResponse(const void* buffer, unsigned long lengthBytes);
};
