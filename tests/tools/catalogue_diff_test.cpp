// kivcat diff: the whole text of a comparison, and its status.
#include "tests/tools/kivcat_fixture.h"

namespace kivtest {
namespace {

constexpr char kOld[] = R"({"format":1,"name":"board","text":"one",
"enumerations":[
 {"name":"level","base":"u8","text":"how","values":[{"name":"low","value":1},{"name":"mid","value":2},{"name":"gone","value":9}]},
 {"name":"unused","base":"i16","values":[]}],
"types":[
 {"name":"point","fields":[{"name":"x","type":"i16"},{"name":"y","type":"i16","default":-3}]},
 {"name":"old_type","fields":[{"name":"a","type":"u32"}]},
 {"name":"set","text":"sets","fields":[
  {"name":"level","type":"level","default":"low","text":"of all"},
  {"name":"points","type":"point","count":2},
  {"name":"note","type":"char","count":8,"default":"hi"},
  {"name":"dropped","type":"u8","count":3}]}],
"commands":[
 {"id":"0x10","name":"put","text":"puts","group":"g","request":"set","confirmation":"point"},
 {"id":"0x11","name":"moved","request":"point"},
 {"id":"0x12","name":"first_name","request":"point"},
 {"id":"0x13","name":"leaves","indication":"old_type"},
 {"id":"0x14","name":"same","confirmation":"point"}],
"host_words":["dir","copy"]})";

constexpr char kNew[] = R"({"format":1,"name":"plank","text":"two\nlines",
"enumerations":[
 {"name":"level","base":"i8","text":"how much","values":[{"name":"low","value":0,"text":"least"},{"name":"mid","value":2},{"name":"high","value":3}]},
 {"name":"mode","base":"u16","values":[]}],
"types":[
 {"name":"point","layout":"natural","fields":[{"name":"x","type":"i32"},{"name":"y","type":"i16","default":-3}]},
 {"name":"new_type","fields":[]},
 {"name":"set","text":"sets","fields":[
  {"name":"level","type":"level","default":"mid","text":"of some"},
  {"name":"added","type":"u16","count":4},
  {"name":"points","type":"point","count":2},
  {"name":"note","type":"char","count":8,"default":"ho"}]}],
"commands":[
 {"id":"0x10","name":"put","text":"puts it","group":"h","request":"set","indication":"point","listed":false,"combined":["1","2,3"]},
 {"id":"0x21","name":"moved","request":"point"},
 {"id":"0x12","name":"second_name","request":"point"},
 {"id":"0x14","name":"same","confirmation":"point","combined":"none"},
 {"id":"0x30","name":"comes","confirmation":"new_type"}],
"host_words":["copy","move"]})";

constexpr char kDifferences[] = R"(~ catalogue name: board -> plank
~ catalogue text: "one" -> "two\x0alines"
~ catalogue fingerprint: 4b9539132823f171 -> b70cfe6dc1e98ede
- host word: dir
+ host word: move
~ enumeration level base: u8 -> i8
~ enumeration level text: "how" -> "how much"
~ enumeration level value low: 1 -> 0
~ enumeration level value low text: "" -> "least"
- enumeration level value gone: 9
+ enumeration level value high: 3
- enumeration unused: i16
+ enumeration mode: u16
~ type point size: 4 bytes -> 8 bytes
~ type point layout: packed -> natural
~ type point field x type: i16 -> i32
~ type point field y offset: 2 -> 4
- type old_type: 4 bytes
~ type set size: 20 bytes -> 33 bytes
~ type set field level default: 1 -> 2
~ type set field level text: "of all" -> "of some"
~ type set field points offset: 1 -> 9
~ type set field note offset: 9 -> 25
~ type set field note default: "hi" -> "ho"
- type set field dropped: u8[3] at 17
+ type set field added: u16[4] at 1
+ type new_type: 0 bytes
~ command put confirmation: point -> none
~ command put indication: none -> point
~ command put fingerprint: 2485864843160e15 -> 9a9877520dc44416
~ command put listed: true -> false
~ command put combined: any -> ["1", "2,3"]
~ command put text: "puts" -> "puts it"
~ command put group: "g" -> "h"
~ command moved id: 0x11 -> 0x21
~ command moved fingerprint: e329946ce90e0d0d -> 24728a7de9b5e402
~ command first_name name: first_name -> second_name
~ command first_name fingerprint: b2ad8aeb6c2073ef -> 39bb78b535ee65b5
- command leaves: 0x13
~ command same fingerprint: aa4c483b5a1e947b -> d32186cb15018c5f
~ command same combined: any -> none
+ command comes: 0x30
)";

class CatalogueDiff : public testing::Test {
 protected:
  CallResult Diff(const std::string& older, const std::string& newer) {
    return Kivcat({"diff", folder_.Write("old.json", older), folder_.Write("new.json", newer)});
  }

  static std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
  }

  // What a change of one place of the old catalogue is told as.
  void ExpectTold(const std::string& from, const std::string& to, const std::string& told) {
    const CallResult call = Diff(kOld, Replaced(kOld, from, to));
    EXPECT_EQ(call.output, told) << from;
    EXPECT_EQ(call.errorOutput, "");
    EXPECT_EQ(call.status, 1);
  }

  KivcatFolder folder_;
};

TEST_F(CatalogueDiff, TellsEverythingInTheOrderOfTheOldOne) {
  const CallResult call = Diff(kOld, kNew);
  EXPECT_EQ(call.status, 1);
  EXPECT_EQ(call.errorOutput, "");
  EXPECT_EQ(call.output, kDifferences);
}

TEST_F(CatalogueDiff, TellsTheOppositeTheOtherWayRound) {
  const CallResult call = Diff(kNew, kOld);
  EXPECT_EQ(call.status, 1);
  for (const char* line :
       {"- enumeration mode: u16\n", "+ enumeration unused: i16\n", "- command comes: 0x30\n",
        "+ command leaves: 0x13\n", "~ command moved id: 0x21 -> 0x11\n",
        "~ command second_name name: second_name -> first_name\n", "+ host word: dir\n"}) {
    EXPECT_NE(call.output.find(line), std::string::npos) << line << call.output;
  }
}

TEST_F(CatalogueDiff, SaysNothingOfTwoThatAreEqual) {
  for (const char* source : {kOld, kNew}) {
    const CallResult call = Diff(source, source);
    EXPECT_EQ(call.status, 0);
    EXPECT_EQ(call.output + call.errorOutput, "");
  }
  // A source and what was compiled from it, and a source written another way.
  EXPECT_EQ(Kivcat({"diff", BoardSource(), BoardCompiled()}).status, 0);
  EXPECT_EQ(Diff(kOld, Replaced(kOld, "\"id\":\"0x10\"", "\"id\": 16")).status, 0);
  EXPECT_EQ(Diff(kOld, Replaced(kOld, "\"default\":\"low\"", "\"default\":1")).status, 0);
}

TEST_F(CatalogueDiff, TellsDescriptionsAndDefaultsThatNoFingerprintHas) {
  ExpectTold("\"text\":\"puts\"", "\"text\":\"puts \\\"it\\\"\\n\"",
             "~ command put text: \"puts\" -> \"puts \"it\"\\x0a\"\n");
  ExpectTold("\"default\":\"hi\"", "\"default\":\"h\"",
             "~ type set field note default: \"hi\" -> \"h\"\n");
  ExpectTold("\"default\":-3", "\"default\":4",
             "~ type point field y default: -3 -> 4\n"
             "~ type set field points default: {{0, -3}, {0, -3}} -> {{0, 4}, {0, 4}}\n");
  ExpectTold(",\"text\":\"of all\"", "", "~ type set field level text: \"of all\" -> \"\"\n");
  ExpectTold("{\"name\":\"unused\",\"base\":\"i16\"", "{\"name\":\"unused\",\"base\":\"i32\"",
             "~ enumeration unused base: i16 -> i32\n");
}

TEST_F(CatalogueDiff, TellsWhichArrayAFieldIsTheLengthOf) {
  const std::string bare = R"({"format":1,"name":"n","commands":[{"id":1,"name":"c","request":"t"}],
"types":[{"name":"t","fields":[{"name":"a","type":"u8","count":3},{"name":"b","type":"u8","count":3},
{"name":"length","type":"u8"}]}]})";
  const std::string ofA =
      Replaced(bare, R"("length","type":"u8")", R"("length","type":"u8","length_of":"a")");
  const std::string ofB = Replaced(ofA, R"("length_of":"a")", R"("length_of":"b")");
  const CallResult added = Diff(bare, ofA);
  EXPECT_EQ(added.status, 1);
  EXPECT_TRUE(added.output.starts_with("~ catalogue fingerprint: ")) << added.output;
  EXPECT_NE(added.output.find("\n~ type t field length length of: none -> a\n"
                              "~ command c fingerprint: "),
            std::string::npos)
      << added.output;
  EXPECT_NE(Diff(ofA, ofB).output.find("\n~ type t field length length of: a -> b\n"),
            std::string::npos);
  EXPECT_EQ(Diff(ofA, ofA).status, 0);
}

TEST_F(CatalogueDiff, PairsCommandsOfOneNameInTheirOrder) {
  const std::string two = R"({"format":1,"name":"n","types":[{"name":"t","fields":[]}],"commands":[
{"id":1,"name":"a","request":"t"},{"id":2,"name":"a","request":"t"}]})";
  const CallResult moved = Diff(two, Replaced(two, "\"id\":2", "\"id\":3"));
  EXPECT_EQ(moved.status, 1);
  EXPECT_NE(moved.output.find("~ command a id: 0x2 -> 0x3\n"), std::string::npos) << moved.output;
  EXPECT_EQ(moved.output.find("0x1"), std::string::npos) << moved.output;
}

TEST_F(CatalogueDiff, EndsWith2WhenACatalogueCannotBeRead) {
  const std::string good = folder_.Write("good.json", kOld);
  const std::string wrong = folder_.Write("wrong.json", "{}");
  const std::string missing = folder_.File("missing");
  const std::string faults = wrong + ":1:1: the catalogue lacks \"format\"\n" + wrong +
                             ":1:1: the catalogue lacks \"name\"\n" + wrong +
                             ":1:1: the catalogue lacks \"types\"\n" + wrong +
                             ":1:1: the catalogue lacks \"commands\"\n";
  const std::string gone = missing + ": No such file or directory\n";
  const struct {
    std::string older;
    std::string newer;
    std::string told;
  } rows[] = {{good, wrong, faults},
              {wrong, good, faults},
              {missing, wrong, gone + faults},
              {good, missing, gone}};
  for (const auto& row : rows) {
    const CallResult call = Kivcat({"diff", row.older, row.newer});
    EXPECT_EQ(call.status, 2);
    EXPECT_EQ(call.output, "");
    EXPECT_EQ(call.errorOutput, row.told);
  }
  EXPECT_EQ(Kivcat({"diff", good}).status, 2);
}

}  // namespace
}  // namespace kivtest
