// The calls that a settings operation makes on the document, in their order, as the recording
// document notes them. One place says the order of attributes; the tests put the pieces together.
//
// Threads: any. Owns nothing.
#ifndef TESTS_SETTINGS_EXPECTED_CALLS_H_
#define TESTS_SETTINGS_EXPECTED_CALLS_H_

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace kivtest {

using Calls = std::vector<std::string>;

// An attribute and the element under DEFAULT that has it.
struct Place {
  const char* element;
  const char* attribute;
};

inline const std::vector<Place> kPopularReads = {
    {"POPULAR", "TITLE"},
    {"POPULAR", "SHOW_DEV_ID"},
    {"POPULAR", "PROMPT"},
    {"POPULAR", "FONT_NAME"},
    {"POPULAR", "FONT_SIZE"},
    {"POPULAR", "DRAG_BCF_AUTO_RUN"},
    {"POPULAR", "ACK_ARRAY_SHOW_ONELINE"},
    {"POPULAR", "ACK_SHOW_TYPE"},
    {"POPULAR", "WORD_WRAP"},
    {"POPULAR", "ENABLE_IND_CMD"},
    {"POPULAR", "ENABLE_INSTANT_IND_CMD"},
    {"POPULAR", "SHOWMATCHWIN"},
    {"POPULAR", "HISTORY_CMD"},
    {"POPULAR", "FAVORATE_CMD"},
    {"POPULAR", "AUTO_LOAD_PARA"},
    {"POPULAR", "STORECMDPARA"},
    {"POPULAR", "DISPLAYTIMESTAMP"},
    {"POPULAR", "HSCROLL"},
    {"POPULAR", "DISPLAY_LINE_NUMBER"},
    {"POPULAR", "EDIT_MAXLINE_NUMBER"},
    {"POPULAR", "NV_LOAD_FILE_MAX_SIZE"},
    {"DEBUG_INFO", "POSTCMD_TIMEOUT"},
};

// The written values are those of FilledSettings() in settings_samples.h.
inline const std::vector<std::pair<Place, const char*>> kPopularWrites = {
    {{"POPULAR", "TITLE"}, "Title of mine"},
    {{"POPULAR", "SHOW_DEV_ID"}, "101"},
    {{"POPULAR", "PROMPT"}, "$"},
    {{"POPULAR", "FONT_NAME"}, "Mono"},
    {{"POPULAR", "FONT_SIZE"}, "-102"},
    {{"POPULAR", "DRAG_BCF_AUTO_RUN"}, "103"},
    {{"POPULAR", "WORD_WRAP"}, "104"},
    {{"POPULAR", "ENABLE_IND_CMD"}, "105"},
    {{"POPULAR", "ENABLE_INSTANT_IND_CMD"}, "106"},
    {{"POPULAR", "SHOWMATCHWIN"}, "107"},
    {{"POPULAR", "HISTORY_CMD"}, "108"},
    {{"POPULAR", "FAVORATE_CMD"}, "109"},
    {{"POPULAR", "AUTO_LOAD_PARA"}, "110"},
    {{"POPULAR", "STORECMDPARA"}, "111"},
    {{"POPULAR", "DISPLAYTIMESTAMP"}, "112"},
    {{"POPULAR", "HSCROLL"}, "113"},
    {{"POPULAR", "EDIT_MAXLINE_NUMBER"}, "114"},
    {{"POPULAR", "DISPLAY_LINE_NUMBER"}, "lines"},
    {{"DEBUG_INFO", "POSTCMD_TIMEOUT"}, "4294967295"},
};

inline const std::vector<std::pair<Place, const char*>> kColours = {
    {{"COLOR.GENERAL", "TEXT"}, "1"},       {{"COLOR.GENERAL", "BACKGROUND"}, "2"},
    {{"COLOR.REQUEST_LINE", "TEXT"}, "3"},  {{"COLOR.REQUEST_LINE", "BACKGROUND"}, "4"},
    {{"COLOR.ACTIVE_LINE", "TEXT"}, "5"},   {{"COLOR.ACTIVE_LINE", "BACKGROUND"}, "6"},
    {{"COLOR.RESPONSE_LINE", "TEXT"}, "7"}, {{"COLOR.RESPONSE_LINE", "BACKGROUND"}, "8"},
    {{"COLOR.HILITE_LINE", "TEXT"}, "-9"},
};

inline const std::vector<std::pair<Place, const char*>> kKeyboard = {
    {{"KEYBOARD.REPEAT_CMD", "NAME"}, "F2"},
    {{"KEYBOARD.REPEAT_CMD", "VALUE"}, "16777265"},
    {{"KEYBOARD.SEND_CMD", "NAME"}, "ENTER"},
    {{"KEYBOARD.SEND_CMD", "VALUE"}, "16777220"},
    {{"KEYBOARD.LIST_HISTORY_CMD", "NAME"}, "CTRL+H"},
    {{"KEYBOARD.LIST_HISTORY_CMD", "VALUE"}, "67108936"},
    {{"KEYBOARD.LIST_RECENT_CMD", "NAME"}, "CTRL+R"},
    {{"KEYBOARD.LIST_RECENT_CMD", "VALUE"}, "67108946"},
    {{"KEYBOARD.CANCEL", "NAME"}, "ESC"},
    {{"KEYBOARD.CANCEL", "VALUE"}, "16777216"},
    {{"KEYBOARD", "SPEC_KEY"}, "201"},
    {{"KEYBOARD", "CTRLC"}, "202"},
    {{"KEYBOARD", "ESC"}, "203"},
    {{"KEYBOARD", "CTRLZ"}, "204"},
};

inline const std::vector<std::pair<Place, const char*>> kSaveWrites = {
    {{"SAVE", "AUTO_SAVE"}, "1"},
    {{"SAVE", "APPEND_TIME"}, "2"},
    {{"SAVE", "SAVE_PATH"}, "logs/mine.txt"},
};

// Positions of an element under DEFAULT of the instance at `instance`: one more for each tag.
inline std::string PositionsOf(const std::string& element, const std::string& instance) {
  std::string positions = instance + ".0.0";
  for (const char ch : element) {
    if (ch == '.') positions += ".0";
  }
  return positions;
}

inline std::string ReadOf(const Place& place, const std::string& instance = "0.0.0") {
  return std::string("read ") + place.attribute + " of ~" + place.element + " " +
         PositionsOf(place.element, instance);
}

inline std::string WriteOf(const Place& place, const std::string& value,
                           const std::string& instance = "0.0.0") {
  return std::string("write ") + place.attribute + "=" + value + " of ~" + place.element + " " +
         PositionsOf(place.element, instance);
}

inline Calls ReadsOf(const std::vector<Place>& places, const std::string& instance = "0.0.0") {
  Calls calls;
  for (const Place& place : places) calls.push_back(ReadOf(place, instance));
  return calls;
}

inline Calls ReadsOf(const std::vector<std::pair<Place, const char*>>& places,
                     const std::string& instance = "0.0.0") {
  Calls calls;
  for (const auto& [place, value] : places) calls.push_back(ReadOf(place, instance));
  return calls;
}

inline Calls WritesOf(const std::vector<std::pair<Place, const char*>>& places,
                      const std::string& instance = "0.0.0") {
  Calls calls;
  for (const auto& [place, value] : places) calls.push_back(WriteOf(place, value, instance));
  return calls;
}

inline Calls SaveReads(const std::string& instance = "0.0.0") {
  return ReadsOf(std::vector<Place>{{"SAVE", "AUTO_SAVE"},
                                    {"SAVE", "APPEND_TIME"},
                                    {"PLUGIN", "NAME"},
                                    {"SAVE", "SAVE_PATH"}},
                 instance);
}

inline std::string ListAt(const std::string& container, const std::string& instance) {
  return "~" + container + " " + instance + ".0.0";
}

inline std::string EntryAt(const std::string& container, const std::string& position,
                           const std::string& instance) {
  return "~" + container + ".CMD " + instance + ".0.0." + position;
}

// Two attributes of each of `count` entries.
inline Calls EntryReads(const std::string& container, int count, const std::string& second = "PARA",
                        const std::string& instance = "0.0.0") {
  Calls calls;
  for (int i = 0; i < count; ++i) {
    for (const std::string& attribute : {std::string("NAME"), second}) {
      calls.push_back("read " + attribute + " of " +
                      EntryAt(container, std::to_string(i), instance));
    }
  }
  return calls;
}

inline Calls CountedReads(const std::string& container, int count,
                          const std::string& second = "PARA",
                          const std::string& instance = "0.0.0") {
  Calls calls = {"count CMD under " + ListAt(container, instance)};
  for (std::string& call : EntryReads(container, count, second, instance)) {
    calls.push_back(std::move(call));
  }
  return calls;
}

// A whole list: the old container goes, a fresh one comes, then one child after the other.
inline Calls ListWrites(const std::string& container,
                        const std::vector<std::pair<std::string, std::string>>& entries,
                        const std::string& second = "PARA", const std::string& instance = "0.0.0") {
  Calls calls = {
      "delete " + ListAt(container, instance),
      "add " + container + " under SourceData.SESSION.INSTANCE.DEFAULT " + instance + ".0"};
  int position = 0;
  for (const auto& [name, other] : entries) {
    const std::string at = EntryAt(container, std::to_string(position++), instance);
    calls.push_back("add CMD under " + ListAt(container, instance));
    calls.push_back("write NAME=" + name + " of " + at);
    calls.push_back("write " + second + "=" + other + " of " + at);
  }
  return calls;
}

inline Calls Join(std::initializer_list<Calls> parts) {
  Calls all;
  for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace kivtest

#endif  // TESTS_SETTINGS_EXPECTED_CALLS_H_
