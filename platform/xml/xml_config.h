// CXmlConfig: an XML settings document in memory, and its file.
//
// A node is addressed by a tag path (tags from the root, joined by full stops) and an instance path
// (one position for each tag, joined by full stops, counted among the siblings of the same tag from
// 0). Positions that are missing at the end of an instance path count as 0, so "0.2.0" with
// "SourceData.SESSION.INSTANCE.DEFAULT.COLOR.GENERAL" is the first COLOR's first GENERAL.
//
// Every wchar_t text without NUL comes back as it went in (docs/settings.md says how a text stands
// in the file). Positions far into a list cost the same as near ones when they are walked in order.
//
// The file: read once at construction (at most 16 MiB, 64 levels, no document type), replaced as
// one by Save under a lock. Several processes may have the same file open: Save reads it again and
// merges, so each brings only what it changed itself; the document in memory stays this process's
// own view, positions included. A file that does not parse is kept as FILE.corrupt-N and never
// overwritten; the last good copy (FILE.bak) is taken if it is sound, else the starting text. One
// that is gone or broken at a Save is written with what is known of it.
//
// Threads: one. Owns the document.
// Errors: the codes below, and result::kNoMemory; a failed operation changes nothing unless it says
// so.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/result_codes.h"
#include "platform/platform_export.h"
#include "platform/text/qc_list.h"
#include "platform/text/qc_string.h"

namespace xml_config {

// What the operations answer beside 0.
inline constexpr std::uint32_t kNodeMissing = result::kGroupMissing;  // 3004
inline constexpr std::uint32_t kAttributeMissing =
    result::kInstanceMissing;                                      // 3005, also not found
inline constexpr std::uint32_t kNotOpen = result::kNoDocument;     // 2
inline constexpr std::uint32_t kCannotSave = result::kSaveFailed;  // 3018

// How the children of one element are told apart when two processes changed them.
enum class MergeKind {
  kByTag,        // one child of a tag; the default
  kByAttribute,  // children of the same tag are told apart by an attribute (`key`)
  kAppended,     // a list that grows: entries that either side added stay, in order of arrival
  kWhole,        // the last process that changed the element brings all of its content
};

// A row of the merge table: for the children of the element at this tag path.
struct MergeRule {
  const wchar_t* tagPath;
  MergeKind kind;
  const wchar_t* key;  // of kByAttribute, else null
};

// What a store writes for a value that was missing in the file and that nobody set.
struct UnsetValue {
  const wchar_t* attribute;  // null: any
  const wchar_t* value;
};

// The attributes of an entry of a list, by their names in UTF-8.
using EntryTexts = std::map<std::string, QCString>;

// What a console that reads a value and stores it unchanged makes of its text: "010" becomes "10",
// a title that is too long is cut. A merge takes such texts for one, so that nobody changes what
// they only stored back. Functions without state; empty ones: every text stays as it is.
struct StoredAs {
  // The texts that may come of it, of which there may be more than one way; `tagPath` is the
  // element's.
  std::function<std::vector<QCString>(const QCString& tagPath, const QCString& attribute,
                                      const QCString& text)>
      attribute = {};
  // The same of an entry of a list, by the entry's tag path and its position among those of its
  // tag; unset for one that the console does not take.
  std::function<std::optional<EntryTexts>(const QCString& tagPath, std::size_t position,
                                          const EntryTexts& texts)>
      entry = {};
};

// How a file is opened.
enum class OpenAs {
  kOwn,       // a missing file is a new document from the starting text; broken ones are set aside
  kExisting,  // a missing or broken file is not open; nothing is created, renamed or locked
  kNew,       // an empty document (its root alone) whatever the file holds; Save replaces the file
};

struct Options {
  OpenAs openAs = OpenAs::kOwn;
  QCString startingText = {};  // the document of a new file; empty: the root alone
  QCString rootTag = L"SourceData";
  std::vector<MergeRule> mergeRules = {};
  std::vector<UnsetValue> unsetValues = {};  // yield to what another process has set meanwhile
  StoredAs storedAs = {};
  std::uint32_t lockWaitMs = 5000;  // how long Save waits for another process that saves
};

}  // namespace xml_config

// One settings document; virtual so that a test can watch what is read and written, in its order.
class KIVPLATFORM_API CXmlConfig {
 public:
  // `path` is mapped (os::MapPath).
  explicit CXmlConfig(const QCString& path, xml_config::Options options = {});
  // Frees without saving.
  virtual ~CXmlConfig();
  CXmlConfig(const CXmlConfig&) = delete;
  CXmlConfig& operator=(const CXmlConfig&) = delete;

  // False when there is no document: a file that could not be read (rights, I/O), or not found or
  // broken with kExisting. Every operation below then answers kNotOpen.
  virtual bool IsOpen() const;
  // What the user should know about the opening or the last saves (a broken file, an unreadable
  // one), one line without its end; empty when nothing. Answered once; what a process that was
  // killed could not tell any more is answered to the next, until one that took it saves or ends.
  virtual QCString TakeNotice();
  // The system's error number of the last failed opening or saving; 0 when none.
  virtual int LastError() const;

  // `value` stays as it was on failure: kNodeMissing, kAttributeMissing.
  virtual std::uint32_t ReadAttrValue(QCString& value, const QCString& attribute,
                                      const QCString& tagPath, const QCString& instancePath) const;
  // Adds the attribute when the node has none; kNodeMissing. kAttributeMissing for a new attribute
  // whose name XML could not hold.
  virtual std::uint32_t WriteAttrValue(const QCString& value, const QCString& attribute,
                                       const QCString& tagPath, const QCString& instancePath);
  // Finds the first node of the tag path whose attribute has exactly this text. `instancePath` one
  // level short of the tag path names the parent, a full one the parent and the position to begin
  // at; only children of that parent are searched. On success it gets the node's path; else it is
  // unchanged and the answer kAttributeMissing. `reserved` is null.
  virtual std::uint32_t FindAttrValByTagPath(const QCString& attribute, const QCString& value,
                                             const QCString& tagPath, QCString& instancePath,
                                             void* reserved) const;
  // Appends a child. kNodeMissing when the parent is not there, unless `createMissing` is 1, which
  // makes it and its ancestors, each at the next position of its tag.
  virtual std::uint32_t AddConfigNode(const QCString& tag, const QCString& parentTagPath,
                                      const QCString& parentInstancePath,
                                      std::int32_t createMissing);
  // Takes back what the last AddConfigNode made, ancestors included, with everything that was put
  // in since. Nothing when it made nothing, or when nodes were added or deleted otherwise since.
  void TakeBackAdded();
  // `count` is 0 on failure (kNodeMissing: no such parent).
  virtual std::uint32_t GetSubNodeCount(std::uint32_t& count, const QCString& parentTagPath,
                                        const QCString& childTag,
                                        const QCString& parentInstancePath) const;
  // The tags of all children, in the order of the document; cleared first.
  virtual std::uint32_t GetSubNodeTags(QCList<QCString>& tags, const QCString& tagPath,
                                       const QCString& instancePath) const;
  // 0 when the node is there, else kNodeMissing.
  virtual std::uint32_t GetNode(const QCString& tagPath, const QCString& instancePath) const;
  // Deletes the node with everything under it; kNodeMissing, also for the root, which stays.
  virtual std::uint32_t DeleteConfigNode(const QCString& tagPath, const QCString& instancePath);
  // Deletes the child at position `index` among those of the tag path's last tag; the instance path
  // is the container's.
  virtual std::uint32_t DeleteConfigNode2(const QCString& tagPath, std::uint32_t index,
                                          const QCString& containerInstancePath);
  // Replaces the file as one (flag 1; other flags do the same), merged with what others saved.
  // Nothing is written when the file already has just that. kCannotSave, and LastError says why:
  // the file is as it was (only when the sync of its directory failed it is already new) and a
  // later Save works. ETIMEDOUT: another process held the lock all the time. EFBIG, EILSEQ: the
  // document is beyond the limits that it would be read with.
  virtual std::uint32_t Save(std::int32_t flag);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// How a document is opened: the settings object makes its own and the other file's through this, so
// that tests can put a watching one in its place.
using XmlConfigFactory =
    std::function<std::unique_ptr<CXmlConfig>(const QCString& path, xml_config::Options options)>;
