// The codec over catalogues made for the test, and over the one that ships.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/base/bench_setup.h"
#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/fingerprint.h"
#include "platform/catalogue/param_codec.h"
#include "platform/catalogue/param_tree_builder.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/tree_paths.h"

namespace {

using catalogue::Scalar;
using kivtest::ModelMaker;
using kivtest::WidePath;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kSet = 0x10;
constexpr std::uint32_t kPlain = 0x11;
constexpr std::uint32_t kNotice = 0x12;
constexpr std::uint32_t kGaps = 0x13;

// set { u8 a, point { i16 x, i16 y }, u32 list[2], char text[4], point marks[2] }
std::string SampleCatalogue() {
  ModelMaker maker;
  maker.Structure("point").Scalar("x", Scalar::kI16).Scalar("y", Scalar::kI16).End();
  maker.Structure("set_type")
      .Scalar("a", Scalar::kU8)
      .Nested("inner", 0)
      .Scalar("list", Scalar::kU32, 2)
      .Scalar("text", Scalar::kChar, 4)
      .Nested("marks", 0, 2)
      .End(std::string("\x07\x01\x00\xFE\xFF\x10\x00\x00\x00", 9));
  maker.Structure("gap_type", true).Scalar("a", Scalar::kU8).Scalar("b", Scalar::kU32).End();
  maker.Command(kSet, "set", 1, 0);
  maker.Command(kPlain, "plain", -1, 1);
  maker.Command(kNotice, "notice", -1, -1, 0);
  maker.Command(kGaps, "gaps", 2, 2);
  return maker.Bytes();
}

class ParamCodec : public testing::Test {
 protected:
  void SetUp() override {
    path_ = folder_.File("sample.kcat");
    kivtest::WriteBytes(path_, SampleCatalogue());
    blocksBefore_ = pool::LiveBlocks();
  }
  void TearDown() override { EXPECT_EQ(pool::LiveBlocks(), blocksBefore_); }

  QCString Path() const { return WidePath(path_); }

  static Bytes Encoded(CParamCodec& codec, std::uint32_t id, const CParamNode& root) {
    std::uint32_t length = 0;
    std::uint8_t* body = nullptr;
    EXPECT_EQ(codec.Encode(id, root, &length, &body), 0u);
    if (body == nullptr) {
      ADD_FAILURE() << "no body";
      return {};
    }
    const Bytes bytes(body, body + length);
    PoolFree(body);
    return bytes;
  }

  kivtest::TempFolder folder_;
  std::string path_;
  std::uint64_t blocksBefore_ = 0;
};

struct NodeText {
  static std::uint32_t Call(CParamNode* node, void* user, std::uint32_t depth) {
    auto* text = static_cast<std::wstring*>(user);
    *text += std::to_wstring(depth) + L" " + std::to_wstring(node->GetNodeType()) + L" " +
             node->GetVariableName() + L" " + node->GetTypeName() + L" " +
             std::to_wstring(node->GetSizeOfDataType()) + L" " +
             std::to_wstring(node->GetSizeInStruct()) + L"\n";
    return 0;
  }
};

TEST_F(ParamCodec, DefaultTreeHasTheDocumentedShapes) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
  std::wstring text;
  ASSERT_EQ(root.ParseNodes(&NodeText::Call, &text, 0), 0u);
  EXPECT_EQ(text,
            L"0 24 struct set_type 0 25\n"
            L"1 0 a u8 1 1\n"
            L"1 24 inner point 0 4\n"
            L"2 0 x i16 2 2\n"
            L"2 0 y i16 2 2\n"
            L"1 1 list u32 4 8\n"
            L"1 1 text char 1 4\n"
            L"1 17 marks point 4 8\n"
            L"2 24 marks[0] point 0 4\n"
            L"3 0 x i16 2 2\n"
            L"3 0 y i16 2 2\n"
            L"2 24 marks[1] point 0 4\n"
            L"3 0 x i16 2 2\n"
            L"3 0 y i16 2 2\n");
}

TEST_F(ParamCodec, DefaultTreeEncodesToTheDefaults) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
  Bytes expected{7, 1, 0, 0xFE, 0xFF, 0x10};
  expected.resize(25);
  EXPECT_EQ(Encoded(codec, kSet, root), expected);
  std::int32_t flag = 0;
  CParamNode* inner = root.GetFirstChild()->GetNextNeighbor();
  EXPECT_EQ(inner->GetFirstChild()->IsSignedValue(&flag), 0u);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(inner->GetNextNeighbor()->GetNextNeighbor()->IsCharValue(&flag), 0u);
  EXPECT_EQ(flag, 1);
}

TEST_F(ParamCodec, ValuesAreStoredInTheBodyAtTheirOffsets) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
  CParamNode* a = root.GetFirstChild();
  CParamNode* inner = a->GetNextNeighbor();
  CParamNode* list = inner->GetNextNeighbor();
  CParamNode* marks = list->GetNextNeighbor()->GetNextNeighbor();
  EXPECT_EQ(a->SetValue(300), 0u);
  EXPECT_EQ(inner->GetFirstChild()->SetValue(0x1234), 0u);
  const Bytes words{1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(list->SetValueBuf(words.data(), words.size()), 0u);
  CParamNode* second = marks->GetFirstChild()->GetNextNeighbor();
  EXPECT_EQ(second->GetFirstChild()->GetNextNeighbor()->SetValue(0xABCD), 0u);
  EXPECT_EQ(Encoded(codec, kSet, root),
            (Bytes{44, 0x34, 0x12, 0xFE, 0xFF, 1, 2, 3, 4, 5, 6,    7,   8,
                   0,  0,    0,    0,    0,    0, 0, 0, 0, 0, 0xCD, 0xAB}));
}

TEST_F(ParamCodec, CommandWithoutParametersIsARootAloneAndAnEmptyBody) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(kPlain, CmdIdType::Any, root), 0u);
  EXPECT_EQ(root.GetNodeType(), 24);
  EXPECT_STREQ(root.GetVariableName(), L"struct");
  EXPECT_STREQ(root.GetTypeName(), L"");
  EXPECT_EQ(root.GetFirstChild(), nullptr);
  EXPECT_EQ(Encoded(codec, kPlain, root), Bytes{});
}

TEST_F(ParamCodec, DecodeTakesEachModeFromItsOwnStructure) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  const Bytes point{1, 0, 2, 0};
  EXPECT_EQ(
      codec.Decode({kSet, DecodeDescriptor::kCnf, 4}, point.data(), root, CategoryIdType::Any), 0u);
  EXPECT_STREQ(root.GetTypeName(), L"point");
  const Bytes set(25, 3);
  EXPECT_EQ(codec.Decode({kSet, DecodeDescriptor::kReq, 25}, set.data(), root, CategoryIdType::Any),
            0u);
  EXPECT_STREQ(root.GetTypeName(), L"set_type");
  EXPECT_EQ(Encoded(codec, kSet, root), set);
  EXPECT_EQ(
      codec.Decode({kNotice, DecodeDescriptor::kInd, 4}, point.data(), root, CategoryIdType::Any),
      0u);
  EXPECT_STREQ(root.GetTypeName(), L"point");
}

TEST_F(ParamCodec, DecodedTreeDoesNotReferToTheBytes) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  Bytes point{1, 0, 2, 0};
  ASSERT_EQ(
      codec.Decode({kSet, DecodeDescriptor::kCnf, 4}, point.data(), root, CategoryIdType::Any), 0u);
  point.assign(4, 0xFF);
  std::uint64_t value = 0;
  EXPECT_EQ(root.GetFirstChild()->GetValue(&value), 0u);
  EXPECT_EQ(value, 1u);
}

TEST_F(ParamCodec, MissingStructuresUnknownIdsAndModesHaveTheirStatuses) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  const Bytes bytes(32, 0);
  const auto decode = [&](std::uint32_t id, std::uint32_t mode) {
    return codec.Decode({id, mode, 4}, bytes.data(), root, CategoryIdType::Any);
  };
  EXPECT_EQ(decode(kSet, DecodeDescriptor::kInd), 1u);
  EXPECT_EQ(decode(kNotice, DecodeDescriptor::kCnf), 1u);
  EXPECT_EQ(decode(0x9999, DecodeDescriptor::kCnf), result::kNoSuchCommand);
  EXPECT_EQ(decode(kSet, 0), 1u);
  EXPECT_EQ(decode(kSet, 4), 1u);
  EXPECT_EQ(codec.QueryDefaultParam(kNotice, CmdIdType::Any, root), 1u);
  EXPECT_EQ(codec.QueryDefaultParam(0x9999, CmdIdType::Any, root), result::kNoSuchCommand);
  // Asked again: from what the catalogue keeps.
  EXPECT_EQ(decode(kSet, DecodeDescriptor::kInd), 1u);
  EXPECT_EQ(decode(0x9999, DecodeDescriptor::kCnf), result::kNoSuchCommand);
}

TEST_F(ParamCodec, BodyShorterOrLongerThanItsLayoutIsRefused) {
  CParamCodec codec(Path().c_str());
  for (std::uint32_t length = 0; length <= 40; ++length) {
    CParamNode root;
    ASSERT_EQ(codec.QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
    const Bytes body(length, 1);
    const std::uint32_t status = codec.Decode({kSet, DecodeDescriptor::kReq, length}, body.data(),
                                              root, CategoryIdType::Any);
    EXPECT_EQ(status, length == 25 ? 0u : result::kBodySize) << length;
    EXPECT_EQ(root.GetFirstChild() == nullptr, length != 25) << length;
  }
  CParamNode root;
  EXPECT_EQ(codec.Decode({kSet, DecodeDescriptor::kReq, 25}, nullptr, root, CategoryIdType::Any),
            result::kBodySize);
}

TEST_F(ParamCodec, GapsAreZeroWhateverWasReceivedThere) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  const Bytes body{1, 0xAA, 0xBB, 0xCC, 2, 3, 4, 5};
  ASSERT_EQ(
      codec.Decode({kGaps, DecodeDescriptor::kReq, 8}, body.data(), root, CategoryIdType::Any), 0u);
  EXPECT_EQ(Encoded(codec, kGaps, root), (Bytes{1, 0, 0, 0, 2, 3, 4, 5}));
}

// part { u16 index, u8 data[4], u16 length of data, inner { char n of text, char text[3] } twice }
std::string CatalogueOfParts() {
  ModelMaker maker;
  maker.Structure("inner").Scalar("n", Scalar::kU8).Scalar("text", Scalar::kChar, 3).Length(0, 1);
  maker.End();
  maker.Structure("part", true)
      .Scalar("index", Scalar::kU8)
      .Scalar("data", Scalar::kU8, 4)
      .Scalar("length", Scalar::kU16)
      .Length(2, 1)
      .Nested("inner", 0, 2)
      .End(std::string("\x00\x00\x00\x00\x00\x00\x04", 7));
  maker.Command(1, "part", 1);
  return maker.Bytes();
}

TEST_F(ParamCodec, BytesSetAsABlockHaveTheirNumberInTheFieldThatCarriesIt) {
  kivtest::WriteBytes(path_, CatalogueOfParts());
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(1, CmdIdType::Any, root), 0u);
  CParamNode* index = root.GetFirstChild();
  CParamNode* data = index->GetNextNeighbor();
  CParamNode* length = data->GetNextNeighbor();
  std::uint64_t value = 0;
  ASSERT_EQ(length->GetValue(&value), 0u);
  EXPECT_EQ(value, 4u);
  const Bytes bytes{1, 2, 3, 4, 5};
  const auto numberAfter = [&](std::uint64_t lengthBytes, std::uint32_t status) {
    EXPECT_EQ(data->SetValueBuf(bytes.data(), lengthBytes), status);
    EXPECT_EQ(length->GetValue(&value), 0u);
    return value;
  };
  EXPECT_EQ(numberAfter(3, 0), 3u);
  EXPECT_EQ(Encoded(codec, 1, root), (Bytes{0, 1, 2, 3, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(numberAfter(4, 0), 4u);
  EXPECT_EQ(numberAfter(5, result::kBodySize), 4u);  // refused: nothing changes
  EXPECT_EQ(numberAfter(0, 0), 0u);
  EXPECT_EQ(Encoded(codec, 1, root), Bytes(16));

  // What is typed in place, and a number set by itself, stay as they are.
  std::uint8_t* buffer = nullptr;
  ASSERT_EQ(data->GetValueBuf(&buffer, &value), 0u);
  buffer[3] = 9;
  ASSERT_EQ(length->SetValue(7), 0u);
  EXPECT_EQ(Encoded(codec, 1, root), (Bytes{0, 0, 0, 0, 9, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

// Each element of an array of structures has a field of its own.
TEST_F(ParamCodec, NumbersOfNestedBytesStandInTheirOwnStructure) {
  kivtest::WriteBytes(path_, CatalogueOfParts());
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(1, CmdIdType::Any, root), 0u);
  CParamNode* list = root.GetFirstChild()->GetNextNeighbor()->GetNextNeighbor()->GetNextNeighbor();
  CParamNode* first = list->GetFirstChild();
  CParamNode* second = first->GetNextNeighbor();
  const Bytes bytes{'a', 'b', 'c'};
  EXPECT_EQ(second->GetFirstChild()->GetNextNeighbor()->SetValueBuf(bytes.data(), 2), 0u);
  EXPECT_EQ(Encoded(codec, 1, root), (Bytes{0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 2, 'a', 'b', 0}));
  EXPECT_EQ(first->GetFirstChild()->GetNextNeighbor()->SetValueBuf(bytes.data(), 3), 0u);
  EXPECT_EQ(Encoded(codec, 1, root),
            (Bytes{0, 0, 0, 0, 0, 0, 4, 0, 3, 'a', 'b', 'c', 2, 'a', 'b', 0}));
}

TEST_F(ParamCodec, EncodeRefusesTheTreeOfAnotherCommand) {
  CParamCodec codec(Path().c_str());
  CParamNode root;
  ASSERT_EQ(codec.QueryDefaultParam(kGaps, CmdIdType::Any, root), 0u);
  std::uint32_t length = 7;
  std::uint8_t* body = reinterpret_cast<std::uint8_t*>(&length);
  EXPECT_EQ(codec.Encode(kSet, root, &length, &body), result::kWrongTree);
  EXPECT_EQ(body, nullptr);
  EXPECT_EQ(length, 0u);
  CParamNode empty;
  EXPECT_EQ(codec.Encode(kSet, empty, &length, &body), result::kWrongTree);
  EXPECT_EQ(codec.Encode(0x9999, root, &length, &body), result::kNoSuchCommand);
  EXPECT_EQ(codec.Encode(kSet, root, nullptr, &body), result::kFailure);
  EXPECT_EQ(codec.Encode(kSet, root, &length, nullptr), result::kFailure);
}

TEST_F(ParamCodec, TreesOutliveTheirCodec) {
  CParamNode root;
  {
    CParamCodec codec(Path().c_str());
    ASSERT_EQ(codec.QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
  }
  std::uint64_t value = 0;
  EXPECT_EQ(root.GetFirstChild()->GetValue(&value), 0u);
  EXPECT_EQ(value, 7u);
  EXPECT_STREQ(root.GetTypeName(), L"set_type");
}

TEST_F(ParamCodec, MissingFileIs51AndAFileThatIsNoneIsDamaged) {
  CParamNode root;
  CParamCodec missing(WidePath(folder_.File("missing.kcat")).c_str());
  EXPECT_EQ(missing.QueryDefaultParam(kSet, CmdIdType::Any, root), 51u);
  EXPECT_EQ(missing.Decode({kSet, 1, 0}, nullptr, root, CategoryIdType::Any), 51u);
  std::uint32_t length = 0;
  std::uint8_t* body = nullptr;
  EXPECT_EQ(missing.Encode(kSet, root, &length, &body), 51u);

  kivtest::WriteBytes(folder_.File("text.kcat"), "not a catalogue at all, but long enough to read");
  CParamCodec text(WidePath(folder_.File("text.kcat")).c_str());
  EXPECT_EQ(text.QueryDefaultParam(kSet, CmdIdType::Any, root), result::kCatalogueDamaged);
}

// Every allocation of the pool fails once; each failure is told as 500, leaves the tree empty or no
// body, and the next try succeeds.
TEST_F(ParamCodec, EveryFailedPoolAllocationIsStatus500) {
  CParamCodec codec(Path().c_str());
  const auto run = [&]() -> std::uint32_t {
    CParamNode root;
    std::uint32_t status = codec.QueryDefaultParam(kSet, CmdIdType::Any, root);
    if (status != 0) {
      EXPECT_EQ(root.GetFirstChild(), nullptr);
      return status;
    }
    std::uint32_t length = 0;
    std::uint8_t* body = nullptr;
    status = codec.Encode(kSet, root, &length, &body);
    if (status != 0) {
      EXPECT_EQ(body, nullptr);
      return status;
    }
    CParamNode reply;
    status = codec.Decode({kSet, DecodeDescriptor::kReq, length}, body, reply, CategoryIdType::Any);
    PoolFree(body);
    return status;
  };
  std::uint64_t failures = 0;
  for (;;) {
    pool::FailNth(failures + 1);
    const std::uint32_t status = run();
    const bool failed = pool::Failed();
    pool::FailNth(0);
    if (!failed) {
      EXPECT_EQ(status, 0u);
      break;
    }
    EXPECT_EQ(status, result::kNoMemory);
    ++failures;
  }
  EXPECT_EQ(failures, 3u);
}

TEST_F(ParamCodec, CodecsOnSeveralThreadsShareOneCatalogue) {
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        CParamCodec codec(Path().c_str());
        CParamNode root;
        const Bytes point{1, 0, 2, 0};
        const bool fine =
            codec.QueryDefaultParam(kSet, CmdIdType::Any, root) == 0 &&
            codec.Decode({kSet, 1, 4}, point.data(), root, CategoryIdType::Any) == 0 &&
            codec.Decode({kNotice, 2, 4}, point.data(), root, CategoryIdType::Any) == 0 &&
            codec.QueryDefaultParam(kNotice, CmdIdType::Any, root) == 1;
        if (fine) ++good;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, 800);
}

// The bench setup is the process's: these tests set it and put it back.
class CurrentCatalogue : public ParamCodec {
 protected:
  void TearDown() override {
    bench::SetSetup({});
    ParamCodec::TearDown();
  }
  void UseAsBench(const std::string& path) {
    bench::Setup setup;
    setup.catalogue = WidePath(path);
    bench::SetSetup(setup);
  }
};

TEST_F(CurrentCatalogue, EmptyPathIsTheCatalogueThatTheDatabaseOpenedLast) {
  UseAsBench(path_);
  QCList<CmdInfo> list;
  CCmdDatabase database;
  EXPECT_TRUE(database.GetPath() == Path());
  ASSERT_EQ(database.EnumCommands(list, 3, 256, 0, 0), 0u);
  for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), L""}) {
    CParamCodec codec(path);
    CParamNode root;
    EXPECT_EQ(codec.QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
    EXPECT_STREQ(root.GetTypeName(), L"set_type");
  }
  const std::uint64_t first = CurrentCatalogueFingerprint();
  EXPECT_NE(first, 0u);

  // Another file: codecs go on with the first one until a database has opened the other.
  ModelMaker maker;
  maker.Structure("other").Scalar("x", Scalar::kU8).End();
  maker.Command(0x77, "other", 0);
  const std::string other = folder_.File("other.kcat");
  kivtest::WriteBytes(other, maker.Bytes());
  UseAsBench(other);
  CParamNode root;
  EXPECT_EQ(CParamCodec(L"").QueryDefaultParam(kSet, CmdIdType::Any, root), 0u);
  CCmdDatabase again;
  ASSERT_EQ(again.EnumCommands(list, 3, 256, 0, 0), 0u);
  EXPECT_EQ(CParamCodec(L"").QueryDefaultParam(kSet, CmdIdType::Any, root), result::kNoSuchCommand);
  EXPECT_EQ(CParamCodec(L"").QueryDefaultParam(0x77, CmdIdType::Any, root), 0u);
  EXPECT_NE(CurrentCatalogueFingerprint(), first);
}

TEST_F(CurrentCatalogue, ShippedCatalogueIsOpenedWhenNobodyOpenedOne) {
  const std::string board = std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat";
  UseAsBench(board);
  QCList<CmdInfo> list;
  CCmdDatabase database;
  ASSERT_EQ(database.EnumCommands(list, 3, 256, 0, 0), 0u) << board;
  CParamCodec codec(L"");
  for (const CmdInfo& info : list) {
    CParamNode root;
    const bool sendable = info.GetCnfKind() != 0;
    EXPECT_EQ(codec.QueryDefaultParam(info.GetId(), CmdIdType::Any, root), sendable ? 0u : 1u)
        << info.GetId();
  }
}

}  // namespace
