// The name service that the link's lookups meet in this test program: real until a test says
// otherwise. The linker hands it every call of getaddrinfo.
//
// Threads: any; set it before the link starts. Owns: nothing. Errors: none.
#pragma once

#include <string>
#include <vector>

namespace linktest {

// For as long as it lives, every name has these addresses (numbers), or the lookup fails.
class NameService {
 public:
  explicit NameService(std::vector<std::string> addresses);
  // Every lookup fails with this EAI_ code.
  explicit NameService(int failure);
  // Lets lookups that hang go, and waits until none runs any more.
  ~NameService();

  // Lookups from now on wait until this object goes.
  void Hang();
  // Waits until one hangs.
  void WaitForALookup();
};

}  // namespace linktest
