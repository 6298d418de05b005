// Every fault that a catalogue source can have, told at its place and with its whole text.
#include <gtest/gtest.h>

#include <string>

#include "tools/kivcat/source_checker.h"

namespace {

// The faults of a source, as kivcat prints them for a file called "f".
std::string FaultsOf(const std::string& json) {
  catalogue::Model model;
  kivcat::Faults faults("f");
  const bool good = kivcat::LoadSource(json, model, faults);
  EXPECT_EQ(good, !faults.HasErrors());
  return faults.Text();
}

// A catalogue with this on its second line, in place of its own list of that name.
std::string With(const std::string& key, const std::string& value) {
  std::string text = R"({"format":1,"name":"n",)";
  if (key != "types") text += R"("types":[],)";
  if (key != "commands") text += R"("commands":[],)";
  return text + "\"" + key + "\":\n" + value + "}";
}

// A catalogue whose one type has these fields, from the second line on.
std::string WithFields(const std::string& fields) {
  return R"({"format":1,"name":"n","commands":[],
"enumerations":[{"name":"e","base":"u8","values":[{"name":"a","value":1}]}],
"types":[{"name":"none","fields":[]},
{"name":"p","fields":[{"name":"x","type":"u8"}]},
{"name":"t","fields":[
)" + fields +
         "]}]}";
}

struct FaultRow {
  const char* json;
  const char* faults;
};

class SourceText : public testing::TestWithParam<FaultRow> {};

TEST_P(SourceText, FaultIsToldWithItsPlace) {
  EXPECT_EQ(FaultsOf(GetParam().json), GetParam().faults);
}

INSTANTIATE_TEST_SUITE_P(
    Json, SourceText,
    testing::Values(
        FaultRow{"",
                 "f:1:1: syntax error while parsing value - unexpected end of input; expected "
                 "'[', '{', or a literal\n"},
        FaultRow{"{\n  \"a\": 1,\n  b\n}",
                 "f:3:3: syntax error while parsing object key - invalid literal; last read: "
                 "'1,<U+000A>  b'; expected string literal\n"},
        FaultRow{"{\"\xC3\xA4\": x}",
                 "f:1:7: syntax error while parsing value - invalid literal; last read: "
                 "'\"\xC3\xA4\": x'\n"},
        FaultRow{"{} {}",
                 "f:1:4: syntax error while parsing value - unexpected '{'; expected end "
                 "of input\n"},
        FaultRow{"[1]", "f:1:1: the catalogue must be an object, not a list\n"},
        FaultRow{"17", "f:1:1: the catalogue must be an object, not an integer\n"},
        FaultRow{"1.5", "f:1:1: the catalogue must be an object, not a fraction\n"},
        FaultRow{" null", "f:1:2: the catalogue must be an object, not null\n"},
        FaultRow{"\n\n true", "f:3:2: the catalogue must be an object, not true or false\n"},
        FaultRow{"\"a\\\"b\"", "f:1:1: the catalogue must be an object, not a text\n"},
        FaultRow{"{}",
                 "f:1:1: the catalogue lacks \"format\"\nf:1:1: the catalogue lacks \"name\"\n"
                 "f:1:1: the catalogue lacks \"types\"\nf:1:1: the catalogue lacks \"commands\"\n"},
        FaultRow{R"({"format":2,"name":"1","types":{},"commands":"",)"
                 "\n\"layout\":\"loose\",\"text\":5,\"colour\":1}",
                 "f:1:11: \"format\" must be from 1 to 1\n"
                 "f:1:20: \"name\" must be a letter or _, then letters, digits and _, at most 64 "
                 "characters\n"
                 "f:1:32: \"types\" must be a list, not an object\n"
                 "f:1:46: \"commands\" must be a list, not a text\n"
                 "f:2:10: \"layout\" must be \"packed\" or \"natural\"\n"
                 "f:2:25: \"text\" must be a text, not an integer\n"
                 "f:2:27: the catalogue has no key \"colour\"\n"},
        FaultRow{R"({"format":1,"format":1,"name":"n","types":[],"commands":[]})",
                 "f:1:13: the key \"format\" stands twice in this object\n"},
        FaultRow{"{\"format\":1,\"name\":\"n\",\"types\":[],\"commands\":[],\n"
                 "\"text\":\"a\\u0000b\",\"host_words\":[\"dir\",\"a b\",\"\",5,\"dir\"]}",
                 "f:2:8: \"text\" has a zero character\n"
                 "f:2:39: a host word must be a text without blanks\n"
                 "f:2:45: a host word must be a text without blanks\n"
                 "f:2:48: a host word must be a text without blanks\n"
                 "f:2:50: the host word \"dir\" stands twice\n"}));

struct ListRow {
  const char* key;
  const char* value;
  const char* faults;
};

class SourceList : public testing::TestWithParam<ListRow> {};

TEST_P(SourceList, FaultIsToldWithItsPlace) {
  EXPECT_EQ(FaultsOf(With(GetParam().key, GetParam().value)), GetParam().faults);
}

INSTANTIATE_TEST_SUITE_P(
    Enumerations, SourceList,
    testing::Values(
        ListRow{"enumerations", "[5]", "f:2:2: an enumeration must be an object, not an integer\n"},
        ListRow{"enumerations", R"([{"name":"e","base":"char","values":[]}])",
                "f:2:21: \"base\" must be one of u8 u16 u32 u64 i8 i16 i32 i64\n"},
        ListRow{"enumerations",
                R"([{"name":"e","base":"u8","values":[{"name":"a","value":256},)"
                "\n"
                R"({"name":"a","value":-1},{"name":"b","value":"x"},{"value":1,"more":1}]}])",
                "f:2:56: the value does not fit u8\n"
                "f:3:1: the value \"a\" stands twice in this enumeration\n"
                "f:3:21: the value does not fit u8\n"
                "f:3:45: \"value\" must be an integer, not a text\n"
                "f:3:50: a value of an enumeration lacks \"name\"\n"
                "f:3:61: a value of an enumeration has no key \"more\"\n"},
        ListRow{
            "enumerations",
            R"([{"name":"u8","base":"u8","values":[]},{"name":"e","base":"i8","values":[]},)"
            "\n"
            R"({"name":"e","base":"i8","values":[{"name":"a","value":-128},{"name":"b","value":128}]}])",
            "f:2:2: there is a type \"u8\" already\n"
            "f:3:1: there is a type \"e\" already\n"
            "f:3:81: the value does not fit i8\n"}));

INSTANTIATE_TEST_SUITE_P(
    Types, SourceList,
    testing::Values(ListRow{"types", "[[]]", "f:2:2: a type must be an object, not a list\n"},
                    ListRow{"types", R"([{"name":"t"}])", "f:2:2: a type lacks \"fields\"\n"},
                    ListRow{"types", R"([{"name":"t","fields":[]},{"name":"t","fields":[]}])",
                            "f:2:27: there is a type \"t\" already\n"},
                    ListRow{"types",
                            R"([{"name":"t","fields":[{"name":"a","type":"u8","count":16777216},)"
                            R"({"name":"b","type":"u8"}]}])",
                            "f:2:2: the type \"t\" is longer than 16777216 bytes\n"},
                    ListRow{"types",
                            R"([{"name":"t","fields":[{"name":"a","type":"u8"}]},)"
                            R"({"name":"q","fields":[{"name":"a","type":"t","count":65535}]}])",
                            "f:2:51: the type \"q\" has more than 65536 nodes\n"}));

INSTANTIATE_TEST_SUITE_P(
    Commands, SourceList,
    testing::Values(
        ListRow{"commands", "[\"a\"]", "f:2:2: a command must be an object, not a text\n"},
        ListRow{"commands", "[{}]",
                "f:2:2: a command lacks \"id\"\nf:2:2: a command lacks \"name\"\n"},
        ListRow{"commands",
                "[{\"id\":4294967296,\"name\":\"a\"},\n{\"id\":-1,\"name\":\"b\"},\n"
                "{\"id\":\"0x100000000\",\"name\":\"c\"},\n{\"id\":\"12x\",\"name\":\"d\"},\n"
                "{\"id\":\"0x\",\"name\":\"e\"}]",
                "f:2:8: \"id\" must be 32 bits, a number or a text such as \"0x1001\"\n"
                "f:3:7: \"id\" must be 32 bits, a number or a text such as \"0x1001\"\n"
                "f:4:7: \"id\" must be 32 bits, a number or a text such as \"0x1001\"\n"
                "f:5:7: \"id\" must be 32 bits, a number or a text such as \"0x1001\"\n"
                "f:6:7: \"id\" must be 32 bits, a number or a text such as \"0x1001\"\n"},
        ListRow{"commands",
                R"([{"id":1,"name":"a b","request":"t","listed":1,"combined":"some","group":[]}])",
                "f:2:17: \"name\" must be a letter or _, then letters, digits and _, at most 80 "
                "characters\n"
                "f:2:33: there is no structure \"t\"\n"
                "f:2:46: \"listed\" must be true or false, not an integer\n"
                "f:2:59: \"combined\" must be \"any\", \"none\" or a list of texts\n"
                "f:2:74: \"group\" must be a text, not a list\n"},
        ListRow{"commands", R"([{"id":1,"name":"a","combined":["x",5,"\u0000"]}])",
                "f:2:37: a parameter text must be a text without zero characters\n"
                "f:2:39: a parameter text must be a text without zero characters\n"},
        ListRow{"commands",
                "[{\"id\":1,\"name\":\"a\"},\n{\"id\":\"0x2\",\"name\":\"a\"},\n"
                "{\"id\":3,\"name\":\"At\"},\n{\"id\":4,\"name\":\"show\"}]",
                "f:3:1: warning: the command \"a\" stands twice; consoles find the first\n"
                "f:4:1: warning: a console takes \"At\" for an AT line\n"
                "f:5:1: warning: a console takes \"show\" for a shell line\n"},
        ListRow{"commands",
                "[{\"id\":1,\"name\":\"Attach\"},\n{\"id\":2,\"name\":\"CTS\"},\n"
                "{\"id\":3,\"name\":\"ctsCfg\"},\n{\"id\":4,\"name\":\"ctsftl\"},\n"
                "{\"id\":5,\"name\":\"help\"},\n{\"id\":6,\"name\":\"LdNv\"},\n"
                "{\"id\":7,\"name\":\"SH\"}]",
                "f:2:2: warning: a console finds \"Attach\" only without parameters, since it "
                "begins with \"at\"\n"
                "f:3:1: warning: a console takes \"CTS\" for a test-case line\n"
                "f:4:1: warning: a console takes \"ctsCfg\" for a test-case line\n"
                "f:5:1: warning: a console takes \"ctsftl\" for a test-case line\n"
                "f:6:1: warning: a console takes \"help\" for its list of commands\n"
                "f:7:1: warning: a console takes \"LdNv\" for a file to load\n"
                "f:8:1: warning: a console takes \"SH\" for a shell line\n"},
        // Near those words, and the one command that carries loaded files.
        ListRow{"commands",
                "[{\"id\":1,\"name\":\"ldnv\"},{\"id\":2,\"name\":\"Help\"},"
                "{\"id\":3,\"name\":\"ctsx\"},{\"id\":4,\"name\":\"hci\"},"
                "{\"id\":5,\"name\":\"s_h\"},{\"id\":6,\"name\":\"bat\"}]",
                ""}));

TEST(SourceCommands, HostWordsThatConsolesTakeForSomethingElseAreTold) {
  EXPECT_EQ(FaultsOf(R"({"format":1,"name":"n","types":[],"commands":[{"id":1,"name":"a"}],
"host_words":["dir","a","?",
"Ship","at&t","ls"]})"),
            "f:2:21: warning: the host word \"a\" is a command already\n"
            "f:2:25: warning: a console takes \"?\" for its list of commands\n"
            "f:3:1: warning: a console takes \"Ship\" for a shell line\n"
            "f:3:8: warning: a console finds \"at&t\" only without parameters, since it begins "
            "with \"at\"\n");
}

TEST(SourceCommands, OneIdNeedsTheSameStructures) {
  EXPECT_EQ(FaultsOf(R"({"format":1,"name":"n","types":[{"name":"t","fields":[]}],"commands":[
{"id":"0x0a","name":"a","request":"t"},
{"id":10,"name":"b"},
{"id":"10","name":"c","request":"t"}]})"),
            "f:3:1: the commands \"a\" and \"b\" have one id, but not the same structures\n"
            "f:4:1: warning: the commands \"a\" and \"c\" have one id\n");
}

class SourceFields : public testing::TestWithParam<FaultRow> {};

TEST_P(SourceFields, FaultIsToldWithItsPlace) {
  EXPECT_EQ(FaultsOf(WithFields(GetParam().json)), GetParam().faults);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, SourceFields,
    testing::Values(
        FaultRow{"1", "f:6:1: a field must be an object, not an integer\n"},
        FaultRow{R"({"name":"a","type":"other"})",
                 "f:6:20: there is no type \"other\" before this one\n"},
        FaultRow{R"({"name":"a","type":"t"})", "f:6:20: there is no type \"t\" before this one\n"},
        FaultRow{R"({"name":"a","type":"none"})",
                 "f:6:20: \"none\" has no fields, so it cannot be one\n"},
        FaultRow{R"({"name":"struct","type":"u8"})",
                 "f:6:1: a field cannot be called \"struct\", which is a word of C\n"},
        FaultRow{R"({"name":"a","type":"u8"},{"name":"a","type":"u8"})",
                 "f:6:26: the field \"a\" stands twice in this type\n"},
        FaultRow{R"({"name":"a","type":"u8","count":0},{"name":"b","type":"u8","count":"2"},)"
                 "\n"
                 R"({"name":"c","type":"u8","count":16777217})",
                 "f:6:33: \"count\" must be from 1 to 16777216\n"
                 "f:6:68: \"count\" must be an integer, not a text\n"
                 "f:7:33: \"count\" must be from 1 to 16777216\n"}));

INSTANTIATE_TEST_SUITE_P(
    Lengths, SourceFields,
    testing::Values(
        FaultRow{R"({"name":"d","type":"u8","count":255},{"name":"n","type":"u8","length_of":"d"})",
                 ""},
        FaultRow{
            R"({"name":"n","type":"u16","length_of":"d"},{"name":"d","type":"char","count":9})",
            ""},
        FaultRow{R"({"name":"n","type":"u16","length_of":"other"})",
                 "f:6:38: this type has no field \"other\"\n"},
        FaultRow{R"({"name":"n","type":"u16","length_of":5})",
                 "f:6:38: \"length_of\" must be a text, not an integer\n"},
        FaultRow{R"({"name":"d","type":"u8"},{"name":"n","type":"u16","length_of":"d"})",
                 "f:6:63: \"d\" is no array of u8, i8 or char\n"},
        FaultRow{R"({"name":"d","type":"u16","count":2},{"name":"n","type":"u16","length_of":"d"})",
                 "f:6:74: \"d\" is no array of u8, i8 or char\n"},
        FaultRow{R"({"name":"d","type":"e","count":2},{"name":"n","type":"u16","length_of":"d"})",
                 "f:6:72: \"d\" is no array of u8, i8 or char\n"},
        FaultRow{R"({"name":"d","type":"p","count":2},{"name":"n","type":"u16","length_of":"d"})",
                 "f:6:72: \"d\" is no array of u8, i8 or char\n"},
        FaultRow{R"({"name":"n","type":"u16","length_of":"n"})",
                 "f:6:38: \"n\" is no array of u8, i8 or char\n"},
        FaultRow{R"({"name":"d","type":"u8","count":256},{"name":"n","type":"u8","length_of":"d"})",
                 "f:6:74: u8 is too narrow for the 256 bytes of \"d\"\n"},
        FaultRow{R"({"name":"d","type":"i8","count":65536},)"
                 "\n"
                 R"({"name":"n","type":"u16","length_of":"d"})",
                 "f:7:38: u16 is too narrow for the 65536 bytes of \"d\"\n"},
        FaultRow{R"({"name":"d","type":"u8","count":2},{"name":"n","type":"u8","length_of":"d"},)"
                 "\n"
                 R"({"name":"m","type":"u8","length_of":"d"})",
                 "f:7:37: \"n\" carries the length of \"d\" already\n"}));

// What the field that carries a length must be.
TEST(SourceLengths, AreOneUnsignedInteger) {
  const std::string reason = "the length of an array must be one of u8 u16 u32 u64, and no array";
  for (const char* type : {R"("i16")", R"("char")", R"("e")", R"("p")", R"("u16","count":2)"}) {
    const std::string before = std::string(R"({"name":"n","type":)") + type + R"(,"length_of":)";
    const std::string place = "f:6:" + std::to_string(before.size() + 1) + ": ";
    EXPECT_EQ(FaultsOf(WithFields(before + R"("d"},{"name":"d","type":"u8","count":2})")),
              place + reason + "\n");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Defaults, SourceFields,
    testing::Values(
        FaultRow{R"({"name":"a","type":"u8","default":256})",
                 "f:6:35: the default of \"a\" does not fit u8\n"},
        FaultRow{R"({"name":"a","type":"i64","default":9223372036854775808})",
                 "f:6:36: the default of \"a\" does not fit i64\n"},
        FaultRow{R"({"name":"a","type":"u16","default":-1})",
                 "f:6:36: the default of \"a\" does not fit u16\n"},
        FaultRow{R"({"name":"a","type":"u16","default":1.5})",
                 "f:6:36: the default of \"a\" must be an integer, not a fraction\n"},
        FaultRow{R"({"name":"a","type":"u16","default":"1"})",
                 "f:6:36: the default of \"a\" must be an integer, not a text\n"},
        FaultRow{R"({"name":"a","type":"char","default":"ab"})",
                 "f:6:37: the default of \"a\" must be one byte\n"},
        FaultRow{R"({"name":"a","type":"char","count":2,"default":"abc"})",
                 "f:6:47: the default of \"a\" is longer than 2 bytes\n"},
        FaultRow{R"({"name":"a","type":"e","default":"b"})", "f:6:34: \"e\" has no value \"b\"\n"},
        FaultRow{R"({"name":"a","type":"u8","count":2,"default":[1,2,3]})",
                 "f:6:45: the default of \"a\" has more than 2 elements\n"},
        FaultRow{R"({"name":"a","type":"u8","count":2,"default":1})",
                 "f:6:45: the default of the array \"a\" must be a list, not an integer\n"},
        FaultRow{R"({"name":"a","type":"p","default":[1]})",
                 "f:6:34: the default of a \"p\" must be an object, not a list\n"},
        FaultRow{R"({"name":"a","type":"p","default":{"x":256,"y":1}})",
                 "f:6:39: the default of \"x\" does not fit u8\n"
                 "f:6:43: \"p\" has no field \"y\"\n"}));

TEST(Source, NestingBeyondTheBoundsIsTold) {
  EXPECT_EQ(FaultsOf(std::string(65, '[')),
            "f:1:65: lists and objects are nested more than 64 deep\n");
  std::string json = R"({"format":1,"name":"n","commands":[],"types":[)";
  json += R"({"name":"t0","fields":[{"name":"a","type":"u8"}]})";
  for (int i = 1; i <= 32; ++i) {
    json += ",\n{\"name\":\"t" + std::to_string(i) + "\",\"fields\":[{\"name\":\"a\",\"type\":\"t" +
            std::to_string(i - 1) + "\"}]}";
  }
  EXPECT_EQ(FaultsOf(json + "]}"), "f:33:1: the type \"t32\" is nested more than 32 deep\n");
}

TEST(Source, UsersOfABrokenTypeAreNotToldOfIt) {
  EXPECT_EQ(FaultsOf(R"({"format":1,"name":"n","types":[
{"name":"t","fields":[{"name":"a","type":"what"}]},
{"name":"u","fields":[{"name":"t","type":"t"}]}],
"commands":[{"id":1,"name":"c","request":"u"}]})"),
            "f:2:42: there is no type \"what\" before this one\n");
}

TEST(Source, TooManyFieldsAndTooMuchInAllAreTold) {
  std::string fields;
  for (int i = 0; i <= 4096; ++i) {
    fields += (i == 0 ? "" : ",") + ("{\"name\":\"f" + std::to_string(i)) + "\",\"type\":\"u8\"}";
  }
  EXPECT_EQ(FaultsOf(With("types", "[{\"name\":\"t\",\"fields\":[" + fields + "]}]")),
            "f:2:2: the type \"t\" has more than 4096 fields\n");
  std::string types;
  for (int i = 0; i < 9; ++i) {
    types += (i == 0 ? "[" : ",\n") + ("{\"name\":\"t" + std::to_string(i)) +
             "\",\"fields\":[{\"name\":\"a\",\"type\":\"u8\",\"count\":16777216}]}";
  }
  EXPECT_EQ(FaultsOf(With("types", types + "]")),
            "f:10:1: the type \"t8\" makes all types together longer than 128 MiB\n");
}

TEST(Source, OnlyTheFirstHundredFaultsAreShown) {
  std::string commands = "[";
  for (int i = 0; i < 120; ++i) commands += (i == 0 ? "1" : ",1");
  const std::string text = FaultsOf(With("commands", commands + "]"));
  EXPECT_TRUE(text.ends_with("f:2:200: a command must be an object, not an integer\nf: 20 more\n"))
      << text;
}

TEST(Source, GoodOneGivesTheWholeModel) {
  catalogue::Model model;
  kivcat::Faults faults("f");
  ASSERT_TRUE(
      kivcat::LoadSource(R"({"$schema":"x","format":1,"name":"n","text":"t","layout":"natural",
"enumerations":[{"name":"e","base":"i16","text":"et","values":[{"name":"a","value":-2,"text":"at"}]}],
"types":[
{"name":"p","layout":"packed","fields":[{"name":"x","type":"u8","default":1},{"name":"y","type":"e","default":"a"}]},
{"name":"q","text":"qt","fields":[{"name":"c","type":"char","default":"k","text":"ct"},
 {"name":"p","type":"p","count":2,"default":[{"x":5},{"y":7}]},
 {"name":"l","type":"u32","count":3,"default":[1,2]},{"name":"s","type":"char","count":3,"default":"hi"}]}],
"commands":[{"id":"0x20","name":"late","request":"q","confirmation":"p","group":"g","text":"lt","combined":["1"]},
 {"id":16,"name":"early","indication":"p","listed":false,"combined":"none"}],
"host_words":["dir"]})",
                         model, faults))
      << faults.Text();
  EXPECT_EQ(faults.Text(), "");
  EXPECT_EQ(model.name, "n");
  EXPECT_EQ(model.text, "t");
  EXPECT_EQ(model.hostWords, (std::vector<std::string>{"dir"}));
  ASSERT_EQ(model.enumerations.size(), 1u);
  EXPECT_EQ(model.enumerations[0].values[0].value, 0xFFFFFFFFFFFFFFFEu);
  ASSERT_EQ(model.structures.size(), 2u);
  EXPECT_EQ(model.structures[0].sizeBytes, 3u);
  EXPECT_EQ(model.structures[0].defaults, std::string("\x01\xFE\xFF", 3));
  EXPECT_EQ(model.structures[1].sizeBytes, 24u);
  EXPECT_EQ(model.structures[1].alignmentBytes, 4u);
  EXPECT_EQ(model.structures[1].fields[2].offsetBytes, 8u);
  EXPECT_EQ(model.structures[1].defaults,
            std::string("k\x05\xFE\xFF\x01\x07\0\0\1\0\0\0\2\0\0\0\0\0\0\0hi\0\0", 24));
  ASSERT_EQ(model.commands.size(), 2u);
  EXPECT_EQ(model.commands[0].name, "early");
  EXPECT_FALSE(model.commands[0].IsSendable());
  EXPECT_EQ(model.commands[0].combined, catalogue::Combined::kNone);
  EXPECT_EQ(model.commands[1].id, 0x20u);
  EXPECT_EQ(model.commands[1].combinedTexts, (std::vector<std::string>{"1"}));
  EXPECT_TRUE(model.commands[1].listed);
}

}  // namespace
