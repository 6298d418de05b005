// A command's request read as its description.
#include "platform/catalogue/request_model.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/base/result_codes.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/tree_paths.h"

namespace {

using catalogue::Command;
using catalogue::Model;

// set { u8 a, point { i16 x }[2] }; plain has no request; notice cannot be sent.
class RequestModel : public testing::Test {
 protected:
  void SetUp() override {
    kivtest::ModelMaker maker;
    maker.Structure("point").Scalar("x", catalogue::Scalar::kI16).End();
    maker.Structure("set_type").Scalar("a", catalogue::Scalar::kU8).Nested("points", 0, 2);
    maker.Model().structures.back().text = "what is set";
    maker.Model().structures.back().fields[0].text = "the first";
    maker.End("\x07");
    maker.Command(0x10, "set", 1, 0);
    maker.Command(0x11, "plain", -1, 0);
    maker.Command(0x12, "notice", -1, -1, 0);
    path_ = folder_.File("sample.kcat");
    kivtest::WriteBytes(path_, maker.Bytes());
  }
  std::uint32_t Read(std::uint32_t id) {
    const QCString path = kivtest::WidePath(path_);
    return catalogue::ReadRequest(path.c_str(), id, model_, structure_);
  }

  kivtest::TempFolder folder_;
  std::string path_;
  Model model_;
  std::int32_t structure_ = 77;
};

TEST_F(RequestModel, HasTheStructureWithItsTextsAndAllThatItRefersTo) {
  ASSERT_EQ(Read(0x10), result::kOk);
  ASSERT_GE(structure_, 0);
  const catalogue::Structure& structure = model_.structures.at(structure_);
  EXPECT_EQ(structure.name, "set_type");
  EXPECT_EQ(structure.text, "what is set");
  EXPECT_EQ(structure.fields.at(0).text, "the first");
  EXPECT_EQ(structure.defaults, std::string("\x07\0\0\0\0", 5));
  EXPECT_EQ(model_.structures.at(structure.fields.at(1).reference).name, "point");
}

TEST_F(RequestModel, IsReadAnewEachTime) {
  ASSERT_EQ(Read(0x10), result::kOk);
  ASSERT_EQ(Read(0x10), result::kOk);
  EXPECT_EQ(model_.structures.size(), 2u);
}

TEST_F(RequestModel, IsNoneForACommandWithoutParameters) {
  ASSERT_EQ(Read(0x11), result::kOk);
  EXPECT_EQ(structure_, Command::kNoStructure);
}

TEST_F(RequestModel, AnswersTheStatusOfWhatIsNotThere) {
  EXPECT_EQ(Read(0x12), result::kNotSupported);
  EXPECT_EQ(Read(0x99), result::kNoSuchCommand);
  path_ += ".gone";
  EXPECT_EQ(Read(0x10), result::kNoFile);
}

}  // namespace
