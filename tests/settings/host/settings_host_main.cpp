// settings_host: does what the lines of its standard input say, and answers each with one line.
//
//   folder DIR          the configuration directory from here on
//   open                settings object of session 1, instance 1, loaded: "CODE TITLE HISTORY"
//   title TEXT          sets and writes the title: code
//   font TEXT           the same for the font's name
//   favourites N        writes N favourites of 100 characters each: code
//   parameter LENGTH    writes one favourite with a parameter text of that many characters: code
//   history NAME        stores everything with a new history entry: code
//   save                code
//   export FILE         all groups: code
//   ini FILE VALUE      section s, key k: 1 when it was written, else 0
//   appends NAME N      N times: history entry NAME and a number, title NAME, save; failures
//   kills N SEED A B    N children save titles A and B in turn and are killed: how many files were
//                       neither the one nor the other
//   keep FILE COPY      keeps a file as it is under another name: 0; 1 when it is not there
//   mark                a system call to find in a trace: 0
//   notices             how many the user has had since the last time
//   close               ends the settings object: 0
//   check               open, close and notices in one: "CODE TITLE HISTORY NOTICES"
//
// Threads: one. Errors: an unknown line ends it with 2.
#include <sys/wait.h>
#include <unistd.h>

#include <QObject>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>

#include "platform/base/bench_setup.h"
#include "platform/os/ini_files.h"
#include "service/message/live_switches.h"
#include "settings/svc_kiv_config_impl.h"
#include "svckiv/svc_kiv_message.h"

namespace {

using SvcKivClass::SvcKivConfigImpl;

QCString Wide(const std::string& text) { return QCString::FromUtf8(text); }

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Host {
 public:
  Host() {
    QObject::connect(
        &sender_, &SvcKivSpace::SvcKivMessage::SvcHandleMessage, &sender_,
        [this](SvcKivSpace::SvcKivMsgType, void*) { ++notices_; }, Qt::DirectConnection);
  }

  // False for a line that is none.
  bool Do(const std::string& line, std::string& answer) {
    std::istringstream words(line);
    std::string verb;
    words >> verb;
    if (verb == "folder") {
      words >> folder_;
      bench::Setup setup;
      setup.configDir = Wide(folder_);
      setup.dataDir = Wide(folder_ + "/data");
      bench::SetSetup(setup);
      answer = "0";
    } else if (verb == "open") {
      answer = Open();
    } else if (verb == "close") {
      config_.reset();
      answer = "0";
    } else if (verb == "check") {
      answer = Open();
      config_.reset();
      answer += " " + std::to_string(std::exchange(notices_, 0));
    } else if (verb == "notices") {
      answer = std::to_string(std::exchange(notices_, 0));
    } else if (verb == "mark") {
      answer = access("/settings-host-mark", F_OK) == 0 ? "1" : "0";
    } else {
      return Change(verb, words, answer);
    }
    return true;
  }

 private:
  std::string Open() {
    config_.reset();
    config_ =
        std::make_unique<SvcKivConfigImpl>(SvcKivClass::SvcKivConfigParts{switches_, sender_});
    std::uint32_t code = config_->SetSessionAndInstance(1, 1);
    if (code == 0) code = config_->LoadEverything();
    return std::to_string(code) + " [" + QCString(config_->Settings().title).ToUtf8() + "] " +
           std::to_string(config_->Lists().history.GetCount());
  }

  bool Change(const std::string& verb, std::istringstream& words, std::string& answer) {
    std::string text;
    words >> text;
    std::uint32_t code = 0;
    if (verb == "title") {
      code = SetTitle(text);
    } else if (verb == "font") {
      Copy(config_->Settings().fontName, text);
      code = config_->WritePopular();
    } else if (verb == "favourites") {
      code = Favourites(std::stoul(text));
    } else if (verb == "parameter") {
      code = Parameter(std::stoul(text));
    } else if (verb == "keep") {
      std::string copy;
      words >> copy;
      // A second name: a file that is replaced as one stays under it as it was.
      code = link(text.c_str(), copy.c_str()) == 0 ? 0 : 1;
    } else if (verb == "history") {
      SvcKivSpace::KivCommandRecord record;
      record.name = Wide(text);
      code = config_->StoreEverything(&record);
    } else if (verb == "save") {
      code = config_->Save();
    } else if (verb == "export") {
      code = config_->Export(Wide(text).c_str(), true, true, true);
    } else if (verb == "ini") {
      std::string value;
      words >> value;
      code = WritePrivateProfileStringW(L"s", L"k", Wide(value).c_str(), Wide(text).c_str()) != 0;
    } else if (verb == "appends") {
      std::size_t count = 0;
      words >> count;
      code = Appends(text, count);
    } else if (verb == "kills") {
      std::uint32_t seed = 0;
      std::string a, b;
      words >> seed >> a >> b;
      code = Kills(std::stoul(text), seed, a, b);
    } else {
      return false;
    }
    answer = std::to_string(code);
    return true;
  }

  template <std::size_t kSize>
  static void Copy(wchar_t (&field)[kSize], const std::string& text) {
    const QCString wide = Wide(text).Left(kSize - 1);
    wide.str().copy(field, wide.GetLength());
    field[wide.GetLength()] = L'\0';
  }

  std::uint32_t SetTitle(const std::string& title) {
    Copy(config_->Settings().title, title);
    return config_->WritePopular();
  }

  std::uint32_t Favourites(std::size_t count) {
    auto& list = config_->Lists().favourites;
    list.RemoveAll();
    for (std::size_t i = 0; i < count; ++i) {
      SvcKivSpace::KivCommandRecord record;
      record.name = Wide("favourite" + std::to_string(i));
      record.parameters = QCString(std::wstring(100, L'p'));
      list.AddTail(record);
    }
    return config_->WriteFavourites();
  }

  std::uint32_t Parameter(std::size_t lengthChars) {
    auto& list = config_->Lists().favourites;
    list.RemoveAll();
    SvcKivSpace::KivCommandRecord record;
    record.name = L"long";
    record.parameters = QCString(std::wstring(lengthChars, L'p'));
    list.AddTail(record);
    return config_->WriteFavourites();
  }

  // How many of the stores and saves failed.
  std::uint32_t Appends(const std::string& name, std::size_t count) {
    std::uint32_t failures = 0;
    for (std::size_t i = 0; i < count; ++i) {
      SvcKivSpace::KivCommandRecord record;
      record.name = Wide(name + std::to_string(i));
      if (config_->StoreEverything(&record) != 0) ++failures;
      if (config_->Save() != 0) ++failures;
    }
    return failures;
  }

  std::uint32_t Kills(std::size_t count, std::uint32_t seed, const std::string& a,
                      const std::string& b) {
    const std::string file = folder_ + "/kiv.xml";
    std::set<std::string> sound;
    Open();
    for (const std::string& title : {b, a}) {
      SetTitle(title);
      if (config_->Save() != 0) return static_cast<std::uint32_t>(count);
      sound.insert(ReadFile(file));
    }
    config_.reset();
    std::mt19937 random(seed);
    std::uint32_t broken = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const pid_t child = fork();
      if (child == 0) {
        Open();
        for (int turn = 0;; ++turn) {
          SetTitle(turn % 2 == 0 ? b : a);
          config_->Save();
        }
      }
      usleep(random() % 6000);
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
      if (!sound.contains(ReadFile(file))) ++broken;
    }
    return broken;
  }

  std::string folder_;
  SvcKivClass::LiveSwitches switches_;
  SvcKivSpace::SvcKivMessage sender_;
  std::size_t notices_ = 0;
  std::unique_ptr<SvcKivConfigImpl> config_;
};

}  // namespace

int main() {
  Host host;
  std::string line;
  while (std::getline(std::cin, line)) {
    std::string answer;
    if (!host.Do(line, answer)) return 2;
    std::cout << answer << std::endl;
  }
  return 0;
}
