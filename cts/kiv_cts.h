// KivCts: test cases. "cts NAME INDEX" sends a compiled parameter file to the device, which runs
// the test function of that name; "ctscfg PATH [TITLE]" says where the files are; "ctsftl 0|1"
// hides everything else that the device sends.
//
//   ini file     C:\Kestrax\kit_kiv_plc_cts.ini, section "config", keys "path" and "title"
//   log          PATH\cts_TITLE.log ("na" for no title): what was typed and what came, appended
//   files        PATH\NAME.pcfg, which must be there and is not read; PATH\pbin\NAME.pcfg.rt.INDEX,
//                the bytes that are sent
//   packet       test_packet.h, id 0x500C; the device confirms under the same id and sends text
//                under 0xA010
//   view         message kind 3, each text from OutputText and ShowText
//
// Paths are built and shown with backslashes; the platform maps them when it touches a file. Name
// and index are used as typed.
//
// Threads: commands on the facade's thread, HandleResponse on the link's; they share the frame's
// files record and the filter flag. Errors: a command's answer is always 0, its failures are texts
// that begin with "***".
#pragma once

#include <cstdio>

#include "channels/text_channel.h"

namespace SvcKivClass {

// The frame, and what is told above.
class KivCts : public TextChannel {
 public:
  KivCts() : TextChannel(L"KivCts") {}

  // Also reads the configuration from the ini file, when there is none yet.
  std::int32_t Init(const ChannelServiceTable& table) override;
  // Takes the words "cts", "ctscfg" and "ctsftl" in any case. Every line is noted in the log,
  // whoever takes it.
  std::int32_t HandleCommand(const wchar_t* word, const wchar_t* rest) override;
  // 0 also when there was no memory to show the text.
  std::int32_t HandleResponse(std::uint32_t cmdId, const void* ignored, const std::uint8_t* data,
                              std::uint32_t lengthBytes) override;

  // 53 for a null path, which changes nothing, and for one that does not exist, which empties the
  // configuration; else 0. A null title is an empty one.
  std::int32_t SetConfigPath(const wchar_t* path, const wchar_t* title);
  // The frame's SaveToOutputFile.
  std::int32_t WriteLog(const wchar_t* text) const { return SaveToOutputFile(text); }
  // The text and a line feed, to the log and to the view. Without memory the log gets nothing and
  // the view a null payload.
  void ShowText(const wchar_t* text);
  // As a command answers: the log gets the text twice, once by itself and once from ShowText.
  void OutputText(const wchar_t* text);

  // The commands; each answers 0.
  std::int32_t CtsConfigCommand(const wchar_t* argument);
  std::int32_t RunCts(const wchar_t* argument, std::uint32_t delay);
  // `entry` is the name that the device looks up.
  std::int32_t RunCompiledConfig(std::uint32_t delay, const QCString& name, const QCString& index,
                                 const QCString& entry, const QCString& configFile);
  // Takes the open file over and closes it.
  std::int32_t SendTestParameters(const QCString& compiledFile, std::FILE* file,
                                  std::uint32_t delay, const QCString& entry,
                                  const QCString& configFile);

 protected:
  SvcKivSpace::SvcKivMsgType ViewKind() const override { return SvcKivSpace::kTestCase; }

 private:
  void LoadConfig();
  // The steps of CtsConfigCommand when it has an argument.
  void ChangeConfig(const QCString& argument);
  void SwitchFilter(const QCString& rest);
  void ShowPayloadText(const std::uint8_t* data, std::uint32_t lengthBytes);
  void OutputWith(const char* sourceText, std::initializer_list<QCString> words);
};

}  // namespace SvcKivClass
