// CmdCtrl: takes a typed line, decides what kind of command it is, runs it and leaves a reply text.
//
// A load line is the controller's own. Any other goes first to the text channels, whatever kind it
// is; what no channel took is dispatched by type. Received packets are offered to the channels
// through the same object.
//
// A load line sends the first chunk of a file; each confirmation sends the next, on this object's
// thread, until the last one is confirmed or something fails. What then goes wrong has no reply to
// stand in: it goes to the log and to the view.
//
// Threads: the facade's, which needs an event loop for the indication period and for loads;
// NoticeConfirmation, OfferReply and HookText run on the link's thread and look at nothing but the
// awaited confirmation, which is made for it, and the list of response handlers, which never
// changes. Owns the command list, the period timer and the file of a load. Borrows the service
// context and the application object. Errors: every rejection ends in a reply text.
#pragma once

#include <QObject>
#include <atomic>
#include <cstdint>
#include <vector>

#include "channels/channel_service_table.h"
#include "command/awaited_confirmation.h"
#include "command/flash_load.h"
#include "command/service_entries.h"
#include "command/typed_line.h"
#include "link/reply_handlers.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/text/qc_string.h"
#include "svckiv/morvi_cmd_list.h"

class QTimer;

namespace SvcKivClass {
class DiagPacket;
}  // namespace SvcKivClass

// What a line turned out to be.
enum class CommandType : std::uint32_t {
  kUnknown = 0,  // or rejected
  kMorvi = 1,    // a diagnostic command of the catalogue
  kReserved = 2,
  kScript = 3,    // an existing ".hcs" file; nothing runs it
  kHostWord = 4,  // a word that the catalogue leaves to the host; no reply
  kHelp = 5,
};

// What a controller is made of.
struct CmdCtrlParts {
  SvcKivClass::ServiceContext& context;
  std::vector<SvcKivClass::ChannelEntries> channels;  // in the order of offering
  void* application = nullptr;                        // entry 6 of the service table
  std::int32_t ueId = 1;                              // head of log lines
  QCString cataloguePath = {};                        // empty: the bench setup's
};

// Takes a typed line from the facade, runs it and leaves the reply text.
class CmdCtrl : public QObject, public SvcKivClass::ReplyHandlers {
  Q_OBJECT

 public:
  // Hands the service table to every channel.
  explicit CmdCtrl(const CmdCtrlParts& parts);
  ~CmdCtrl() override;

  // Fills the command list from the catalogue.
  void Initial();
  // Runs one line (null is the empty line). `reply` stays untouched when a channel took the line. A
  // message slot may call this again while a channel is answering.
  void GetDiagCmdResponse(const wchar_t* line, QCString& reply);

  // Splits and classifies: 1 when the line is accepted, else 0. Type, word, rest and id are set
  // anew; the last word stays when the line was empty or too long to be split.
  std::int32_t GetCmd(const QCString& line);
  // Acts on the type of the last GetCmd; what it has to say is appended to GetResponse().
  void DispatchCmd();
  // Sets the response to the "is not exist" text of the word, its first 50 characters when it is
  // longer than 80; an empty word leaves the response as it is.
  void DisposeErrCommand();

  // This object's; hosts keep the pointer, so a replaced controller is kept too.
  SvcKivSpace::MorviCmdList* GetMorviCmdList() noexcept { return &commands_; }
  // What the last GetCmd made of its line. The id is 0 where no catalogue command was found.
  CommandType GetCommandType() const noexcept { return line_.type; }
  std::uint32_t GetCommandId() const noexcept { return line_.cmdId; }
  const QCString& GetWord() const noexcept { return line_.word; }
  const QCString& GetRest() const noexcept { return line_.rest; }
  const QCString& GetLastWord() const noexcept { return lastWord_; }
  // The reply to the last line as far as it was built; empty when a channel took it.
  const QCString& GetResponse() const noexcept { return response_; }
  // The number that the last post carried; 0 before the first. 65535 is never used.
  std::uint16_t GetSequenceNumber() const noexcept { return sequence_; }
  void SetSequenceNumber(std::uint16_t number) noexcept { sequence_ = number; }

  // Makes sure that a load of the line's rest is open: 1 when its chunk may be sent, else 0 and a
  // reply text. Of an open load only the path is checked, and the load goes on.
  std::int32_t InterpretLoadFlashCmdParam();
  // Reads and posts one chunk of the open load. Whatever fails ends the load; a log line or a text
  // in GetResponse() says so.
  void ProcessLoadToFlashCmd(std::uint16_t index);
  // Posts the first `lengthBytes` of the chunk that was read last. 0, and mostly a reply text, when
  // no packet could be made; 1 when it went to the post, which may have failed and ended the load.
  std::int32_t DispatchLoadFlashCmd(std::uint16_t index, std::uint32_t lengthBytes);
  // Closes the file of a load; nothing is said, and nothing happens when none is open.
  void EndLoad() noexcept;
  // The same with a word to the view, when a load was open.
  void EndLoadOfLostLink() noexcept;
  const SvcKivClass::FlashLoad& GetLoad() const noexcept { return load_; }

  // How long indications are shown after an accepted post; below 0 counts as 0.
  void SetInstantIndTime(std::int32_t periodMs) noexcept { periodMs_ = periodMs; }
  bool IsPeriodRunning() const noexcept { return periodTimer_ != nullptr; }
  // Sets the instant flag and starts the period anew. On another thread than this object's it is
  // queued.
  void StartInstantIndPeriod();

  // Wakes this object's thread when it is the one that the load waits for.
  void NoticeConfirmation(std::uint32_t cmdId, std::uint16_t tag,
                          std::uint32_t resultCode) noexcept override;
  // The chain: response handlers in order, up to the first that answers 0.
  std::int32_t OfferReply(std::uint32_t cmdId, std::uint32_t resultCode, const std::uint8_t* body,
                          std::uint32_t bodyLengthBytes,
                          const SvcKivClass::ReplyDescriptor& reply) override;
  // The controller leaves texts as they are.
  bool HooksTexts() const override { return false; }
  void HookText(std::uint32_t kind, QCString& text, std::uint32_t cmdId) override;

 public Q_SLOTS:
  // The end of the period.
  void SlotInstantIndTimer();

 private:
  // The line that is being run.
  struct Line {
    CommandType type = CommandType::kUnknown;
    std::uint32_t cmdId = 0;
    QCString word;
    QCString rest;
  };

  void FillMorviCmdList();
  // False, and logged, when the catalogue cannot be read; the help entries stay.
  bool EnumerateCommands();
  // Whether the line is accepted, as GetCmd answers it.
  bool ClassifyCommand(const CmdInfo& command);
  bool ClassifyOther();
  // Offers to every handler; whether one took the line. Static: handlers may run another line
  // meanwhile.
  static bool OfferLine(const Line& line,
                        const std::vector<SvcKivClass::ChannelCommandFn>& handlers);
  void ListHelp();
  void ResponseMyCommand();
  // The steps of ResponseMyCommand that leave their text in the packet; false when one failed.
  bool PreparePacket(SvcKivClass::DiagPacket& packet);
  void DisplayInputParams(SvcKivClass::DiagPacket& packet);
  // Whether the link client accepted the packet.
  bool DispatchMyCommand(SvcKivClass::DiagPacket& packet);
  void TakeReply(SvcKivClass::DiagPacket& packet);
  // Plain, direct or routed as the path says; 23 for a bad path, 3207 without a link client.
  std::uint32_t Post(const SvcKivClass::DiagPacket& packet);
  std::uint16_t NextSequenceNumber() const noexcept;
  void DeleteTimer();

  void customEvent(QEvent* event) override;
  void RunLoadLine();
  // The confirmation that the load waited for is there. True when the next chunk went out, whose
  // confirmation is to be looked out for with `looksOut`; else the view may have been told
  // something, and this object may be gone.
  bool ContinueLoad(bool looksOut);
  bool OpenLoad(const QCString& path);
  std::uint32_t MaxLoadBytes() const;
  std::uint32_t LoadCmdId() const;
  // Logs the line and keeps it.
  void NoteLoadFailure(const wchar_t* function, std::int32_t err, const wchar_t* what);
  // What a chunk that no line asked for left in the response, or else in the log.
  void TellLoadFailure(const QCString& text);

  CCmdDatabase database_;
  std::vector<SvcKivClass::ChannelInitFn> registrations_;
  std::vector<SvcKivClass::ChannelCommandFn> handlers_;
  std::vector<SvcKivClass::ChannelResponseFn> responseHandlers_;
  SvcKivSpace::MorviCmdList commands_;  // the two help entries first
  QCString response_;
  Line line_;
  QCString lastWord_;  // as split, also when the line was then rejected
  std::int32_t ueId_;
  std::uint16_t sequence_ = 0;
  std::int32_t periodMs_ = 0;
  QTimer* periodTimer_ = nullptr;  // a child of this object
  SvcKivClass::FlashLoad load_;
  SvcKivClass::AwaitedConfirmation awaited_;  // of the newest chunk
  bool looksOut_ = false;                 // for the confirmation of the chunk that is being sent
  std::atomic<bool> linkWasLost_{false};  // told on another thread, and not taken up yet
  QCString loadFailure_;                  // the log line of the last chunk that failed
  SvcKivClass::ServiceContext& context_;
};
