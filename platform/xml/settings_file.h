// SettingsFile: the file behind a settings document.
//
// Beside FILE stand FILE.bak (the last good copy: what FILE held before the last save),
// FILE.corrupt-N (broken files that were set aside) and FILE.lock (held while somebody saves; its
// presence means nothing). A symbolic link is followed; they stand beside its target.
//
// Threads: one. Owns nothing but texts. Errors: error numbers; see the methods.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>

#include "platform/os/file_lock.h"
#include "platform/os/file_stamp.h"
#include "platform/os/safe_file.h"
#include "platform/xml/stored_document.h"
#include "platform/xml/xml_config.h"
#include "platform/xml/xml_merge.h"

// See the head of this file.
class SettingsFile {
 public:
  SettingsFile(std::string mappedPath, xml_config::Options options);

  // Fills `document` as the options say; false when there is none.
  bool Load(pugi::xml_document& document);
  // Puts `document`, merged with what others saved, on the disk; 0 or an error number. After an
  // error the file is as it was, or (when only the sync of its directory failed) has it already.
  int Save(const pugi::xml_document& document);

  std::string TakeNotice();
  int lastError() const { return lastError_; }

 private:
  StoredDocument LoadOwn();
  StoredDocument Starting() const;
  StoredDocument Recover(StoredDocument broken);
  StoredDocument ReadCopy();
  void NoteBegun(os::FileLock& lock);

  int TrySave(const pugi::xml_document& document);
  int SaveOwn(const pugi::xml_document& document, const std::string& view, os::FileLock& lock);
  bool IsSavedAlready(const std::string& view) const;
  // What the file has now. A broken one is set aside first; then it is what the last good copy has,
  // or what this process knows, whichever is newer.
  int ReadTheirs(StoredDocument& theirs, bool& isTheFile);
  std::string Merged(const pugi::xml_document& ours, const std::string& view,
                     StoredDocument& theirs, xml_merge::Descent descent);
  int Write(const std::string& content, const std::string& view);
  void NoteSaved(std::string file, std::string view);
  os::FileStamp CopyStamp() const;

  // What a user typed is for them alone; a file made for others is what the umask lets it be.
  os::NewFileRights Rights() const {
    return options_.openAs == xml_config::OpenAs::kOwn ? os::NewFileRights::kOwnerOnly
                                                       : os::NewFileRights::kUmask;
  }
  std::string CopyPath() const { return path_ + ".bak"; }
  std::string LockPath() const { return path_ + ".lock"; }
  void Tell(const std::string& what) { notice_ = "*** The settings file " + path_ + " " + what; }

  xml_config::Options options_;
  std::string rootTag_;
  std::string path_;
  std::string notice_;
  int lastError_ = 0;

  std::string savedView_;   // this process's own document at the last load or save
  std::string savedFile_;   // the file's bytes then
  bool fileIsView_ = true;  // whether the file then held just this process's document
  bool mustWrite_ = false;  // the file is not known to be on the disk with what it should have

  os::FileStamp copy_;  // the last good copy then: it is older than `savedFile_`

  // How often the file had begun anew then (os::FileLock). When it has done so since, what the file
  // lacks was not removed: it was lost.
  std::uint64_t begun_ = 0;

  // What a save tried to write that failed: it may have come about nevertheless.
  std::string triedFile_, triedView_;
};
