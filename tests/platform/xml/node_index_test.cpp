// Lists cost what they are long: nodes walked are counted, not timed.
#include "platform/xml/node_index.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "platform/xml/xml_config.h"
#include "tests/support/processor_time.h"
#include "tests/support/temp_dir.h"

namespace {

std::uint64_t StepsToWriteReadAndDelete(std::size_t count) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("root");
  {
    NodeIndex index;
    for (std::size_t i = 0; i < count; ++i) index.Append(root, "e").append_attribute("n") = i;
  }
  NodeIndex index;  // as of a file that was just read
  for (std::size_t i = 0; i < count; ++i) {
    EXPECT_EQ(i, index.Child(root, "e", i).attribute("n").as_uint());
    EXPECT_EQ(count, index.Count(root, "e"));
  }
  for (std::size_t i = count; i-- > 0;) EXPECT_TRUE(index.Remove(root, "e", i));
  EXPECT_EQ(0u, index.Count(root, "e"));
  EXPECT_FALSE(root.first_child());
  return index.steps();
}

TEST(NodeIndex, WalksAListOnceHoweverItIsRead) {
  for (const std::size_t count : {100u, 1'000u, 4'000u}) {
    // Each child when the list is first asked for, and when it goes.
    EXPECT_EQ(2 * count, StepsToWriteReadAndDelete(count));
  }
}

// As a history is trimmed, and as bad entries are taken out of a list.
TEST(NodeIndex, RemovesAlongAListInItsLength) {
  for (const std::size_t count : {100u, 1'000u, 4'000u}) {
    pugi::xml_document document;
    const pugi::xml_node root = document.append_child("root");
    NodeIndex index;
    for (std::size_t i = 0; i < count; ++i) index.Append(root, "e").append_attribute("n") = i;
    const std::uint64_t before = index.steps();
    for (std::size_t i = 0; i < count / 2; ++i) ASSERT_TRUE(index.Remove(root, "e", 0));
    for (std::size_t i = count / 2; i-- > 0;) {
      if (i % 2 == 0) {
        ASSERT_TRUE(index.Remove(root, "e", i));
      }
    }
    EXPECT_LE(index.steps() - before, 2 * count);
    ASSERT_EQ(count / 4, index.Count(root, "e"));
    for (std::size_t i = 0; i < count / 4; ++i) {
      ASSERT_EQ(count / 2 + 2 * i + 1, index.Child(root, "e", i).attribute("n").as_uint());
    }
  }
}

// Against a list that is simply one.
TEST(NodeIndex, FindsWhatIsLeftWhereverOnesWereRemovedAndAppended) {
  std::mt19937 random(5);
  pugi::xml_document document;
  const pugi::xml_node root = document.append_child("root");
  NodeIndex index;
  std::vector<unsigned> model;
  for (unsigned i = 0; i < 3'000; ++i) {
    if (model.empty() || random() % 5 < 3) {
      index.Append(root, "e").append_attribute("n") = i;
      model.push_back(i);
    } else {
      const std::size_t at = random() % model.size();
      ASSERT_TRUE(index.Remove(root, "e", at));
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    }
    ASSERT_EQ(model.size(), index.Count(root, "e"));
    if (i % 50 != 0) continue;
    for (std::size_t k = 0; k < model.size(); ++k) {
      ASSERT_EQ(model[k], index.Child(root, "e", k).attribute("n").as_uint());
    }
  }
}

TEST(NodeIndex, TellsTagsApart) {
  pugi::xml_document document;
  document.load_string("<r><a n='0'/><b n='1'/><!-- c --><a n='2'/>text<b n='3'/></r>");
  const pugi::xml_node root = document.document_element();
  NodeIndex index;
  EXPECT_EQ(2u, index.Count(root, "a"));
  EXPECT_EQ(3u, index.Child(root, "b", 1).attribute("n").as_uint());
  EXPECT_FALSE(index.Child(root, "b", 2));
  EXPECT_FALSE(index.Child(root, "c", 0));
  EXPECT_TRUE(index.Remove(root, "a", 0));
  EXPECT_FALSE(index.Remove(root, "a", 1));
  EXPECT_EQ(2u, index.Child(root, "a", 0).attribute("n").as_uint());
  EXPECT_EQ(1u, index.Child(root, "b", 0).attribute("n").as_uint());
}

TEST(NodeIndex, KnowsNothingOfWhatIsGone) {
  pugi::xml_document document;
  const pugi::xml_node root = document.append_child("r");
  NodeIndex index;
  for (int round = 0; round < 100; ++round) {
    const pugi::xml_node list = index.Append(root, "list");
    ASSERT_EQ(0u, index.Count(list, "e")) << round;
    for (int i = 0; i <= round; ++i) index.Append(index.Append(list, "e"), "below");
    ASSERT_EQ(1u, index.Count(index.Child(list, "e", 0), "below"));
    ASSERT_TRUE(index.Remove(root, "list", 0));
  }
}

// The same through the document's own operations: a hundred thousand entries would take minutes if
// each were looked for from the front.
TEST(XmlConfigLists, TakeTheirLengthInTime) {
  const kivtest::TempDir dir;
  const QCString path(dir.WideFile("kiv.xml"));
  constexpr int kEntries = 100'000;
  const auto at = [](int i) { return QCString(L"0.0." + std::to_wstring(i)); };
  const auto start = kivtest::ProcessorTime();
  {
    CXmlConfig config(path, {.openAs = xml_config::OpenAs::kNew});
    ASSERT_EQ(0u, config.AddConfigNode(L"L", L"SourceData", L"0", 0));
    for (int i = 0; i < kEntries; ++i) {
      ASSERT_EQ(0u, config.AddConfigNode(L"CMD", L"SourceData.L", L"0.0", 0));
      ASSERT_EQ(0u, config.WriteAttrValue(at(i), L"NAME", L"SourceData.L.CMD", at(i)));
    }
    ASSERT_EQ(0u, config.Save(1));
  }
  CXmlConfig config(path);
  for (int i = 0; i < kEntries; ++i) {
    QCString name;
    ASSERT_EQ(0u, config.ReadAttrValue(name, L"NAME", L"SourceData.L.CMD", at(i)));
    ASSERT_EQ(at(i), name);
  }
  for (int i = 0; i < kEntries / 2; ++i) {  // as a history is trimmed
    ASSERT_EQ(0u, config.DeleteConfigNode(L"SourceData.L.CMD", at(0)));
  }
  for (int i = kEntries / 2; i-- > 0;) {
    ASSERT_EQ(0u,
              config.DeleteConfigNode2(L"SourceData.L.CMD", static_cast<std::uint32_t>(i), L"0.0"));
  }
  EXPECT_LT(kivtest::ProcessorTime() - start, std::chrono::seconds(30));
}

}  // namespace
