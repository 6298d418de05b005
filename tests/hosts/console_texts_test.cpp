#include "hosts/terminal/console_texts.h"

#include <gtest/gtest.h>

#include <string>

namespace kiv {
namespace {

TEST(ConsoleTexts, QuoteAShortLineWhole) {
  EXPECT_EQ(NothingSentText("sh"), "kiv: nothing was sent for 'sh'\n");
  const std::string line(160, 'x');
  EXPECT_EQ(LinkLostText(line), "kiv: the link was lost before '" + line + "' was answered\n");
}

TEST(ConsoleTexts, CutALongLineBetweenTwoCharacters) {
  EXPECT_EQ(NoAnswerText(std::string(100000, 'x'), 5),
            "kiv: no answer to '" + std::string(160, 'x') + "...' within 5 ms\n");
  // U+20AC has three bytes: 53 of them are 159.
  std::string euros;
  for (int i = 0; i < 60; ++i) euros += "\xE2\x82\xAC";
  EXPECT_EQ(LineNotConnectedText(euros),
            "kiv: not connected; '" + euros.substr(0, 159) + "...' was not sent\n");
}

TEST(ConsoleTexts, CutEachLineOrWordThatWasTyped) {
  const std::string line(161, 'x');
  const std::string cut = "'" + std::string(160, 'x') + "...'";
  EXPECT_EQ(RefusedText(line, 704).find("kiv: the device refused " + cut + ": "), 0u);
  EXPECT_EQ(NothingSentText(line), "kiv: nothing was sent for " + cut + "\n");
  EXPECT_EQ(RestLostText(line), "kiv: the first word of " + cut +
                                    " has more than 80 characters; what stands behind it was not "
                                    "sent\n");
  EXPECT_EQ(LinkLostText(line), "kiv: the link was lost before " + cut + " was answered\n");
  EXPECT_EQ(UnknownWordText(line),
            "kiv: " + cut + " is none of the console's own words; :help lists them\n");
  EXPECT_EQ(NoArgumentsText(line), "kiv: " + cut + " takes no arguments\n");
}

}  // namespace
}  // namespace kiv
