// kivcat as a person calls it: whole outputs, whole messages, exit statuses.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <string>

#include "platform/catalogue/catalogue_writer.h"
#include "tests/support/sweep.h"
#include "tests/tools/kivcat_fixture.h"
#include "tests/tools/random_model.h"
#include "tools/kivcat/source_checker.h"
#include "tools/kivcat/source_writer.h"

namespace {

using kivtest::BoardCompiled;
using kivtest::BoardSource;
using kivtest::CallResult;
using kivtest::Kivcat;
using kivtest::KivcatFolder;

constexpr const char* kUsage = R"(usage:
  kivcat build SOURCE -o FILE
      compiles a source
  kivcat check CATALOGUE
      tells what is wrong with a catalogue
  kivcat diff OLD NEW
      tells what differs between two catalogues; ends with 0 when nothing does, else with 1
  kivcat show [--source] [-o FILE] CATALOGUE [COMMAND]
      lists commands, or one with its structures; or writes the source
  kivcat header CATALOGUE [-o FILE]
      writes the C header for the device side
  kivcat encode COMPILED COMMAND [PARAMETERS]
      the request's body for a parameter text, in hexadecimal
  kivcat decode [--hex] [--one-line] [--types] COMPILED COMMAND cnf|ind|req HEX
      a body as the console shows it
SOURCE is a catalogue in JSON, COMPILED one that kivcat build wrote, CATALOGUE either.
)";

// The version of a compiled file's format: SQLite keeps it at byte 60, the highest byte first.
int FormatVersion(const std::string& path) {
  return static_cast<unsigned char>(KivcatFolder::Read(path).at(63));
}

constexpr const char* kLengths = R"({"format":1,"name":"part",
"types":[{"name":"t","fields":[
 {"name":"note_length","type":"u8","length_of":"note","text":"to its end"},{"name":"note","type":"char","count":8},
 {"name":"data","type":"u8","count":300},{"name":"data_length","type":"u16","length_of":"data","default":300}]}],
"commands":[{"id":"0x30","name":"send","request":"t"}]})";

constexpr const char* kSmall = R"({"format":1,"name":"small","text":"two\nlines",
"enumerations":[{"name":"level","base":"i8","text":"a */ level","values":[{"name":"low","value":-1,"text":"down"},{"name":"high","value":1}]}],
"types":[
 {"name":"point","layout":"natural","text":"where","fields":[{"name":"x","type":"u8","default":7},{"name":"y","type":"i64"}]},
 {"name":"none","fields":[]},
 {"name":"set","fields":[{"name":"level","type":"level","default":"low"},{"name":"points","type":"point","count":2,"text":"both"},
  {"name":"text","type":"char","count":4,"default":"a\"b"}]}],
"commands":[
 {"id":"0x20","name":"put","text":"puts","group":"g","request":"set","confirmation":"none","combined":["1","2"]},
 {"id":"0x10","name":"tell","indication":"point","listed":false,"combined":"none"}],
"host_words":["dir"]})";

class KivcatProgram : public testing::Test {
 protected:
  // Runs a call that must end well.
  static std::string Good(const std::vector<std::string>& arguments) {
    const CallResult call = Kivcat(arguments);
    EXPECT_EQ(call.status, 0) << call.errorOutput;
    EXPECT_EQ(call.errorOutput, "");
    return call.output;
  }
  static void ExpectFailure(const std::vector<std::string>& arguments, const std::string& text) {
    const CallResult call = Kivcat(arguments);
    EXPECT_EQ(call.status, 1);
    EXPECT_EQ(call.output, "");
    EXPECT_EQ(call.errorOutput, text);
  }
  static void ExpectWrongUsage(const std::vector<std::string>& arguments,
                               const std::string& reason) {
    const CallResult call = Kivcat(arguments);
    EXPECT_EQ(call.status, 2);
    EXPECT_EQ(call.output, "");
    EXPECT_EQ(call.errorOutput, "kivcat: " + reason + "\n" + kUsage);
  }

  KivcatFolder folder_;
};

TEST_F(KivcatProgram, WrongCallsShowTheUsage) {
  ExpectWrongUsage({}, "a command is missing");
  ExpectWrongUsage({"paint"}, "there is no command \"paint\"");
  ExpectWrongUsage({"check"}, "wrong number of words: kivcat check CATALOGUE");
  ExpectWrongUsage({"header", "a", "b"},
                   "wrong number of words: kivcat header CATALOGUE [-o FILE]");
  ExpectWrongUsage({"header", "a", "--colour"}, "Unknown option 'colour'.");
  ExpectWrongUsage({"header", "a", "-o"}, "Missing value after '-o'.");
  EXPECT_EQ(Good({"--help"}), kUsage);
  EXPECT_TRUE(Good({"--version"}).starts_with("kivcat "));
}

TEST_F(KivcatProgram, MissingFilesAreNamed) {
  const std::string missing = folder_.File("missing");
  const std::string text = missing + ": No such file or directory\n";
  ExpectFailure({"check", missing}, text);
  ExpectFailure({"header", missing}, text);
  ExpectFailure({"show", missing}, text);
  ExpectFailure({"build", missing, "-o", folder_.File("out")}, text);
  ExpectFailure({"encode", missing, "a"}, "kivcat: " + missing + ": file not found\n");
}

TEST_F(KivcatProgram, FaultsOfASourceGoToTheErrorOutputWithItsName) {
  const std::string source = folder_.Write("wrong.json", "{\n  \"format\": 3}");
  const std::string text = source + ":1:1: the catalogue lacks \"name\"\n" + source +
                           ":1:1: the catalogue lacks \"types\"\n" + source +
                           ":1:1: the catalogue lacks \"commands\"\n" + source +
                           ":2:13: \"format\" must be from 1 to 1\n";
  ExpectFailure({"check", source}, text);
  ExpectFailure({"header", source}, text);
  ExpectFailure({"build", source, "-o", folder_.File("out")}, text);
  EXPECT_FALSE(std::filesystem::exists(folder_.File("out")));
}

TEST_F(KivcatProgram, WarningsAreToldAndTheWorkIsDone) {
  const std::string source = folder_.Write(
      "w.json", R"({"format":1,"name":"n","types":[],"commands":[{"id":1,"name":"shout"}]})");
  const CallResult call = Kivcat({"build", source, "-o", folder_.File("out")});
  EXPECT_EQ(call.status, 0);
  EXPECT_EQ(call.errorOutput,
            source + ":1:47: warning: a console takes \"shout\" for a shell line\n");
  EXPECT_TRUE(std::filesystem::exists(folder_.File("out")));
}

TEST_F(KivcatProgram, WordsThatBreakALineAreEscapedInMessages) {
  const std::string board = BoardSource();
  ExpectFailure({"show", board, "a\nb\tc"},
                "kivcat: " + board + ": there is no command \"a\\x0ab\\x09c\"\n");
  ExpectFailure({"show", "no\nfile"}, "no\\x0afile: No such file or directory\n");
  ExpectFailure(
      {"check", folder_.Write("two\nlines.json", "[]")},
      folder_.File("two\\x0alines.json") + ":1:1: the catalogue must be an object, not a list\n");
  ExpectFailure({"check", folder_.Write("t.json", "{\"a\\nb\":1}")},
                folder_.File("t.json") + ":1:1: the catalogue lacks \"format\"\n" +
                    folder_.File("t.json") + ":1:1: the catalogue lacks \"name\"\n" +
                    folder_.File("t.json") + ":1:1: the catalogue lacks \"types\"\n" +
                    folder_.File("t.json") + ":1:1: the catalogue lacks \"commands\"\n" +
                    folder_.File("t.json") + ":1:2: the catalogue has no key \"a\\x0ab\"\n");
  ExpectWrongUsage({"a\nb"}, "there is no command \"a\\x0ab\"");
}

TEST_F(KivcatProgram, APipeUnderTheNameOfACatalogueIsRefusedAndNotWaitedFor) {
  const std::string pipe = folder_.File("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string text = pipe + ": not a regular file\n";
  ExpectFailure({"show", pipe}, text);
  ExpectFailure({"check", pipe}, text);
  ExpectFailure({"header", pipe}, text);
  ExpectFailure({"build", pipe, "-o", folder_.File("out")}, text);
  ExpectFailure({"encode", pipe, "a"}, "kivcat: " + pipe + ": file cannot be opened\n");
  ExpectFailure({"show", folder_.File("")}, folder_.File("") + ": Is a directory\n");
}

TEST_F(KivcatProgram, CheckTakesACompiledCatalogueToo) {
  EXPECT_EQ(Good({"check", BoardCompiled()}), "");
  std::string bytes = KivcatFolder::Read(BoardCompiled());
  bytes.resize(bytes.size() / 2);
  const std::string damaged = folder_.Write("damaged.kcat", bytes);
  ExpectFailure({"check", damaged}, damaged + ": the catalogue file is damaged\n");
}

// Whether the file is another sound catalogue: one bit of a description or of a default makes it
// so.
bool IsAnotherCatalogue(const std::string& path) {
  const CallResult call = Kivcat({"diff", BoardCompiled(), path});
  if (call.status != 1 || !call.errorOutput.empty()) return false;
  const bool one = call.output.find('\n') == call.output.size() - 1;
  return one && (call.output.find(" text: ") != std::string::npos ||
                 call.output.find(" default: ") != std::string::npos);
}

// A damaged catalogue may not even be shown: its source could break the rules of sources.
TEST_F(KivcatProgram, ACompiledCatalogueOfWhichABitIsWrongIsRefused) {
  const std::string good = KivcatFolder::Read(BoardCompiled());
  std::uint32_t random = 7;
  int refused = 0;
  for (int i = 0; i < 60; ++i) {
    random = random * 1664525u + 1013904223u;
    const std::size_t bit = random % (good.size() * 8);
    // Of a file of another version of SQLite not all bytes can be judged.
    if (bit / 8 >= 96 && bit / 8 < 100) continue;
    std::string bytes = good;
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
    const std::string path = folder_.Write("flipped.kcat", bytes);
    if (IsAnotherCatalogue(path)) continue;
    ++refused;
    for (const std::string command : {"check", "show"}) {
      const CallResult call = Kivcat({command, path});
      EXPECT_EQ(call.status, 1) << bit;
      EXPECT_EQ(call.output, "") << bit;
      EXPECT_TRUE(call.errorOutput.starts_with(path + ": ")) << bit << call.errorOutput;
    }
    EXPECT_EQ(Kivcat({"diff", BoardCompiled(), path}).status, 2) << bit;
  }
  EXPECT_GT(refused, 40);
}

// As another version of SQLite would write it: what it says is judged, its bytes are not.
TEST_F(KivcatProgram, ACompiledCatalogueIsHeldToTheRulesOfSources) {
  const struct {
    std::function<void(catalogue::Model&)> change;
    const char* reason;
  } rows[] = {
      {[](catalogue::Model&) {}, nullptr},
      {[](catalogue::Model& m) { m.commands[0].name = "two words"; },
       "\"name\" must be a letter or _, then letters, digits and _, at most 80 characters"},
      {[](catalogue::Model& m) { m.structures[2].fields[0].name = "int"; },
       "a field cannot be called \"int\", which is a word of C"},
      {[](catalogue::Model& m) { m.structures[2].fields[0].name = "text"; },
       "the field \"text\" stands twice in this type"},
      {[](catalogue::Model& m) { m.commands[0].name = "other"; },
       "the catalogue file is damaged: its fingerprint is "},
      {[](catalogue::Model& m) { m.fingerprint ^= 1; },
       "the catalogue file is damaged: its fingerprint is "},
      {[](catalogue::Model& m) { m.commands[1].fingerprint ^= 1; },
       "the catalogue file is damaged: ~ command put fingerprint: "},
      {[](catalogue::Model& m) { m.commands[1].text = "\xE9"; },
       "the catalogue file is damaged: ~ command put text: "},
  };
  for (const auto& row : rows) {
    catalogue::Model model;
    kivcat::Faults faults("small");
    ASSERT_TRUE(kivcat::LoadSource(kSmall, model, faults)) << faults.Text();
    row.change(model);
    std::string bytes;
    ASSERT_EQ(catalogue::WriteCatalogue(model, bytes), 0u);
    bytes.replace(96, 4, 4, '\0');
    const std::string path = folder_.Write("small.kcat", bytes);
    const CallResult call = Kivcat({"check", path});
    EXPECT_EQ(call.status, row.reason == nullptr ? 0 : 1);
    if (row.reason == nullptr) continue;
    EXPECT_TRUE(call.errorOutput.starts_with(path + ": " + row.reason)) << call.errorOutput;
    EXPECT_EQ(Kivcat({"show", "--source", path}).output, "");
  }
}

TEST_F(KivcatProgram, BuildGivesTheSameBytesEachTime) {
  Good({"build", BoardSource(), "-o", folder_.File("a")});
  Good({"build", BoardSource(), "-o", folder_.File("b")});
  EXPECT_TRUE(KivcatFolder::Read(folder_.File("a")) == KivcatFolder::Read(folder_.File("b")));
  EXPECT_TRUE(KivcatFolder::Read(folder_.File("a")) == KivcatFolder::Read(BoardCompiled()));
  ExpectFailure({"build", BoardSource()}, "kivcat: build needs -o FILE\n");
  ExpectFailure({"build", BoardSource(), "-o", folder_.File("no/where")},
                "kivcat: " + folder_.File("no/where") + ": No such file or directory\n");
  ExpectFailure({"build", BoardCompiled(), "-o", folder_.File("c")},
                BoardCompiled() +
                    ":1:1: syntax error while parsing value - invalid literal; last "
                    "read: 'S'\n");
}

TEST_F(KivcatProgram, SourceAndCompiledGiveTheSameHeaderAndListing) {
  for (const std::vector<std::string>& rest : std::vector<std::vector<std::string>>{
           {"header"}, {"show"}, {"show", "--source"}, {"show"}}) {
    std::vector<std::string> fromSource = rest;
    std::vector<std::string> fromCompiled = rest;
    fromSource.push_back(BoardSource());
    fromCompiled.push_back(BoardCompiled());
    EXPECT_EQ(Good(fromSource), Good(fromCompiled));
  }
}

TEST_F(KivcatProgram, DamagedCatalogueIsNamed) {
  std::string bytes = KivcatFolder::Read(BoardCompiled());
  const std::size_t at = bytes.find("CREATE TABLE field");
  ASSERT_NE(at, std::string::npos);
  bytes[at + 13] = 'F';
  const std::string path = folder_.Write("damaged.kcat", bytes);
  ExpectFailure({"show", path}, path + ": the catalogue file is damaged\n");
  ExpectFailure({"encode", path, "sys_info"},
                "kivcat: " + path + ": the catalogue file is damaged or not compiled\n");
}

TEST_F(KivcatProgram, ShowListsCommands) {
  const std::string source = folder_.Write("small.json", kSmall);
  EXPECT_EQ(Good({"show", source}),
            "small, fingerprint c78f6743e516d7d7\n"
            "two lines\n"
            "\n"
            "id    name  group  request  confirmation  indication  text\n"
            "0x10  tell         -        -             point\n"
            "0x20  put   g      set      none          -           puts\n");
}

TEST_F(KivcatProgram, ShowOfACommandHasOffsetsTypesAndDefaults) {
  const std::string source = folder_.Write("small.json", kSmall);
  const std::string expected =
      "0x20 put, fingerprint a430cff28d7a375e\n"
      "puts\n"
      "group: g\n"
      "combined:\n"
      "  1\n"
      "  2\n"
      "request set, 37 bytes, packed\n"
      "  0     level   level (i8: low=-1 high=1)  = -1\n"
      "  1     points  point[2]                   = {{7, INT64_C(0)}, {7, INT64_C(0)}}  both\n"
      "  1       x     u8                         = 7\n"
      "  9       y     i64                        = INT64_C(0)\n"
      "  33    text    char[4]                    = {97, 34, 98}\n"
      "confirmation none, 0 bytes, packed\n";
  EXPECT_EQ(Good({"show", source, "put"}), expected);
  EXPECT_EQ(Good({"show", source, "0x20"}), expected);
  EXPECT_EQ(Good({"show", source, "tell"}),
            "0x10 tell, fingerprint fbc51b2d0cc250cd\n"
            "not listed\n"
            "combined: none\n"
            "indication point, 16 bytes, natural\n"
            "  0    x  u8   = 7\n"
            "  8    y  i64  = INT64_C(0)\n");
  ExpectFailure({"show", source, "nothing"},
                "kivcat: " + source + ": there is no command \"nothing\"\n");
}

TEST_F(KivcatProgram, HeaderIsAsDocumented) {
  const std::string source = folder_.Write("small.json", kSmall);
  const std::string header = Good({"header", source});
  EXPECT_EQ(header, KivcatFolder::Read(std::string(kivtest::SourceDir()) +
                                       "/tests/tools/data/small_catalogue.h"));
}

TEST_F(KivcatProgram, LengthsOfArraysAreShownAndBuilt) {
  const std::string source = folder_.Write("part.json", kLengths);
  const std::string built = folder_.File("part.kcat");
  Good({"build", source, "-o", built});
  EXPECT_EQ(Good({"check", built}), "");
  EXPECT_EQ(Good({"diff", source, built}), "");
  EXPECT_EQ(FormatVersion(built), 2);
  EXPECT_EQ(Good({"show", built, "send"}),
            "0x30 send, fingerprint 0447ef5018b05fb4\n"
            "request t, 311 bytes, packed\n"
            "  0      note_length  u8 (length of note)   = 0    to its end\n"
            "  1      note         char[8]               = {0}\n"
            "  9      data         u8[300]               = {0}\n"
            "  309    data_length  u16 (length of data)  = 300\n");
  const std::string header = Good({"header", built});
  EXPECT_NE(header.find("  uint8_t note_length;  /* used bytes of note; to its end */\n"),
            std::string::npos);
  EXPECT_NE(header.find("  uint16_t data_length;  /* used bytes of data */\n"), std::string::npos);
  EXPECT_EQ(Good({"header", source}), header);
  const std::string shown = folder_.Write("again.json", Good({"show", "--source", built}));
  Good({"build", shown, "-o", folder_.File("again.kcat")});
  EXPECT_TRUE(KivcatFolder::Read(built) == KivcatFolder::Read(folder_.File("again.kcat")));
}

// Programs that know version 1 alone go on opening what has no lengths.
TEST_F(KivcatProgram, ACatalogueWithoutLengthsKeepsTheFirstFormat) {
  Good({"build", folder_.Write("small.json", kSmall), "-o", folder_.File("small.kcat")});
  EXPECT_EQ(FormatVersion(folder_.File("small.kcat")), 1);
  EXPECT_EQ(KivcatFolder::Read(folder_.File("small.kcat")).find("field_length"), std::string::npos);
}

TEST_F(KivcatProgram, NamesThatCCannotTellApartGiveNoHeader) {
  const std::string source = folder_.Write("twice.json", R"({"format":1,"name":"n",
"types":[{"name":"a","fields":[]},{"name":"A","fields":[]}],"commands":[]})");
  ExpectFailure({"header", source},
                "kivcat: " + source + ": two things would be called KIV_A_BYTES in C\n");
}

TEST_F(KivcatProgram, ShownSourceBuildsToTheSameCatalogue) {
  const std::string small = folder_.Write("small.json", kSmall);
  Good({"build", small, "-o", folder_.File("first")});
  Good({"show", "--source", folder_.File("first"), "-o", folder_.File("again.json")});
  Good({"build", folder_.File("again.json"), "-o", folder_.File("second")});
  EXPECT_TRUE(KivcatFolder::Read(folder_.File("first")) ==
              KivcatFolder::Read(folder_.File("second")));
  const std::int64_t models = kivtest::SweepCount(500);
  for (std::int64_t seed = 0; seed < models && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const auto number = static_cast<std::uint32_t>(seed);
    const catalogue::Model model =
        number % 2 == 0 ? kivtest::RandomModel(number) : kivtest::RandomModelWithLengths(number);
    catalogue::Model again;
    kivcat::Faults faults("again");
    ASSERT_TRUE(kivcat::LoadSource(kivcat::WriteSource(model), again, faults)) << faults.Text();
    std::string bytes;
    std::string bytesAgain;
    ASSERT_EQ(catalogue::WriteCatalogue(model, bytes), 0u);
    ASSERT_EQ(catalogue::WriteCatalogue(again, bytesAgain), 0u);
    EXPECT_TRUE(bytes == bytesAgain);
  }
}

TEST_F(KivcatProgram, EncodeWritesTheBodyOfAParameterText) {
  const std::string board = BoardCompiled();
  EXPECT_EQ(Good({"encode", board, "nv_read"}), "0100\n");
  EXPECT_EQ(Good({"encode", board, "nv_read", "{0x102}"}), "0201\n");
  EXPECT_EQ(Good({"encode", board, "nv_read", "-1"}), "ffff\n");
  EXPECT_EQ(Good({"encode", board, "nv_read", " 7 \r\n"}), "0700\n");
  EXPECT_EQ(Good({"encode", board, "nv_read", "7 -r 00:11:22:33:44:55"}), "0700\n");
  EXPECT_EQ(Good({"encode", board, "sys_info"}), "\n");
  EXPECT_EQ(Good({"encode", board, "note", "hello"}), "68656c6c6f000000\n");
  EXPECT_EQ(Good({"encode", board, "note"}), "00000000\n");
  EXPECT_EQ(Good({"encode", board, "echo_nested",
                  "{5,{1,{2,3},{4,5}},{{1,2},{3,4},{5,6}},{{1,2,3},{4,5,6}},[7,8,9]}"}),
            "050000000102000300040005000100020003000400050006000100000002000000030000000400000005"
            "00000006000000070809\n");
}

TEST_F(KivcatProgram, EncodeTellsWhatTheConsoleWouldTell) {
  const std::string board = BoardCompiled();
  ExpectFailure({"encode", board, "nv_read", "{1"},
                "*** Failed to parse the diag command parameters (1).the last '}' is missing.\n");
  ExpectFailure({"encode", board, "nv_read", "[1]"},
                "*** Failed to parse the diag command parameters (2).\n"
                "Value type does not match, meeting the '[' for single value.\n"
                "The index of current parameter is %d.\n");
  ExpectFailure(
      {"encode", board, "ind_tick"},
      "*** Failed to find valid packet (id=0x1311, ret=1). Maybe the parameter is invalid "
      "or the ID does not exist. \n");
  ExpectFailure({"encode", board, "nv_read", "1 -r nowhere"},
                "*** Failed to execute diag command. Check MAC path.\n");
  ExpectFailure({"encode", board, "nothing"},
                "kivcat: " + board + ": there is no command \"nothing\"\n");
  ExpectFailure({"encode", BoardSource(), "nv_read"},
                "kivcat: " + BoardSource() + ": the catalogue file is damaged or not compiled\n");
}

TEST_F(KivcatProgram, DecodeShowsABodyAsTheConsoleDoes) {
  const std::string board = BoardCompiled();
  EXPECT_EQ(Good({"decode", board, "nv_read", "req", "0201"}), ".item = 258 \n");
  EXPECT_EQ(Good({"decode", board, "ind_tick", "ind", "01000000 FFffFFff"}),
            ".number    = 1 \n.uptime_ms = 4294967295 \n");
  EXPECT_EQ(Good({"decode", "--hex", board, "ind_tick", "ind", "0100000010000000"}),
            ".number    = 0x00000001 \n.uptime_ms = 0x00000010 \n");
  const std::string load =
      "02000000"
      "0100" +
      std::string(64, '0') + "010000000200000003000000";
  EXPECT_EQ(Good({"decode", "--one-line", "--types", board, "cpu_load", "cnf", load}),
            ".cpu_count          = 2  \n"
            ".total_permille     = 1  \n"
            ".cpu_permille       = 0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0  u16\n"
            ".load_average_centi = 1,2,3  u32\n");
  EXPECT_EQ(Good({"decode", board, "nv_write", "cnf", "00000000"}), "ok\n");
  EXPECT_EQ(Good({"decode", board, "nv_write", "cnf", ""}), "ok\n");
  EXPECT_EQ(Good({"decode", board, "note", "req", "6869001b"}), "hi\n");
}

TEST_F(KivcatProgram, DecodeEscapesControlCharacters) {
  const std::string text = "681b5d0a" + std::string(504, '0') + "0000";
  EXPECT_EQ(Good({"decode", BoardCompiled(), "note", "cnf", text.substr(0, 512)}), "h\\x1b]\n  \n");
}

TEST_F(KivcatProgram, DecodeTellsWhyABodyIsNone) {
  const std::string board = BoardCompiled();
  const CallResult shortBody = Kivcat({"decode", board, "nv_read", "cnf", "00"});
  EXPECT_EQ(shortBody.status, 1);
  EXPECT_EQ(shortBody.output, "ok [ack(0x1201)]\n");
  EXPECT_EQ(shortBody.errorOutput, "kivcat: the size is not that of the structure\n");
  const CallResult noInd = Kivcat({"decode", board, "nv_read", "ind", "00"});
  EXPECT_EQ(noInd.status, 1);
  EXPECT_EQ(noInd.output, "Not supported!\n");
  EXPECT_EQ(noInd.errorOutput, "kivcat: not supported\n");
  ExpectFailure({"decode", board, "nv_read", "req", "00"},
                "kivcat: the size is not that of the structure\n");
  ExpectFailure({"decode", board, "nv_read", "cnf", "0"},
                "kivcat: the body must be pairs of hexadecimal digits\n");
  ExpectFailure({"decode", board, "nv_read", "cnf", "0x01"},
                "kivcat: the body must be pairs of hexadecimal digits\n");
  ExpectFailure({"decode", board, "nv_read", "rsp", "00"},
                "kivcat: \"rsp\" is none of cnf, ind, req\n");
  ExpectFailure({"decode", board, "nothing", "cnf", "00"},
                "kivcat: " + board + ": there is no command \"nothing\"\n");
}

}  // namespace
