// The load line: what opens a file, what is refused, and how its chunks follow each other.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/fakes/load_bench.h"

namespace {

using kivtest::ChunkBody;
using kivtest::LoadBench;
using kivtest::LoadContent;

std::vector<fake::Post> ChunksOf(const std::string& content) {
  std::vector<fake::Post> posts;
  for (std::size_t i = 0; i * kivtest::kLoadChunkBytes < content.size(); ++i) {
    posts.push_back({.cmdId = kivtest::kLoadCmdId,
                     .body = ChunkBody(content, i),
                     .tag = static_cast<std::uint16_t>(i + 1)});
  }
  return posts;
}

TEST(LoadLine, SendsAFileChunkByChunk) {
  for (std::size_t sizeBytes : {1u, 2047u, 2048u, 2049u, 4096u, 100'000u}) {
    SCOPED_TRACE(sizeBytes);
    LoadBench bench;
    const std::string content = LoadContent(sizeBytes);
    EXPECT_EQ(bench.LoadNew("file", content), L"");
    EXPECT_EQ(fake::Posts().size(), 1u);
    bench.ConfirmAll();
    EXPECT_EQ(fake::Posts(), ChunksOf(content));
    EXPECT_FALSE(bench.IsHeld("file"));
    EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
  }
}

}  // namespace
