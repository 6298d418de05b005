// CSVCKIVConfig: the exported configuration interface. SvcKiv::Start() answers it.
//
// Settings are kept in one XML document (docs/settings.md), per session and per console instance.
// Start selects session 1 and instance 1 and loads; a host may select others. What the host reads
// and changes is memory: Settings(), KeyBindings() and the lists. The Write operations put memory
// into the document, Save puts the document on the disk, and so does the end of the object (Stop).
//
// Threads: the facade's. Only the three live switches may be asked and set from any thread; the
// next reply sees them.
// Owned by the module; the pointer and every reference from it live until SvcKiv::Stop().
// Errors: unsigned codes of platform/base/result_codes.h. 0 success, 2 no document is open (every
// operation then does nothing and memory is as it was), others where an operation says so. A read
// that finds no node or attribute leaves the value as it was.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/text/qc_list.h"
#include "platform/text/qc_string.h"
#include "svckiv/svckiv_export.h"

namespace SvcKivClass {
class SvcKivConfigImpl;
}

namespace SvcKivSpace {

inline constexpr std::size_t kMaxShortTextChars = 64;     // DISPLAY_LINE_NUMBER, FONT_NAME
inline constexpr std::size_t kMaxTitleChars = 256;        // TITLE
inline constexpr std::size_t kSavePathBufferChars = 256;  // SAVE_PATH, terminator included
inline constexpr std::size_t kShortcutCommands = 10;
inline constexpr std::size_t kMaxCommandNameChars = 80;
inline constexpr std::size_t kMaxParameterChars = 16384;

// Text and background colour of one kind of line, 0x00BBGGRR each.
struct KivLineColour {
  std::int32_t text = 0;
  std::int32_t background = 0;
};

// The settings of one console instance, but for keys, lists and the three live switches. All zero
// before the first load; `autoIntellisense` is 1 at each load before the document is read.
struct KivSettings {
  // COLOR
  KivLineColour general;
  KivLineColour requestLine;
  KivLineColour activeLine;
  KivLineColour responseLine;
  std::int32_t hiliteText = 0;  // the highlighted line has no background of its own
  // POPULAR
  wchar_t title[kMaxTitleChars + 1] = {};
  std::int32_t showDevId = 0;
  wchar_t prompt = 0;  // one character; 0 for none
  wchar_t fontName[kMaxShortTextChars + 1] = {};
  std::int32_t fontSize = 0;
  std::int32_t dragBcfAutoRun = 0;
  std::int32_t wordWrap = 0;
  std::int32_t enableInstantIndCmd = 0;
  std::int32_t showMatchWin = 0;
  std::int32_t historyOn = 0;
  std::int32_t favouritesOn = 0;
  std::int32_t autoLoadPara = 0;
  std::int32_t storeCmdPara = 0;
  std::int32_t displayTimeStamp = 0;
  std::int32_t hScroll = 0;
  wchar_t displayLineNumber[kMaxShortTextChars + 1] = {};
  std::int32_t editMaxLineNumber = 0;
  std::int32_t nvLoadFileMaxSizeBytes = 0;  // read only: never written
  std::uint32_t postCmdTimeoutMs = 0;
  // AUTOINTELLISENCE, CLEARSCREEN
  std::int32_t autoIntellisense = 0;
  std::int32_t clearScreen = 0;
  // SAVE, PLUGIN
  std::int32_t autoSave = 0;
  std::int32_t appendTime = 0;
  // Cut by the reader to as many characters as the document's own text has: a host that wants the
  // whole path reads the attribute itself (ReadAttribute) and stores it here.
  wchar_t savePath[kSavePathBufferChars] = {};
  QCString pluginPath;  // absolute; read only
  // KEYBOARD
  std::int32_t specKey = 0;
  std::int32_t ctrlC = 0;
  std::int32_t esc = 0;
  std::int32_t ctrlZ = 0;
};

// One key: Qt's key code with its modifier bits, and its upper-case name ("ENTER", "CTRL+R").
struct KivKeyBinding {
  std::int32_t value = 0;
  QCString name;
};

// The five keys of the console.
struct KivKeyBindings {
  KivKeyBinding repeatCmd;
  KivKeyBinding sendCmd;
  KivKeyBinding listHistoryCmd;
  KivKeyBinding listRecentCmd;
  KivKeyBinding cancel;
};

// One command of a list. Only name and parameters reach the document; the host may use the rest.
struct KivCommandRecord {
  std::int32_t id = 0;
  std::int32_t kind = 0;
  QCString name;  // 1 to 80 characters; may be empty in a shortcut slot
  QCString description;
  QCString parameters;  // at most 16384 characters
};

// One indication that the user wants to see.
struct KivSupportedInd {
  std::int32_t id = 0;
  QCString name;
};

// The four lists of one console instance. A list reader clears its list first; the ten slots keep
// what they held when the document has no sound entry for them.
struct KivCommandLists {
  QCList<KivCommandRecord> history;  // oldest first
  QCList<KivCommandRecord> favourites;
  std::array<KivCommandRecord, kShortcutCommands> shortcuts;
  QCList<KivSupportedInd> supportedInds;
};

// The interface; its function table begins with the destructor, then the thirty operations in this
// order, which hosts built against an older header rely on.
class SVCKIV_API CSVCKIVConfig {
 public:
  // Saves the document, then closes it.
  virtual ~CSVCKIVConfig();

  // Sets both ids and selects the session (SelectSession).
  virtual std::uint32_t SetSessionAndInstance(std::uint32_t sessionId,
                                              std::uint32_t instanceId) = 0;
  // One more than the largest id among the current session's instances, or the lowest free one when
  // the largest is 4294967295; 1 when it has none or no document is open. Loading makes no
  // instance: a host calls CompleteCurrentInstance, or writes its "ID" (WriteAttribute on
  // "SourceData.SESSION.INSTANCE" at the next position) and one value below its DEFAULT.
  virtual std::uint32_t NextInstanceId() = 0;
  // Finds the session's node. A session that is not in the document is added and saved at once.
  virtual std::uint32_t SelectSession() = 0;
  // Takes groups from another settings file into the first instance of the current session, in the
  // document; when the current instance is the first, memory follows. 3005: the file is not there
  // or has no such session or instance; 3004: it lacks an asked-for group; 10007: its keys cannot
  // be taken. What earlier groups brought stays. A session without an instance gets the one with
  // the current id, which is selected if none was. Does not save.
  virtual std::uint32_t Import(const wchar_t* path, bool keyboard, bool favourites,
                               bool shortcuts) = 0;
  // Writes groups of the current instance, as the document has them, into a new file. 3005: session
  // or instance is not in the document; 3018: the file could not be saved, or is the settings file
  // itself or what is kept beside it (its last good copy, its lock, broken ones). The target is
  // replaced as one or stays as it was.
  virtual std::uint32_t Export(const wchar_t* path, bool keyboard, bool favourites,
                               bool shortcuts) = 0;
  // Appends `newEntry` (null: none; a name of 1 to 80 characters) to the history in memory, then
  // writes everything into the document. Does not save. Parameters of more than 16,384 characters
  // are written, but the next load takes such an entry out.
  virtual std::uint32_t StoreEverything(const KivCommandRecord* newEntry) = 0;
  // Puts the document on the disk, merged with what other processes saved there since. 3018: it is
  // not known to be there, and a later Save tries again. The file is then as it was; when only the
  // sync of its directory failed, it is new already, but may be the old one after a power cut.
  virtual std::uint32_t Save() = 0;
  // Selects the instance and reads everything. 3005 when the instance is not in the document (the
  // readers ran nevertheless).
  virtual std::uint32_t LoadEverything() = 0;

  virtual std::uint32_t ReadHistory() = 0;  // trims the document to the newest 100 and saves it
  virtual std::uint32_t ReadFavourites() = 0;
  virtual std::uint32_t WriteHistory() = 0;
  virtual std::uint32_t WriteFavourites() = 0;
  virtual std::uint32_t ReadShortcuts() = 0;
  virtual std::uint32_t ReadSupportedInds() = 0;
  virtual std::uint32_t WriteShortcuts() = 0;
  virtual std::uint32_t WriteSupportedInds() = 0;
  virtual std::uint32_t ReadPopular() = 0;
  virtual std::uint32_t ReadColours() = 0;
  virtual std::uint32_t ReadSave() = 0;
  virtual std::uint32_t ReadKeyboard() = 0;
  virtual std::uint32_t ReadAutoIntellisense() = 0;
  virtual std::uint32_t ReadClearScreen() = 0;
  virtual std::uint32_t WritePopular() = 0;
  virtual std::uint32_t WriteColours() = 0;
  virtual std::uint32_t WriteSave() = 0;
  virtual std::uint32_t WriteKeyboard() = 0;
  virtual std::uint32_t WriteAutoIntellisense() = 0;
  virtual std::uint32_t WriteClearScreen() = 0;
  // Writes one attribute of the document. `element` is a tag path from the root, `instancePath` its
  // positions; a node that is missing is added, with its ancestors. Nothing is added or written
  // with 3004 (a position beyond the next one of its tag, a tag that XML does not have, more than
  // 64 levels) and 3005 (a name that no attribute can have).
  virtual std::uint32_t WriteAttribute(const wchar_t* value, const wchar_t* attribute,
                                       const wchar_t* element, const wchar_t* instancePath) = 0;
  // Reads one attribute of the document; `value` stays as it was when there is none.
  virtual std::uint32_t ReadAttribute(QCString& value, const wchar_t* attribute,
                                      const wchar_t* element, const wchar_t* instancePath) = 0;

  // Memory. The references stay the same for the object's whole life.
  KivSettings& Settings();
  KivKeyBindings& KeyBindings();
  KivCommandLists& Lists();
  // Where the current instance stands in the document, for Read- and WriteAttribute: the tag path
  // with a full stop at its end, and the positions. Both empty until an instance was found.
  QCString SettingsPrefix() const;
  QCString SettingsInstancePath() const;
  // For a host that keeps settings whatever the document looks like: makes the current instance
  // when its session has none of that id, gives it the starting document's value of each setting
  // that it lacks (of those that are never written only together with their element), reads
  // everything again and saves. Does nothing when nothing was missing. 2: no document is open;
  // 3005: no session was selected; 3018: not saved, but in the document and brought by the next
  // save.
  std::uint32_t CompleteCurrentInstance();
  // The three that replies depend on, kept once for the whole module and never copied.
  std::int32_t OneLineArrays() const;
  void SetOneLineArrays(std::int32_t value);
  std::int32_t ShowType() const;
  void SetShowType(std::int32_t value);
  std::int32_t IndicationsEnabled() const;
  void SetIndicationsEnabled(std::int32_t value);

 private:
  // Only the module derives from it: the operations without a table entry reach into that class.
  friend class SvcKivClass::SvcKivConfigImpl;
  CSVCKIVConfig() = default;
  CSVCKIVConfig(const CSVCKIVConfig&) = delete;
  CSVCKIVConfig& operator=(const CSVCKIVConfig&) = delete;
};

}  // namespace SvcKivSpace
