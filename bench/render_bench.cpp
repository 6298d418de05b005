// A received body to the rendered text.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "bench/bench_rows.h"
#include "bench/limit_codec.h"
#include "bench/peer_codec.h"
#include "link/render/render.h"
#include "platform/bounded/pool.h"

namespace {

using bench_shapes::Sample;
using bench_shapes::Set;
using bench_shapes::Shape;

// Confirmations of the benches have bodies, so no result code is ever asked for.
class NoTexts : public SvcKivClass::ResultCodeTexts {
 public:
  QCString GetResultCodeText(std::uint32_t) const override { return {}; }
};

SvcKivClass::ReplyDescriptor ReplyOf(const Sample& sample, const Set& set) {
  SvcKivClass::ReplyDescriptor reply;
  reply.cmdId = sample.cmdId;
  reply.body = set.body.data();
  reply.bodyLengthBytes = static_cast<std::uint32_t>(set.body.size());
  return reply;
}

void Ours(benchmark::State& state, Shape shape) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  const NoTexts texts;
  std::size_t turn = 0;
  for (auto _ : state) {
    const SvcKivClass::ReplyDescriptor reply = ReplyOf(sample, sample.At(turn++));
    wchar_t* text = nullptr;
    SvcKivClass::RenderReplyForView(texts, reply, reply.cmdId, {}, &text);
    benchmark::DoNotOptimize(text);
    PoolFree(text);
  }
}

template <typename Render>
void Other(benchmark::State& state, Shape shape, Render render) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  std::size_t turn = 0;
  for (auto _ : state) {
    std::size_t lengthChars = 0;
    wchar_t* const text = render(shape, sample.At(turn++).body, &lengthChars);
    benchmark::DoNotOptimize(text);
    PoolFree(text);
  }
}

void Limit(benchmark::State& state, Shape shape) { Other(state, shape, limit::Render); }
void Peer(benchmark::State& state, Shape shape) { Other(state, shape, peer::Render); }

void RequireSameText(Shape shape, const Set& set) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  const std::string name = sample.name;
  const SvcKivClass::ReplyDescriptor reply = ReplyOf(sample, set);
  wchar_t* ours = nullptr;
  bench_rows::Require(
      SvcKivClass::RenderReplyForView(NoTexts(), reply, reply.cmdId, {}, &ours) && ours != nullptr,
      "our text of " + name);
  for (const auto render : {limit::Render, peer::Render}) {
    std::size_t lengthChars = 0;
    wchar_t* const text = render(shape, set.body, &lengthChars);
    bench_rows::Require(
        text != nullptr && std::wstring_view(ours) == std::wstring_view(text, lengthChars + 1),
        "texts of " + name);
    PoolFree(text);
  }
  PoolFree(ours);
}

void RequireSameWork(Shape shape) {
  for (const Set& set : bench_shapes::SampleOf(shape).sets) RequireSameText(shape, set);
}

const bool kRegistered = [] {
  for (const Shape shape : bench_shapes::kShapes) {
    const auto checked = [shape](auto function) {
      return [shape, function](benchmark::State& state) {
        RequireSameWork(shape);
        function(state, shape);
      };
    };
    bench_rows::Register("body_to_text", shape, bench_rows::kOurs, checked(Ours));
    bench_rows::Register("body_to_text", shape, bench_rows::kLimit, checked(Limit));
    bench_rows::Register("body_to_text", shape, bench_rows::kPeer, checked(Peer));
  }
  return true;
}();

}  // namespace
