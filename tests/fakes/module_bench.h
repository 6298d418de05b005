// A bench for the module's insides: scratch configuration, application object, and ears for what it
// says.
//
// Threads: the test's thread is the facade's; messages are noted on the thread that sends them.
// Owns a temporary directory, which it removes.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/base/bench_setup.h"
#include "platform/base/sys_log_file.h"
#include "platform/bounded/pool.h"
#include "platform/text/qt_text.h"
#include "service/svc_kiv_app.h"
#include "tests/fakes/fake_channels.h"
#include "tests/fakes/platform_seam.h"
#include "tests/support/tree_paths.h"

namespace kivtest {

// Drops debug traces of category "default" (they are still built) and passes everything else on.
inline void DropTraces(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (type == QtDebugMsg && std::string(context.category) == "default") return;
  std::fprintf(stderr, "%s\n", text.toUtf8().constData());
}

// The one QCoreApplication of a test program: timers and queued calls need it. Traces are dropped
// from here on unless a TraceEar listens.
inline QCoreApplication& CoreApplication() {
  static const bool quiet = (qInstallMessageHandler(&DropTraces), true);
  static_cast<void>(quiet);
  static int argc = 1;
  static char name[] = "test";
  static char* argv[] = {name, nullptr};
  static QCoreApplication application(argc, argv);
  return application;
}

// A compiled catalogue of this folder.
inline QCString TestCatalogue(const std::string& name = "module_commands") {
  return QCString::FromUtf8(std::string(BuildDir()) + "/tests/" + name + ".kcat");
}

// One message to the view. `text` is a copy; `isNull` tells a null payload from an empty text.
struct Message {
  int kind;
  std::wstring text;
  bool isNull;
  std::thread::id thread;
  std::string bytes = {};  // of an 8-bit text as it came
};

// Notes every message of a sender, in the sender's thread, and releases what is the receiver's.
class MessageEar {
 public:
  explicit MessageEar(SvcKivSpace::SvcKivMessage& sender) {
    connection_ = QObject::connect(
        &sender, &SvcKivSpace::SvcKivMessage::SvcHandleMessage, &sender,
        [this](SvcKivSpace::SvcKivMsgType kind, void* payload) { Note(kind, payload); },
        Qt::DirectConnection);
  }
  ~MessageEar() { QObject::disconnect(connection_); }
  MessageEar(const MessageEar&) = delete;
  MessageEar& operator=(const MessageEar&) = delete;

  std::vector<Message> All() {
    std::lock_guard lock(mutex_);
    return messages_;
  }
  std::vector<std::wstring> Texts() {
    std::vector<std::wstring> texts;
    for (const Message& message : All()) texts.push_back(message.text);
    return texts;
  }

 private:
  void Note(SvcKivSpace::SvcKivMsgType kind, void* payload) {
    Message message{kind, L"", payload == nullptr, std::this_thread::get_id()};
    const bool isWide = kind == SvcKivSpace::kReply || kind == SvcKivSpace::kTestCase;
    if (payload != nullptr && isWide) {
      message.text = static_cast<const wchar_t*>(payload);
    } else if (payload != nullptr && kind == SvcKivSpace::kNotice) {
      message.text = static_cast<const QCString*>(payload)->str();
    } else if (payload != nullptr) {
      message.bytes = static_cast<const char*>(payload);
      message.text = QCString::FromUtf8(message.bytes).str();
    }
    if (kind != SvcKivSpace::kNotice && kind != SvcKivSpace::kReply) PoolFree(payload);
    std::lock_guard lock(mutex_);
    messages_.push_back(std::move(message));
  }

  std::mutex mutex_;
  std::vector<Message> messages_;
  QMetaObject::Connection connection_;
};

// Notes the lines of the system log.
class LogEar {
 public:
  LogEar() {
    CSysLogFile::SetObserver([this](const QCString& line) {
      std::lock_guard lock(mutex_);
      lines_.push_back(line.str());
    });
  }
  ~LogEar() { CSysLogFile::SetObserver({}); }
  LogEar(const LogEar&) = delete;
  LogEar& operator=(const LogEar&) = delete;

  std::vector<std::wstring> Lines() {
    std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::wstring> lines_;
};

// Notes the debug traces of category "default".
class TraceEar {
 public:
  TraceEar() {
    Current() = this;
    previous_ = qInstallMessageHandler(&Handle);
  }
  ~TraceEar() {
    qInstallMessageHandler(previous_);
    Current() = nullptr;
  }
  TraceEar(const TraceEar&) = delete;
  TraceEar& operator=(const TraceEar&) = delete;

  std::vector<std::wstring> Lines() {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  void Clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  static TraceEar*& Current() {
    static TraceEar* current = nullptr;
    return current;
  }
  static void Handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type != QtDebugMsg || std::string(context.category) != "default") return;
    std::lock_guard lock(Current()->mutex_);
    Current()->lines_.push_back(text.toStdWString());
  }

  std::mutex mutex_;
  std::vector<std::wstring> lines_;
  QtMessageHandler previous_;
};

// A configuration of its own for one test, with the test catalogue and `ver` as section "plc", key
// "VER".
class ScratchSetup {
 public:
  explicit ScratchSetup(int ver = 1, const QCString& catalogue = TestCatalogue()) {
    WritePlatformIni(ver);
    bench::Setup setup;
    setup.configDir = FromQString(directory_.path());
    setup.dataDir = FromQString(directory_.path() + "/data");
    setup.catalogue = catalogue;
    setup.endpoint = QCString(L"unix:/nonexistent/kiv-test");
    bench::SetSetup(setup);
  }
  ~ScratchSetup() { bench::SetSetup({}); }
  ScratchSetup(const ScratchSetup&) = delete;
  ScratchSetup& operator=(const ScratchSetup&) = delete;

  void WritePlatformIni(int ver) const {
    std::ofstream(Path("platform.ini")) << "[plc]\nVER=" << ver << "\n";
  }
  std::string Path(const std::string& name) const {
    return directory_.path().toStdString() + "/" + name;
  }
  std::wstring WidePath() const { return directory_.path().toStdWString(); }

 private:
  QTemporaryDir directory_;
};

// What most tests want: everything above, and an application object that is started and connected.
class ModuleBench {
 public:
  struct Options {
    int ver = 1;
    std::vector<SvcKivClass::ChannelEntries> channels = {};
    bool connected = true;
    bool start = true;
    QCString catalogue = TestCatalogue();
  };

  ModuleBench() : ModuleBench(Options{}) {}
  explicit ModuleBench(Options options) : setup_((Prepare(), options.ver), options.catalogue) {
    app_ = std::make_unique<SvcKivClass::SvcKivApp>(
        SvcKivClass::SvcKivAppParts{std::move(options.channels), {}});
    messages_ = std::make_unique<MessageEar>(*app_->GetMsgSender());
    if (options.start) app_->Start();
    if (options.connected) app_->SetUEConnectStatus(1);
  }
  // What the module took from the pool is back, or was released by the ear.
  ~ModuleBench() {
    app_->Stop();
    messages_.reset();
    app_.reset();
    EXPECT_EQ(pool::LiveBlocks(), 0u);
  }
  ModuleBench(const ModuleBench&) = delete;
  ModuleBench& operator=(const ModuleBench&) = delete;

  SvcKivClass::SvcKivApp& App() { return *app_; }
  CmdCtrl& Controller() { return *app_->GetController(); }
  SvcKivClass::LirnKivClient& Link() { return *app_->GetLinkClient(); }
  MessageEar& Messages() { return *messages_; }
  LogEar& Log() { return log_; }
  const ScratchSetup& Setup() const { return setup_; }

  // The reply to a line; kUntouched when the holder was left as it was.
  static constexpr wchar_t kUntouched[] = L"<untouched>";
  std::wstring Run(const wchar_t* line) {
    QCString reply(kUntouched);
    app_->GetDiagCmdResponse(line, reply);
    return reply.str();
  }
  std::wstring Run(const std::wstring& line) { return Run(line.c_str()); }

 private:
  static void Prepare() {
    CoreApplication();
    fake::ResetSeam();
    fake::ResetChannels();
  }

  ScratchSetup setup_;
  LogEar log_;
  std::unique_ptr<SvcKivClass::SvcKivApp> app_;
  std::unique_ptr<MessageEar> messages_;
};

}  // namespace kivtest
