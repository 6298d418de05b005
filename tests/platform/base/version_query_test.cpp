#include "platform/base/version_query.h"

#include <gtest/gtest.h>

#include "tests/platform/base/fresh_setup.h"

namespace {

using VersionQuery = kivtest::FreshSetup;

TEST_F(VersionQuery, AnswersTheDefaultWhenNobodySays) {
  EXPECT_EQ(248u, CVersion::GetVersion());
  EXPECT_EQ(0u, CProductVersion::GetVersion());
}

TEST_F(VersionQuery, PrefersConfigurationToTheDefault) {
  WriteKivIni("[bench]\nvariant=249\n");
  setenv("KIV_PRODUCT", "38", 1);
  bench::SetSetup({});
  EXPECT_EQ(249u, CVersion::GetVersion());
  EXPECT_EQ(38u, CProductVersion::GetVersion());
}

TEST_F(VersionQuery, PrefersTheDeviceToConfiguration) {
  setenv("KIV_VARIANT", "249", 1);
  setenv("KIV_PRODUCT", "38", 1);
  bench::SetSetup({});
  version_query::NoteDevice(246, 0);
  EXPECT_EQ(246u, CVersion::GetVersion());
  EXPECT_EQ(0u, CProductVersion::GetVersion());
  version_query::NoteDevice(-1, 7);
  EXPECT_EQ(249u, CVersion::GetVersion());
  EXPECT_EQ(7u, CProductVersion::GetVersion());
  version_query::NoteDevice(-1, -1);
  EXPECT_EQ(249u, CVersion::GetVersion());
  EXPECT_EQ(38u, CProductVersion::GetVersion());
}

TEST_F(VersionQuery, PrefersTheHostToEverything) {
  setenv("KIV_VARIANT", "249", 1);
  bench::Setup asked;
  asked.variant = 248;
  asked.product = 38;
  bench::SetSetup(asked);
  version_query::NoteDevice(246, 1);
  EXPECT_EQ(248u, CVersion::GetVersion());
  EXPECT_EQ(38u, CProductVersion::GetVersion());
}

TEST_F(VersionQuery, KeepsAll32Bits) {
  version_query::NoteDevice(0xFFFFFFFF, 0xFFFFFFFF);
  EXPECT_EQ(0xFFFFFFFFu, CVersion::GetVersion());
  EXPECT_EQ(0xFFFFFFFFu, CProductVersion::GetVersion());
}

}  // namespace
