#include "command/shared_constants.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

using SvcKivClass::ErrorMessage;

TEST(SharedConstants, AreTheTextsThatHostsCompare) {
  using namespace SvcKivClass;
  EXPECT_EQ(std::wstring(kTimeStampPattern), L"yyyymmddhhmmss");
  EXPECT_EQ(std::wstring(kStatisticsFileName), L"kiv_stat_info.txt");
  EXPECT_EQ(std::wstring(kHelpFileName), L"kiv_help.chm");
  EXPECT_EQ(std::wstring(kTextFileMarker), L"$(T<");
  EXPECT_EQ(std::wstring(kBinaryFileMarker), L"$(B<");
  EXPECT_EQ(std::string(kHotKeyConflictWarning), "ESC(<-) conflict with hot key Cancel");
  EXPECT_EQ(std::wstring(kScriptFileSuffix), L".hcs");
  ASSERT_EQ(std::size(kHelpWords), 2u);
  EXPECT_EQ(std::wstring(kHelpWords[0]), L"help");
  EXPECT_EQ(std::wstring(kHelpWords[1]), L"?");
  EXPECT_EQ(std::string(kHelpCaption), "Querying All Commands");
}

TEST(SharedConstants, HaveTheErrorMessagesInTheirOrder) {
  const std::vector<std::string> expected = {"Execute DIAG Command Timeout!",
                                             "Build Command Packet failed!",
                                             "No enough memory!",
                                             "OS full!",
                                             "Initial is not correct!",
                                             "Not enough memory!",
                                             "No ZEBM data library file found!",
                                             "Not supported!",
                                             "Query default paramters failed!",
                                             "New parse object failed!"};
  EXPECT_EQ(std::vector<std::string>(std::begin(SvcKivClass::kErrorMessages),
                                     std::end(SvcKivClass::kErrorMessages)),
            expected);
}

TEST(SharedConstants, NameTheirErrorMessages) {
  EXPECT_STREQ(MessageText(ErrorMessage::kExecuteTimeout), "Execute DIAG Command Timeout!");
  EXPECT_STREQ(MessageText(ErrorMessage::kNoDataLibrary), "No ZEBM data library file found!");
  EXPECT_STREQ(MessageText(ErrorMessage::kNewParseObjectFailed), "New parse object failed!");
}

}  // namespace
