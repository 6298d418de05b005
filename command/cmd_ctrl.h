// CmdCtrl: takes a typed line, decides what kind of command it is, runs it and leaves a reply text.
//
// A line goes first to the text channels, whatever kind it is; what no channel took is dispatched
// by type. Received packets are offered to the channels through the same object.
//
// Threads: the facade's, which needs an event loop for the indication period; OfferReply and
// HookText run on the link's thread and look at nothing but the list of response handlers, which
// never changes. Owns the command list and the period timer. Borrows the service context and the
// application object. Errors: every rejection ends in a reply text.
#pragma once

#include <QObject>
#include <atomic>
#include <cstdint>
#include <vector>

#include "channels/channel_service_table.h"
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

  // How long indications are shown after an accepted post; below 0 counts as 0.
  void SetInstantIndTime(std::int32_t periodMs) noexcept { periodMs_ = periodMs; }
  bool IsPeriodRunning() const noexcept { return periodTimer_ != nullptr; }
  // Sets the instant flag and starts the period anew. On another thread than this object's it is
  // queued.
  void StartInstantIndPeriod();

  // The chain: response handlers in order, up to the first that answers 0.
  std::int32_t OfferReply(std::uint32_t cmdId, std::uint32_t resultCode, const std::uint8_t* body,
                          std::uint32_t bodyLengthBytes,
                          const SvcKivClass::ReplyDescriptor& reply) override;
  // Leaves the text as it is; for derived controllers.
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
  void DispatchMyCommand(SvcKivClass::DiagPacket& packet);
  void TakeReply(SvcKivClass::DiagPacket& packet);
  // Plain, direct or routed as the path says; 23 for a bad path, 3207 without a link client.
  std::uint32_t Post(const SvcKivClass::DiagPacket& packet);
  void AdvanceSequence() noexcept;
  void DeleteTimer();

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
  SvcKivClass::ServiceContext& context_;
};
