#include "tests/settings/settings_bench.h"

#include <unistd.h>

#include <QObject>
#include <utility>

#include "platform/base/bench_setup.h"
#include "tests/support/scoped_env.h"

namespace kivtest {
namespace {

using SvcKivSpace::SvcKivMessage;

std::wstring FullElement(const std::wstring& element) {
  if (element.starts_with(L"SourceData")) return element;
  return L"SourceData.SESSION.INSTANCE.DEFAULT" + (element.empty() ? L"" : L"." + element);
}

}  // namespace

TempDir QuickTempDir() {
  const std::string memory = "/dev/shm";
  if (access(memory.c_str(), W_OK) != 0) return TempDir();
  const ScopedEnv folder("TMPDIR", memory);
  return TempDir();
}

std::string RootDocument(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SourceData>" + std::string(content) +
         "</SourceData>\n";
}

std::string Document(std::string_view groups) {
  return RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"><DEFAULT>" + std::string(groups) +
                      "</DEFAULT></INSTANCE></SESSION>");
}

std::string Cmd(std::string_view name, std::string_view para) {
  return "<CMD NAME=\"" + std::string(name) + "\" PARA=\"" + std::string(para) + "\"/>";
}

SettingsBench::SettingsBench() {
  bench::Setup setup;
  setup.configDir = QCString(folder_.WidePath());
  setup.dataDir = QCString(DataPath());
  bench::SetSetup(setup);
  connection_ = QObject::connect(
      &sender_, &SvcKivMessage::SvcHandleMessage, &sender_,
      [this](SvcKivSpace::SvcKivMsgType kind, void* payload) {
        const auto* text = static_cast<const QCString*>(payload);
        if (kind != SvcKivSpace::kNotice) {
          notices_.push_back(L"kind " + std::to_wstring(kind));
        } else {
          notices_.push_back(text == nullptr ? L"" : text->str());
        }
      },
      Qt::DirectConnection);
}

SettingsBench::SettingsBench(std::string_view document) : SettingsBench() {
  folder_.Write("kiv.xml", document);
}

SettingsBench::~SettingsBench() {
  config_.reset();
  QObject::disconnect(connection_);
  bench::SetSetup({});
}

void SettingsBench::Open() {
  config_.reset();
  const QCString own(folder_.WideFile("kiv.xml"));
  const auto open = [this, own](const QCString& path, xml_config::Options options) {
    const std::string label = path == own ? "" : "other: ";
    return std::make_unique<RecordingXml>(tape_, label, path, std::move(options));
  };
  config_ = std::make_unique<SvcKivClass::SvcKivConfigImpl>(
      SvcKivClass::SvcKivConfigParts{switches_, sender_, open});
}

void SettingsBench::Load(std::uint32_t sessionId, std::uint32_t instanceId) {
  Open();
  config_->SetSessionAndInstance(sessionId, instanceId);
  config_->LoadEverything();
  tape_.Take();
}

void SettingsBench::Close() { config_.reset(); }

std::vector<std::wstring> SettingsBench::TakeNotices() { return std::exchange(notices_, {}); }

std::wstring SettingsBench::OnDisk(const std::wstring& element, const std::wstring& attribute,
                                   const std::wstring& position) const {
  xml_config::Options options;
  options.openAs = xml_config::OpenAs::kExisting;
  const CXmlConfig document(QCString(folder_.WideFile("kiv.xml")), options);
  QCString value;
  const std::uint32_t code = document.ReadAttrValue(
      value, QCString(attribute), QCString(FullElement(element)), QCString(position));
  return code == 0 ? value.str() : L"<none>";
}

std::uint32_t SettingsBench::CountOnDisk(const std::wstring& parent, const std::wstring& tag,
                                         const std::wstring& position) const {
  xml_config::Options options;
  options.openAs = xml_config::OpenAs::kExisting;
  const CXmlConfig document(QCString(folder_.WideFile("kiv.xml")), options);
  std::uint32_t count = 0;
  document.GetSubNodeCount(count, QCString(FullElement(parent)), QCString(tag), QCString(position));
  return count;
}

}  // namespace kivtest
