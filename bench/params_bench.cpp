// Typed parameters to the encoded body: one line of text, checked, its values filled into the
// command's tree, the body packed into a pool block.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "bench/bench_rows.h"
#include "bench/limit_codec.h"
#include "bench/peer_codec.h"
#include "command/packet/diag_packet.h"
#include "platform/bounded/pool.h"

namespace {

using bench_shapes::Sample;
using bench_shapes::Set;
using bench_shapes::Shape;

bool Same(const Set& set, const std::uint8_t* bytes, std::uint32_t lengthBytes) {
  return bytes != nullptr && lengthBytes == set.body.size() &&
         std::memcmp(bytes, set.body.data(), lengthBytes) == 0;
}

// All that the controller does from the parameter rest to the packet, but for showing it.
std::uint32_t Prepare(SvcKivClass::DiagPacket& packet, const QCString& rest) {
  std::uint32_t status = packet.QueryDefaults();
  if (status != 0) return status;
  packet.SplitRest(rest);
  status = packet.FillParameters();
  return status != 0 ? status : packet.Encode();
}

void Ours(benchmark::State& state, Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  std::vector<QCString> rests;
  for (const Set& set : sample.sets) rests.emplace_back(set.line);
  const QCString catalogue = QCString::FromUtf8(bench_shapes::CataloguePath());
  std::size_t turn = 0;
  for (auto _ : state) {
    SvcKivClass::DiagPacket packet(sample.cmdId, catalogue);
    benchmark::DoNotOptimize(Prepare(packet, rests[turn++ % rests.size()]));
    benchmark::DoNotOptimize(packet.Body());
  }
}

void Limit(benchmark::State& state, Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  std::size_t turn = 0;
  for (auto _ : state) {
    std::uint32_t lengthBytes = 0;
    std::uint8_t* const body = limit::Encode(shape, sample.At(turn++).line, &lengthBytes);
    benchmark::DoNotOptimize(body);
    PoolFree(body);
  }
}

void Peer(benchmark::State& state, Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  std::size_t turn = 0;
  for (auto _ : state) {
    std::uint32_t lengthBytes = 0;
    std::uint8_t* const body = peer::Encode(shape, sample.At(turn++).peerLine, &lengthBytes);
    benchmark::DoNotOptimize(body);
    PoolFree(body);
  }
}

void RequireSameWork(Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  const std::string name = sample.name;
  for (const Set& set : sample.sets) {
    SvcKivClass::DiagPacket packet(sample.cmdId, QCString::FromUtf8(bench_shapes::CataloguePath()));
    const std::uint32_t status = Prepare(packet, QCString(set.line));
    bench_rows::Require(status == 0 && Same(set, packet.Body(), packet.BodyLengthBytes()),
                        "our body of " + name);
    std::uint32_t lengthBytes = 0;
    std::uint8_t* body = limit::Encode(shape, set.line, &lengthBytes);
    bench_rows::Require(Same(set, body, lengthBytes), "the limit's body of " + name);
    PoolFree(body);
    body = peer::Encode(shape, set.peerLine, &lengthBytes);
    bench_rows::Require(Same(set, body, lengthBytes), "the peer's body of " + name);
    PoolFree(body);
  }
}

const bool kRegistered = [] {
  for (const Shape shape : bench_shapes::kShapes) {
    const auto checked = [shape](auto function) {
      return [shape, function](benchmark::State& state) {
        RequireSameWork(shape);
        function(state, shape);
      };
    };
    bench_rows::Register("params_to_body", shape, bench_rows::kOurs, checked(Ours));
    bench_rows::Register("params_to_body", shape, bench_rows::kLimit, checked(Limit));
    bench_rows::Register("params_to_body", shape, bench_rows::kPeer, checked(Peer));
  }
  return true;
}();

}  // namespace
