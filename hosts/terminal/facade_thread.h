// FacadeThread: the module's user-interface thread. It alone calls the facade; it has a Qt event
// loop, because the module's period timer lives there, and it may block while a text channel paces
// its line.
//
// Texts of the message object are copied, or taken, at once on the thread that sends them, by the
// table of kinds in svc_kiv_message.h, and pushed into the view queue: a link thread waits there
// for room, this thread never does.
//
// Threads: made and used by the drawing thread; nothing here blocks it but Stop.
// Borrows queue and watch.
#pragma once

#include <QObject>
#include <QThread>
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "hosts/terminal/link_watch.h"
#include "hosts/terminal/settings_keeper.h"
#include "hosts/terminal/view_queue.h"
#include "svckiv/svc_kiv.h"

namespace kiv {

// The one thread that calls SvcKiv; closures are queued to it.
class FacadeThread {
 public:
  explicit FacadeThread(ViewQueue& queue);
  ~FacadeThread();
  FacadeThread(const FacadeThread&) = delete;
  FacadeThread& operator=(const FacadeThread&) = delete;

  // Starts the module; the link comes up later and tells the watch. With `saveEachLine` a typed
  // line is in the settings file before it runs, else all of them are when the module stops.
  void Start(LinkWatch& watch, bool saveEachLine);
  // Runs one typed line; its reply comes as an event kReply with this number. `isKept`: it goes
  // into the history.
  void Run(std::uint64_t number, std::wstring line, bool isKept = true);
  // Runs on the facade's thread, where the module and the settings may be called, and fills the
  // reply, which then comes as an event kReply with this number.
  using Question = std::function<void(FacadeThread& here, ViewEvent& reply)>;
  void Ask(std::uint64_t number, Question question);
  void SetConnected(bool connected);

  // For questions. Reads the catalogue again; false when there are no commands now.
  bool ReloadCatalogue();
  // For questions. 0, which no catalogue has, when there is no such command.
  static std::uint32_t CmdId(std::wstring_view name);
  // For questions. Runs a command of the catalogue that nobody typed; the answer's event says what
  // is known of it, and the watch keeps what the device says. False when there is no such command.
  bool AskDevice(const std::wstring& name, ViewEvent& answer);
  // For questions. After a setting was set: it takes effect, and the drawing thread gets the
  // values. `isSaved`: it is in the file; else who asks tells it.
  void SettingsChanged(bool isSaved);
  // For questions. Favourites or shortcut commands were changed: tells the drawing thread.
  void PushKept();
  // For questions. Null when the module did not start.
  SettingsKeeper* Settings() { return settings_ ? &*settings_ : nullptr; }

  // Close the queue first. Stops the module and ends the thread; false when a line that still runs
  // took longer than `timeoutMs`, or saving much longer than a save may: the process must then end
  // without waiting.
  bool Stop(std::uint32_t timeoutMs);
  // Whether the settings could not be saved; after a Stop that answered true.
  bool IsUnsaved() const { return isUnsaved_; }
  // Whether a Stop that answered false was given up in the middle of saving.
  bool IsSaving() const { return isSaving_; }

 private:
  // Whether the list has commands; warns when it has none.
  bool CheckCommands();
  void StartHere(bool saveEachLine);
  // Tells the values of all groups.
  void PushSettings();
  // Hands the module what it does not read by itself.
  void ApplySettings();
  void NoteSaved(bool isSaved);
  // Tells the lines of earlier runs.
  void PushHistory();
  void RunHere(std::uint64_t number, const std::wstring& line, bool isKept);
  // Fills what became of the line.
  void RunThrough(std::uint64_t number, const std::wstring& line, ViewEvent& event);
  void KeepLine(const std::wstring& line);
  void Warn(std::string text);
  void TellWatchOfIndications();
  // What the rendered text is of; false when it is not to be shown. On the link's thread.
  bool Attribute(ViewEvent& event);
  // Takes the payload, which may be null.
  ViewEvent PieceOf(SvcKivSpace::SvcKivMsgType kind, char* payload);
  void OnMessage(SvcKivSpace::SvcKivMsgType kind, void* payload);

  ViewQueue& queue_;
  LinkWatch* watch_ = nullptr;
  std::optional<SettingsKeeper> settings_;  // between Start and Stop of the module
  bool isUnsaved_ = false;
  std::atomic<bool> isSaving_ = false;
  // What the module sent to the view while the line runs, from this thread.
  bool hasSpoken_ = false;
  bool hasFailed_ = false;
  bool isConnected_ = false;  // the module's connect status; of the facade's own thread
  QThread thread_;
  QObject* context_;  // lives in thread_; its events run there
};

}  // namespace kiv
