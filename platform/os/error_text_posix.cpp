#include <cstring>

#include "platform/os/error_text.h"

namespace os {

std::string ErrorText(int error) {
  const char* const text = ::strerrordesc_np(error);
  return text != nullptr ? text : "error " + std::to_string(error);
}

}  // namespace os
