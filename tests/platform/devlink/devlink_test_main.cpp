#include <gmock/gmock.h>

#include <cstring>

#include "tests/platform/devlink/device_child.h"

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--as-device") == 0) {
    return linktest::PlayRole(argc - 2, argv + 2);
  }
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
