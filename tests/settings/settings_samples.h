// Settings of which no two values are the same, so that a mixed-up field shows.
//
// Threads: any. Owns nothing.
#ifndef TESTS_SETTINGS_SETTINGS_SAMPLES_H_
#define TESTS_SETTINGS_SETTINGS_SAMPLES_H_

#include <algorithm>
#include <string>

#include "svckiv/svc_kiv_config.h"
#include "tests/settings/settings_bench.h"

namespace kivtest {

template <std::size_t kSize>
void SetText(wchar_t (&field)[kSize], const std::wstring& text) {
  const std::size_t lengthChars = std::min(kSize - 1, text.size());
  text.copy(field, lengthChars);
  field[lengthChars] = L'\0';
}

inline SvcKivSpace::KivCommandRecord Command(const std::wstring& name, const std::wstring& para) {
  SvcKivSpace::KivCommandRecord record;
  record.name = QCString(name);
  record.parameters = QCString(para);
  return record;
}

inline SvcKivSpace::KivSupportedInd Ind(std::int32_t id, const std::wstring& name) {
  SvcKivSpace::KivSupportedInd ind;
  ind.id = id;
  ind.name = QCString(name);
  return ind;
}

// The values that expected_calls.h names.
inline void FillGroups(SettingsBench& bench) {
  SvcKivSpace::KivSettings& settings = bench.Settings();
  SetText(settings.title, L"Title of mine");
  settings.showDevId = 101;
  settings.prompt = L'$';
  SetText(settings.fontName, L"Mono");
  settings.fontSize = -102;
  settings.dragBcfAutoRun = 103;
  settings.wordWrap = 104;
  bench.Config().SetIndicationsEnabled(105);
  settings.enableInstantIndCmd = 106;
  settings.showMatchWin = 107;
  settings.historyOn = 108;
  settings.favouritesOn = 109;
  settings.autoLoadPara = 110;
  settings.storeCmdPara = 111;
  settings.displayTimeStamp = 112;
  settings.hScroll = 113;
  settings.editMaxLineNumber = 114;
  SetText(settings.displayLineNumber, L"lines");
  settings.postCmdTimeoutMs = 4294967295u;
  settings.general = {1, 2};
  settings.requestLine = {3, 4};
  settings.activeLine = {5, 6};
  settings.responseLine = {7, 8};
  settings.hiliteText = -9;
  settings.autoSave = 1;
  settings.appendTime = 2;
  SetText(settings.savePath, bench.DataPath() + L"/logs/mine.txt");
  settings.autoIntellisense = 301;
  settings.clearScreen = -302;
  settings.specKey = 201;
  settings.ctrlC = 202;
  settings.esc = 203;
  settings.ctrlZ = 204;
  bench.Keys().repeatCmd = {16777265, L"F2"};
  bench.Keys().sendCmd = {16777220, L"ENTER"};
  bench.Keys().listHistoryCmd = {67108936, L"CTRL+H"};
  bench.Keys().listRecentCmd = {67108946, L"CTRL+R"};
  bench.Keys().cancel = {16777216, L"ESC"};
}

inline void FillLists(SettingsBench& bench) {
  SvcKivSpace::KivCommandLists& lists = bench.Lists();
  lists.history.RemoveAll();
  lists.history.AddTail(Command(L"ping", L"1,2"));
  lists.history.AddTail(Command(L"echo_all", L"{3}"));
  lists.favourites.RemoveAll();
  lists.favourites.AddTail(Command(L"sys_info", L""));
  for (std::size_t i = 0; i < lists.shortcuts.size(); ++i) {
    lists.shortcuts[i] = i == 4 ? Command(L"", L"") : Command(L"short" + std::to_wstring(i), L"p");
  }
  lists.supportedInds.RemoveAll();
  lists.supportedInds.AddTail(Ind(7, L"TICK"));
  lists.supportedInds.AddTail(Ind(-8, L"TOCK"));
}

// Every group, with other values than the above.
inline std::string FullGroups() {
  return "<COLOR><GENERAL TEXT=\"11\" BACKGROUND=\"12\"/>"
         "<REQUEST_LINE TEXT=\"13\" BACKGROUND=\"14\"/><ACTIVE_LINE TEXT=\"15\" BACKGROUND=\"16\"/>"
         "<RESPONSE_LINE TEXT=\"17\" BACKGROUND=\"18\"/><HILITE_LINE TEXT=\"19\"/></COLOR>"
         "<POPULAR ENABLE_INSTANT_IND_CMD=\"21\" SHOWMATCHWIN=\"22\" HISTORY_CMD=\"23\""
         " FAVORATE_CMD=\"24\" AUTO_LOAD_PARA=\"25\" STORECMDPARA=\"26\" DISPLAYTIMESTAMP=\"27\""
         " HSCROLL=\"28\" DISPLAY_LINE_NUMBER=\"29 lines\" EDIT_MAXLINE_NUMBER=\"30\""
         " NV_LOAD_FILE_MAX_SIZE=\"31\" TITLE=\"A title\" SHOW_DEV_ID=\"32\" PROMPT=\"&gt;&gt;\""
         " FONT_NAME=\"A font\" FONT_SIZE=\"33\" DRAG_BCF_AUTO_RUN=\"34\""
         " ACK_ARRAY_SHOW_ONELINE=\"35\" ACK_SHOW_TYPE=\"36\" WORD_WRAP=\"37\""
         " ENABLE_IND_CMD=\"38\"/><DEBUG_INFO POSTCMD_TIMEOUT=\"4000000039\"/>"
         "<AUTOINTELLISENCE AUTO_INTELLISENSE=\"40\"/><CLEARSCREEN CLEAR_SCREEN=\"41\"/>"
         "<SAVE AUTO_SAVE=\"42\" APPEND_TIME=\"43\" SAVE_PATH=\"/dev/null/y.txt\"/>"
         "<PLUGIN NAME=\"plug.so\"/>"
         "<KEYBOARD SPEC_KEY=\"51\" CTRLC=\"52\" ESC=\"53\" CTRLZ=\"54\">"
         "<REPEAT_CMD NAME=\"F3\" VALUE=\"61\"/><SEND_CMD NAME=\"ENTER\" VALUE=\"62\"/>"
         "<LIST_HISTORY_CMD NAME=\"F4\" VALUE=\"63\"/><LIST_RECENT_CMD NAME=\"F5\" VALUE=\"64\"/>"
         "<CANCEL NAME=\"ESC\" VALUE=\"65\"/></KEYBOARD>"
         "<HISTORY_CMD>" +
         Cmd("h0", "a") + Cmd("h1", "b") + "</HISTORY_CMD><FAVORATE_CMD>" + Cmd("f0", "c") +
         "</FAVORATE_CMD><SHORTCUTKEY_CMD>" + Cmd("s0", "d") + Cmd("s1", "e") + Cmd("s2", "f") +
         "</SHORTCUTKEY_CMD><SUPPORT_IND><CMD NAME=\"i0\" ID=\"71\"/><CMD NAME=\"i1\" ID=\"72\"/>"
         "</SUPPORT_IND>";
}

inline std::string FullDocument() { return Document(FullGroups()); }

}  // namespace kivtest

#endif  // TESTS_SETTINGS_SETTINGS_SAMPLES_H_
