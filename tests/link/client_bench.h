// A link client on its own, with recording handlers in place of the command controller.
//
// Threads: one test. Owns client, switches and message object.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "link/lirn_kiv_client.h"
#include "tests/fakes/written_texts.h"

namespace kivtest {

// What the chain was offered and the hook was shown.
class RecordingHandlers : public SvcKivClass::ReplyHandlers {
 public:
  struct Offer {
    std::uint32_t cmdId;
    std::uint32_t resultCode;
    std::vector<std::uint8_t> body;
    bool isNull;
    SvcKivClass::ReplyDescriptor reply;
  };
  struct Hook {
    std::uint32_t kind;
    std::wstring text;
    std::uint32_t cmdId;
    bool operator==(const Hook&) const = default;
  };

  std::int32_t OfferReply(std::uint32_t cmdId, std::uint32_t resultCode, const std::uint8_t* body,
                          std::uint32_t bodyLengthBytes,
                          const SvcKivClass::ReplyDescriptor& reply) override {
    fake::Note("offer");
    std::vector<std::uint8_t> copy;
    if (body != nullptr) copy.assign(body, body + bodyLengthBytes);
    offers.push_back({cmdId, resultCode, std::move(copy), body == nullptr, reply});
    return answer(cmdId);
  }
  void HookText(std::uint32_t kind, QCString& text, std::uint32_t cmdId) override {
    fake::Note("hook");
    hooks.push_back({kind, text.str(), cmdId});
    if (rewrite) rewrite(text);
  }

  std::vector<Offer> offers;
  std::vector<Hook> hooks;
  std::function<std::int32_t(std::uint32_t)> answer = [](std::uint32_t) { return 50; };
  std::function<void(QCString&)> rewrite;
};

class ClientBench {
 public:
  // `ini` replaces the ini file with `ver`, `catalogue` the tests' own one.
  explicit ClientBench(int ver = 1, const std::string& ini = {}, const std::string& catalogue = {})
      : setup_((Prepare(), ver)) {
    if (!ini.empty()) std::ofstream(setup_.Path("platform.ini")) << ini;
    if (!catalogue.empty()) UseCatalogue(catalogue);
    // The client's decoding uses the catalogue that the process works with.
    QCList<CmdInfo> commands;
    CCmdDatabase database;
    database.EnumCommands(commands, 3, 256, 0, 0);
    handlersPointer.store(&handlers);
    switches.ueConnectStatus = 1;
    client = std::make_unique<SvcKivClass::LirnKivClient>(
        L"Kiv 1", SvcKivClass::LirnKivClientParts{switches, sender, handlersPointer});
    client->InstallClient(256, 1);
    client->StartConnect(256, 1, 8191, 1, 0);
    ear_ = std::make_unique<MessageEar>(sender);
  }
  ~ClientBench() {
    client->StopConnect(256, 1, 8191);
    client->Shutdown(200, 1);
    TpfClientUnInstall(client->TransferProfile());
    ear_.reset();
    client.reset();
  }
  ClientBench(const ClientBench&) = delete;
  ClientBench& operator=(const ClientBench&) = delete;

  CTransferProfile& InstallProfile() {
    TpfClientInstall(client->TransferProfile(), 256, 1);
    return *client->TransferProfile().load();
  }
  std::vector<Message> Messages() { return ear_->All(); }
  std::vector<std::wstring> Texts() { return ear_->Texts(); }

  SvcKivClass::LiveSwitches switches;
  SvcKivSpace::SvcKivMessage sender;
  RecordingHandlers handlers;
  std::atomic<SvcKivClass::ReplyHandlers*> handlersPointer{nullptr};
  std::unique_ptr<SvcKivClass::LirnKivClient> client;

 private:
  static void Prepare() {
    CoreApplication();
    fake::ResetSeam();
  }

  void UseCatalogue(const std::string& path) const {
    bench::Setup setup;
    setup.configDir = QCString::FromUtf8(setup_.Path("."));
    setup.catalogue = QCString::FromUtf8(path);
    bench::SetSetup(setup);
  }

  ScratchSetup setup_;
  std::unique_ptr<MessageEar> ear_;
};

}  // namespace kivtest
