// The contract of a device link, over the recording fake.
#include "tests/fakes/link_contract.h"

#include "tests/fakes/platform_seam.h"

namespace linkcontract {
namespace {

class FakeSide {
 public:
  FakeSide() { fake::ResetSeam(); }

  void Start(CLinkClient& client) { client.StartConnect(256, 1, 8191, 1, 0); }
  Item LastRequest() {
    const fake::Post post = fake::Posts().back();
    return {post.cmdId, 0, false, post.body, post.tag, post.word16, post.word};
  }
  void Echo() {
    const Item last = LastRequest();
    fake::Deliver({{.cmdId = last.cmdId,
                    .body = last.body,
                    .tag = last.tag,
                    .word16 = last.word16,
                    .word = last.word}});
  }
  void SendInd(std::uint32_t cmdId, Body body) { fake::DeliverInd(cmdId, std::move(body)); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(OverTheFake, LinkContract, FakeSide);

}  // namespace
}  // namespace linkcontract
