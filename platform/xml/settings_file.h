// SettingsFile: the file behind a settings document.
//
// Beside FILE stand FILE.bak (the last good copy: what FILE held before the last save),
// FILE.corrupt-N (broken files that were set aside), FILE.notice (what the user has to be told of
// that, until they were) and FILE.lock (held while somebody saves; its presence means nothing). A
// symbolic link is followed; they stand beside its target.
//
// Threads: one. Owns nothing but texts. Errors: error numbers; see the methods.
#pragma once

#include <optional>
#include <pugixml.hpp>
#include <string>

#include "platform/os/file_lock.h"
#include "platform/os/file_stamp.h"
#include "platform/os/safe_file.h"
#include "platform/xml/stored_document.h"
#include "platform/xml/untold_notice.h"
#include "platform/xml/xml_config.h"
#include "platform/xml/xml_merge.h"

// See the head of this file.
class SettingsFile {
 public:
  SettingsFile(std::string mappedPath, xml_config::Options options);
  SettingsFile(const SettingsFile&) = delete;
  SettingsFile& operator=(const SettingsFile&) = delete;
  ~SettingsFile() { ForgetTold(); }

  // Fills `document` as the options say; false when there is none.
  bool Load(pugi::xml_document& document);
  // Puts `document`, merged with what others saved, on the disk; 0 or an error number. After an
  // error the file is as it was, or (when only the sync of its directory failed) has it already.
  int Save(const pugi::xml_document& document);

  // What was taken counts as shown when something is saved or the object ends.
  std::string TakeNotice();
  int lastError() const { return lastError_; }

 private:
  StoredDocument LoadOwn();
  StoredDocument Starting() const;
  StoredDocument Recover(StoredDocument broken);
  StoredDocument ReadCopy();

  int TrySave(const pugi::xml_document& document);
  int SaveOwn(const pugi::xml_document& document, const std::string& view, os::FileLock& lock);
  bool IsSavedAlready(const std::string& view) const;
  // What the file has now. A broken one is set aside first. Instead of one that is broken or gone
  // it is what the last good copy has, or what this process knows, whichever is newer.
  int ReadTheirs(StoredDocument& theirs, bool& isTheFile);
  StoredDocument NewestKnown();
  std::string Merged(const pugi::xml_document& ours, const std::string& view,
                     StoredDocument& theirs, bool goesOn);
  void MergeGoingOn(const pugi::xml_document& ours, StoredDocument& theirs);
  void MergeAnew(const pugi::xml_document& ours, StoredDocument& theirs);
  pugi::xml_document ParsedOwn(const std::string& text) const;
  // What became of writing: the file may have the content also after an error.
  struct Written {
    int error;
    bool isThere;
  };
  Written Write(const std::string& content, const std::string& view);
  void NoteSaved(std::string file, std::string view);
  os::FileStamp CopyStamp() const;

  // What a user typed is for them alone; a file made for others is what the umask lets it be.
  os::NewFileRights Rights() const {
    return options_.openAs == xml_config::OpenAs::kOwn ? os::NewFileRights::kOwnerOnly
                                                       : os::NewFileRights::kUmask;
  }
  std::string CopyPath() const { return path_ + ".bak"; }
  std::string LockPath() const { return path_ + ".lock"; }
  void Tell(const std::string& what);
  // The same, kept until the user has seen it: the file is repaired next.
  void TellForSure(const std::string& what);
  void ForgetTold();

  xml_config::Options options_;
  std::string rootTag_;
  std::string path_;
  std::string notice_;
  std::optional<UntoldNotice> untold_;  // of the own file
  bool isTold_ = false;                 // TakeNotice was called since
  int lastError_ = 0;

  std::string loadedView_;  // this process's own document as it was loaded
  bool hadFile_ = false;    // whether there was a file then, or since
  std::string savedView_;   // this process's own document at the last load or save
  std::string savedFile_;   // the file's bytes then
  bool fileIsView_ = true;  // whether the file then held just this process's document
  bool mustWrite_ = false;  // the file is not known to be on the disk with what it should have

  os::FileStamp copy_;  // the last good copy then: it is older than `savedFile_`

  // The lock's mark then (os::FileLock). When it is another one the file began anew since: what it
  // lacks was not removed, it was lost.
  std::string begun_;
};
