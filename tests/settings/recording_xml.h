// RecordingXml: an XML document that notes every operation on it and can fail the n-th one.
//
// A note is one line: what is done, the attribute or tag, and the node with its positions (one for
// each tag; those left out at the end stand as 0), then " = CODE" when the answer is not 0. The
// settings element "SourceData.SESSION.INSTANCE.DEFAULT." is shown as "~". Calls that the document
// makes to itself are not noted.
//
// Threads: one test. Borrows the tape, which outlives it.
#ifndef TESTS_SETTINGS_RECORDING_XML_H_
#define TESTS_SETTINGS_RECORDING_XML_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/text/qc_list.h"
#include "platform/text/qc_string.h"
#include "platform/xml/xml_config.h"

namespace kivtest {

// What was done, over all documents of a test; those of another file begin with "other: ".
struct XmlTape {
  std::vector<std::string> calls;
  bool isOn = true;
  std::uint64_t failAt = 0;  // 0: none; 1 is the next operation
  std::uint32_t failCode = 0;
  bool hasFailed = false;

  // What happened since the last Take.
  std::vector<std::string> Take() { return std::exchange(calls, {}); }
  void FailNth(std::uint64_t n, std::uint32_t code) {
    failAt = n;
    failCode = code;
    hasFailed = false;
  }
};

// "~" for the settings element's tag path.
std::string ShownTags(const QCString& tagPath);
// One position for each tag.
std::string ShownPositions(const QCString& tagPath, const QCString& instancePath);

class RecordingXml final : public CXmlConfig {
 public:
  RecordingXml(XmlTape& tape, std::string label, const QCString& path, xml_config::Options options)
      : CXmlConfig(path, std::move(options)), tape_(tape), label_(std::move(label)) {}

  std::uint32_t ReadAttrValue(QCString& value, const QCString& attribute, const QCString& tagPath,
                              const QCString& instancePath) const override;
  std::uint32_t WriteAttrValue(const QCString& value, const QCString& attribute,
                               const QCString& tagPath, const QCString& instancePath) override;
  std::uint32_t FindAttrValByTagPath(const QCString& attribute, const QCString& value,
                                     const QCString& tagPath, QCString& instancePath,
                                     void* reserved) const override;
  std::uint32_t AddConfigNode(const QCString& tag, const QCString& parentTagPath,
                              const QCString& parentInstancePath,
                              std::int32_t createMissing) override;
  std::uint32_t GetSubNodeCount(std::uint32_t& count, const QCString& parentTagPath,
                                const QCString& childTag,
                                const QCString& parentInstancePath) const override;
  std::uint32_t GetSubNodeTags(QCList<QCString>& tags, const QCString& tagPath,
                               const QCString& instancePath) const override;
  std::uint32_t GetNode(const QCString& tagPath, const QCString& instancePath) const override;
  std::uint32_t DeleteConfigNode(const QCString& tagPath, const QCString& instancePath) override;
  std::uint32_t DeleteConfigNode2(const QCString& tagPath, std::uint32_t index,
                                  const QCString& containerInstancePath) override;
  std::uint32_t Save(std::int32_t flag) override;

 private:
  template <typename What, typename Operation>
  std::uint32_t Note(What what, Operation operation) const;

  XmlTape& tape_;
  std::string label_;
  mutable int depth_ = 0;
};

}  // namespace kivtest

#endif  // TESTS_SETTINGS_RECORDING_XML_H_
