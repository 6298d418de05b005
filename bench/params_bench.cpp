// Typed parameters to the encoded body: one line of text, checked, its values filled into the
// command's tree, the body packed into a pool block.
#include <benchmark/benchmark.h>

#include <cstring>

#include "bench/bench_rows.h"
#include "bench/limit_codec.h"
#include "bench/peer_codec.h"
#include "command/packet/diag_packet.h"
#include "platform/bounded/pool.h"

namespace {

using bench_shapes::Sample;
using bench_shapes::Shape;

// A body in the pool that is released at the end.
struct Body {
  std::uint8_t* bytes = nullptr;
  std::uint32_t lengthBytes = 0;
};

bool Same(const Sample& sample, const std::uint8_t* bytes, std::uint32_t lengthBytes) {
  return bytes != nullptr && lengthBytes == sample.body.size() &&
         std::memcmp(bytes, sample.body.data(), lengthBytes) == 0;
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
  const QCString rest(sample.line);
  const QCString catalogue = QCString::FromUtf8(bench_shapes::CataloguePath());
  for (auto _ : state) {
    SvcKivClass::DiagPacket packet(sample.cmdId, catalogue);
    benchmark::DoNotOptimize(Prepare(packet, rest));
    benchmark::DoNotOptimize(packet.Body());
  }
}

void Limit(benchmark::State& state, Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  for (auto _ : state) {
    std::uint32_t lengthBytes = 0;
    std::uint8_t* const body = limit::Encode(shape, sample.line, &lengthBytes);
    benchmark::DoNotOptimize(body);
    PoolFree(body);
  }
}

void Peer(benchmark::State& state, Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  for (auto _ : state) {
    std::uint32_t lengthBytes = 0;
    std::uint8_t* const body = peer::Encode(shape, sample.peerLine, &lengthBytes);
    benchmark::DoNotOptimize(body);
    PoolFree(body);
  }
}

void RequireSameWork(Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  SvcKivClass::DiagPacket packet(sample.cmdId, QCString::FromUtf8(bench_shapes::CataloguePath()));
  const std::uint32_t status = Prepare(packet, QCString(sample.line));
  bench_rows::Require(status == 0 && Same(sample, packet.Body(), packet.BodyLengthBytes()),
                      std::string("our body of ") + sample.name);
  std::uint32_t lengthBytes = 0;
  std::uint8_t* body = limit::Encode(shape, sample.line, &lengthBytes);
  bench_rows::Require(Same(sample, body, lengthBytes),
                      std::string("the limit's body of ") + sample.name);
  PoolFree(body);
  body = peer::Encode(shape, sample.peerLine, &lengthBytes);
  bench_rows::Require(Same(sample, body, lengthBytes),
                      std::string("the peer's body of ") + sample.name);
  PoolFree(body);
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
