#include "platform/xml/settings_file.h"

#include <cerrno>
#include <new>
#include <utility>

#include "platform/os/error_text.h"
#include "platform/os/kept_copies.h"
#include "platform/os/safe_file.h"
#include "platform/xml/well_formed.h"
#include "platform/xml/xml_document.h"

using xml_config::OpenAs;
using Kind = StoredDocument::Kind;

namespace {

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

StoredDocument RootAlone(const std::string& rootTag) {
  pugi::xml_document document;
  document.append_child(rootTag.c_str());
  return StoredDocument::Of(std::move(document));
}

}  // namespace

SettingsFile::SettingsFile(std::string mappedPath, xml_config::Options options)
    : options_(std::move(options)),
      rootTag_(options_.rootTag.ToUtf8()),
      path_(std::move(mappedPath)) {}

std::string SettingsFile::TakeNotice() {
  isTold_ = true;
  return std::exchange(notice_, {});
}

void SettingsFile::Tell(const std::string& what) {
  const std::string text = "*** The settings file " + path_ + " " + what;
  if (notice_.find(text) != std::string::npos) return;
  notice_ += (notice_.empty() ? "" : " ") + text;
  isTold_ = false;
}

void SettingsFile::TellForSure(const std::string& what) {
  Tell(what);
  if (untold_) untold_->Keep(notice_);
}

void SettingsFile::ForgetTold() {
  try {
    if (isTold_ && untold_) untold_->Forget();
  } catch (const std::bad_alloc&) {
    // It is told once more at the next start.
  }
}

bool SettingsFile::Load(pugi::xml_document& document) {
  StoredDocument stored;
  switch (options_.openAs) {
    case OpenAs::kOwn:
      stored = LoadOwn();
      break;
    case OpenAs::kExisting:
      stored = StoredDocument::Read(path_, rootTag_);
      break;
    case OpenAs::kNew:
      stored = RootAlone(rootTag_);
      break;
  }
  if (stored.kind == Kind::kMissing) lastError_ = ENOENT;
  if (stored.kind == Kind::kBroken) lastError_ = EILSEQ;
  if (stored.kind == Kind::kUnreadable) lastError_ = stored.error;
  if (stored.kind != Kind::kSound) return false;
  document = std::move(stored.document);
  NoteSaved(std::move(stored.bytes), xml_document::Serialise(document));
  loadedView_ = savedView_;
  fileIsView_ = true;
  return true;
}

StoredDocument SettingsFile::LoadOwn() {
  StoredDocument stored;
  stored.error = os::FollowLinks(path_);
  if (stored.error != 0) {
    stored.kind = Kind::kUnreadable;
  } else {
    untold_.emplace(path_ + ".notice");
    notice_ = untold_->Left();
    begun_ = os::FileLock::Mark(LockPath());
    stored = StoredDocument::Read(path_, rootTag_);
  }
  if (stored.kind == Kind::kBroken) stored = Recover(std::move(stored));
  hadFile_ = stored.kind == Kind::kSound;
  if (stored.kind == Kind::kUnreadable) {
    const bool isOther = stored.error == EINVAL;  // a pipe, a device
    Tell((stored.problem.empty() ? "cannot be read: " : stored.problem) +
         (isOther ? std::string("it is not a regular file") : os::ErrorText(stored.error)) +
         ". No settings are kept.");
  }
  return stored.kind == Kind::kMissing ? Starting() : std::move(stored);
}

StoredDocument SettingsFile::Starting() const {
  pugi::xml_document document;
  const auto parsed = xml_document::Parse(options_.startingText.ToUtf8(), rootTag_, document);
  if (parsed.outcome != xml_document::Outcome::kSound) return RootAlone(rootTag_);
  return StoredDocument::Of(std::move(document));
}

// Another process may have found the same and be at it, so all is looked at again under the lock.
StoredDocument SettingsFile::Recover(StoredDocument broken) {
  os::FileLock lock;
  int error = lock.Acquire(LockPath(), options_.lockWaitMs);
  if (error == 0) {
    begun_ = lock.Mark();
    broken = StoredDocument::Read(path_, rootTag_);
  }
  if (broken.kind != Kind::kBroken) return broken;
  StoredDocument instead = ReadCopy();
  if (instead.kind == Kind::kUnreadable) {
    instead.problem = "is broken (" + broken.problem + ") and its last good copy " + CopyPath() +
                      " cannot be read: ";
    return instead;
  }
  std::string aside;
  if (error == 0) error = os::SetAside(path_, aside);
  const bool isCopy = instead.kind == Kind::kSound;
  const std::string used =
      isCopy ? ". The last good copy is used." : ". The default settings are used.";
  const std::string what = "is broken (" + broken.problem + ")";
  if (!isCopy) instead = Starting();
  if (error != 0) {
    Tell(what + " and could not be set aside: " + os::ErrorText(error) + used);
    return instead;
  }
  TellForSure(what + " and was set aside as " + aside + used);
  mustWrite_ = lock.NoteBegun() != 0;
  begun_ = lock.Mark();
  if (!mustWrite_) mustWrite_ = os::WriteFileSafely(path_, instead.bytes, Rights()) != 0;
  return instead;
}

// A copy that is broken itself is set aside too: the next one would take its place. A directory or
// a pipe under that name is no copy.
StoredDocument SettingsFile::ReadCopy() {
  StoredDocument copy = StoredDocument::Read(CopyPath(), rootTag_);
  if (copy.kind == Kind::kUnreadable && (copy.error == EISDIR || copy.error == EINVAL)) return {};
  if (copy.kind != Kind::kBroken) return copy;
  std::string ignored;
  os::SetAside(CopyPath(), ignored);
  return {};
}

int SettingsFile::Save(const pugi::xml_document& document) {
  try {
    ForgetTold();
    lastError_ = TrySave(document);
  } catch (const std::bad_alloc&) {
    lastError_ = ENOMEM;
  }
  return lastError_;
}

int SettingsFile::TrySave(const pugi::xml_document& document) {
  const std::string view = xml_document::Serialise(document);
  if (options_.openAs != OpenAs::kOwn) return Write(view, view).error;
  if (IsSavedAlready(view)) return 0;
  os::FileLock lock;
  int error = lock.Acquire(LockPath(), options_.lockWaitMs);
  if (error == ENOENT) {
    error = os::MakeDirectories(DirectoryOf(path_));
    if (error == 0) error = lock.Acquire(LockPath(), options_.lockWaitMs);
  }
  return error != 0 ? error : SaveOwn(document, view, lock);
}

// Without the lock: nothing is changed, and files are replaced as one.
bool SettingsFile::IsSavedAlready(const std::string& view) const {
  if (mustWrite_ || view != savedView_) return false;
  std::string bytes;
  return os::ReadWholeFile(path_, xml_document::kMaxBytes, bytes) == 0 && bytes == savedFile_;
}

int SettingsFile::SaveOwn(const pugi::xml_document& document, const std::string& view,
                          os::FileLock& lock) {
  StoredDocument theirs;
  bool isTheFile = true;
  if (const int error = ReadTheirs(theirs, isTheFile)) return error;
  const std::string mark = lock.Mark();
  const bool goesOn = !mark.empty() && mark == begun_;
  const std::string merged = Merged(document, view, theirs, goesOn);
  if (isTheFile && merged == theirs.bytes && !mustWrite_) {
    NoteSaved(merged, view);
    begun_ = lock.Mark();
    return 0;
  }
  // Without another mark consoles would take for removed what the file has lost. A lock file that
  // is new has none of before.
  const bool isAnew = !isTheFile || theirs.kind != Kind::kSound || lock.Mark().empty();
  if (isAnew) {
    if (const int error = lock.NoteBegun()) return error;
  }
  // Without a copy the file is as safe as with one, only less can be got back if it breaks.
  // The same content once more is none.
  os::GoodCopy copy;
  if (isTheFile && theirs.kind == Kind::kSound && merged != theirs.bytes) {
    copy.Prepare(path_, CopyPath());
  }
  const Written written = Write(merged, view);
  if (written.error == 0) copy.Keep();
  if (written.isThere) {
    copy_ = CopyStamp();
    begun_ = lock.Mark();
  }
  return written.error;
}

int SettingsFile::ReadTheirs(StoredDocument& theirs, bool& isTheFile) {
  theirs = StoredDocument::Read(path_, rootTag_);
  if (theirs.kind == Kind::kBroken) {
    std::string aside;
    if (const int error = os::SetAside(path_, aside)) return error;
    TellForSure("was found broken (" + theirs.problem + ") and was set aside as " + aside +
                ". It was written anew.");
    isTheFile = false;
    theirs = NewestKnown();
  } else if (theirs.kind == Kind::kMissing && hadFile_) {
    isTheFile = false;
    theirs = NewestKnown();
  }
  return theirs.kind == Kind::kUnreadable ? theirs.error : 0;
}

StoredDocument SettingsFile::NewestKnown() {
  StoredDocument copy = ReadCopy();
  const bool isOlder = copy.kind == Kind::kMissing || CopyStamp() == copy_;
  if (!isOlder || copy.kind == Kind::kUnreadable) return copy;
  return StoredDocument::OfText(savedFile_, rootTag_);
}

std::string SettingsFile::Merged(const pugi::xml_document& ours, const std::string& view,
                                 StoredDocument& theirs, bool goesOn) {
  if (theirs.kind == Kind::kMissing) return view;
  if (view == savedView_ && goesOn) return theirs.bytes;
  if (fileIsView_ && theirs.bytes == savedFile_) return view;
  if (goesOn) {
    MergeGoingOn(ours, theirs);
  } else {
    MergeAnew(ours, theirs);
  }
  return xml_document::Serialise(theirs.document);
}

void SettingsFile::MergeGoingOn(const pugi::xml_document& ours, StoredDocument& theirs) {
  const pugi::xml_document base = ParsedOwn(savedView_);
  xml_merge::Merge(base.document_element(), ours.document_element(),
                   theirs.document.document_element(), options_);
}

// Ours is then all that this process knows: what the file had when it last saw it, and what it
// changed since.
void SettingsFile::MergeAnew(const pugi::xml_document& ours, StoredDocument& theirs) {
  StoredDocument known = StoredDocument::Of(ParsedOwn(savedFile_));
  MergeGoingOn(ours, known);
  const pugi::xml_document base = ParsedOwn(savedFile_);
  const pugi::xml_document loaded = ParsedOwn(loadedView_);
  const StoredDocument starting = Starting();
  xml_merge::MergeAnew({base.document_element(), known.document.document_element(),
                        theirs.document.document_element(), loaded.document_element(),
                        starting.document.document_element()},
                       options_);
}

// A text that this process read or wrote before.
pugi::xml_document SettingsFile::ParsedOwn(const std::string& text) const {
  pugi::xml_document document;
  const auto parsed = xml_document::Parse(text, rootTag_, document);
  if (parsed.outcome == xml_document::Outcome::kNoMemory) throw std::bad_alloc();
  return document;
}

SettingsFile::Written SettingsFile::Write(const std::string& content, const std::string& view) {
  if (content.size() > xml_document::kMaxBytes) return {EFBIG, false};
  // What the next start would set aside is not written (a thousand attributes and one, say).
  if (well_formed::FindFault(content)) return {EILSEQ, false};
  const int error = os::WriteFileSafely(path_, content, Rights());
  mustWrite_ = error != 0;
  // It may have come about nevertheless (the sync of the directory failed); then it must not be
  // brought in once more when others have saved on top of it.
  std::string now;
  const bool isThere =
      error == 0 ||
      (os::ReadRegularFile(path_, xml_document::kMaxBytes, now) == 0 && now == content);
  if (isThere) {
    hadFile_ = true;
    NoteSaved(content, view);
  }
  return {error, isThere};
}

void SettingsFile::NoteSaved(std::string file, std::string view) {
  fileIsView_ = file == view || (fileIsView_ && file == savedFile_ && view == savedView_);
  savedFile_ = std::move(file);
  savedView_ = std::move(view);
  copy_ = CopyStamp();
}

// Without the time, which other names of the file change too. No copy gives zeros.
os::FileStamp SettingsFile::CopyStamp() const {
  os::FileStamp stamp;
  if (os::StampOf(CopyPath(), stamp) != 0) return {};
  stamp.changedNs = 0;
  return stamp;
}
