#include "hosts/terminal/console_options.h"

#include <gtest/gtest.h>

#include "kiv_version.h"

namespace kiv {
namespace {

struct Read {
  std::optional<int> status;
  ConsoleOptions options;
  std::string output;
};

Read ReadFrom(QStringList arguments) {
  Read read;
  arguments.prepend(QStringLiteral("kiv"));
  read.status = ReadOptions(arguments, read.options, read.output);
  return read;
}

TEST(ConsoleOptions, LeaveEverythingToTheDefaultsWithoutArguments) {
  const Read read = ReadFrom({});
  EXPECT_EQ(read.status, std::nullopt);
  EXPECT_FALSE(read.options.HasScript());
  EXPECT_EQ(read.options.waitMs, std::nullopt);
  EXPECT_EQ(read.options.settleMs, 300u);
  EXPECT_FALSE(read.options.setup.endpoint.has_value());
  EXPECT_FALSE(read.options.setup.catalogue.has_value());
  EXPECT_FALSE(read.options.setup.configDir.has_value());
  EXPECT_FALSE(read.options.setup.variant.has_value());
  EXPECT_FALSE(read.options.debug);
}

TEST(ConsoleOptions, TakeEveryValue) {
  const Read read = ReadFrom({"-c",          "sys_info", "--command",    "echo_all {1}",
                              "-f",          "b.txt",    "--link",       "unix:/run/kiv/\u00e4",
                              "--catalogue", "c.kcat",   "--config-dir", "/tmp/x",
                              "--wait",      "40",       "--settle",     "0",
                              "--variant",   "246",      "--product=38", "--debug"});
  ASSERT_EQ(read.status, std::nullopt) << read.output;
  EXPECT_EQ(read.options.lines, (std::vector<std::string>{"sys_info", "echo_all {1}"}));
  EXPECT_EQ(read.options.file, "b.txt");
  EXPECT_EQ(*read.options.setup.endpoint, L"unix:/run/kiv/\u00e4");
  EXPECT_EQ(*read.options.setup.catalogue, L"c.kcat");
  EXPECT_EQ(*read.options.setup.configDir, L"/tmp/x");
  EXPECT_EQ(read.options.waitMs, 40u);
  EXPECT_EQ(read.options.settleMs, 0u);
  EXPECT_EQ(read.options.setup.variant, 246u);
  EXPECT_EQ(read.options.setup.product, 38u);
  EXPECT_TRUE(read.options.debug);
}

TEST(ConsoleOptions, KeepALineThatBeginsWithADash) {
  const Read read = ReadFrom({"-c", "-x 1"});
  ASSERT_EQ(read.status, std::nullopt) << read.output;
  EXPECT_EQ(read.options.lines, std::vector<std::string>{"-x 1"});
}

TEST(ConsoleOptions, RefuseAnEmptyLinkInsteadOfTakingTheDefaultOne) {
  for (const QStringList& arguments : {QStringList{"--link", ""}, QStringList{"--link="}}) {
    const Read read = ReadFrom(arguments);
    EXPECT_EQ(read.status, kWrongUsage);
    EXPECT_EQ(read.output, "kiv: --link wants an endpoint, not an empty text\n");
  }
}

TEST(ConsoleOptions, RefuseWhatIsNoOption) {
  const Read read = ReadFrom({"--lnik", "x"});
  EXPECT_EQ(read.status, kWrongUsage);
  EXPECT_EQ(read.output, "kiv: Unknown option 'lnik'.\nkiv: try 'kiv --help'\n");
}

TEST(ConsoleOptions, RefuseASecondFile) {
  const Read read = ReadFrom({"-f", "a", "-f", "b"});
  EXPECT_EQ(read.status, kWrongUsage);
  EXPECT_EQ(read.output, "kiv: --file may be given once\nkiv: try 'kiv --help'\n");
}

TEST(ConsoleOptions, RefuseAPositionalArgument) {
  const Read read = ReadFrom({"sys_info"});
  EXPECT_EQ(read.status, kWrongUsage);
  EXPECT_EQ(read.output,
            "kiv: unexpected argument 'sys_info'; a line to run comes behind -c\nkiv: try 'kiv "
            "--help'\n");
}

TEST(ConsoleOptions, RefuseANumberThatIsNone) {
  const struct {
    const char *option, *highest;
  } rows[] = {
      {"wait", "4294967295"}, {"settle", "4294967295"}, {"variant", "65535"}, {"product", "65535"}};
  for (const auto& row : rows) {
    for (const char* value : {"", "x", "-1", "12x", "4294967296"}) {
      const Read read = ReadFrom({QString("--") + row.option + "=" + value});
      EXPECT_EQ(read.status, kWrongUsage) << row.option << " " << value;
      EXPECT_EQ(read.output, std::string("kiv: --") + row.option + " wants a number from 0 to " +
                                 row.highest + ", not '" + value + "'\n");
    }
  }
}

TEST(ConsoleOptions, TakeCodesOf16BitsAndTimesOf32) {
  for (const char* option : {"variant", "product"}) {
    EXPECT_EQ(ReadFrom({QString("--") + option + "=65535"}).status, std::nullopt) << option;
    EXPECT_EQ(ReadFrom({QString("--") + option + "=65536"}).status, kWrongUsage) << option;
    EXPECT_EQ(ReadFrom({QString("--") + option + "=70000"}).output,
              std::string("kiv: --") + option + " wants a number from 0 to 65535, not '70000'\n");
  }
  EXPECT_EQ(ReadFrom({"--wait=4294967295"}).options.waitMs, 4294967295u);
}

TEST(ConsoleOptions, RefuseAPathThatIsNotUtf8) {
  for (const char* option : {"link", "catalogue", "config-dir", "file"}) {
    const Read read = ReadFrom({QString("--") + option + "=" + QString::fromUtf8("a\xFF")});
    EXPECT_EQ(read.status, kWrongUsage) << option;
    EXPECT_EQ(read.output,
              std::string("kiv: --") + option + " is not UTF-8\nkiv: try 'kiv --help'\n");
  }
}

TEST(ConsoleOptions, EndWithTheVersion) {
  const Read read = ReadFrom({"--version"});
  EXPECT_EQ(read.status, kDone);
  EXPECT_EQ(read.output, "kiv " KIV_VERSION "\n");
}

TEST(ConsoleOptions, EndWithAHelpThatNamesEveryOptionAndEveryStatus) {
  const Read read = ReadFrom({"--help"});
  EXPECT_EQ(read.status, kDone);
  for (const char* word :
       {"--command", "--file", "--link", "--catalogue", "--config-dir", "--wait", "--settle",
        "--variant", "--product", "--debug", "--version", "--help", "Ends with 0"}) {
    EXPECT_NE(read.output.find(word), std::string::npos) << word;
  }
}

}  // namespace
}  // namespace kiv
