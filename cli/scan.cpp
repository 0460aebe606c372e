// Scan: look at every file, ask the library what differs, read that.
#include "scan.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <string_view>

#include "confirmation.h"
#include "error.h"
#include "folder_walk.h"
#include "interrupt.h"
#include "stored_collections.h"
#include "tag_file.h"
#include "track_description.h"
#include "track_ident.h"

namespace trova_cli {
namespace {

// Storing takes at most one part of so many of a scan's time.
constexpr int kShareOfStoring = 20;
constexpr std::size_t kMostWaiting = 50'000;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

FileStamp StampOf(const struct stat& status) {
  return {status.st_size, static_cast<std::int64_t>(status.st_mtim.tv_sec) * kNanosecondsPerSecond +
                              status.st_mtim.tv_nsec};
}

bool CanOpen(const char* path) {
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  close(fd);
  return true;
}

void ThrowIfInterrupted() {
  if (Interrupted()) throw CommandError("interrupted; nothing was changed");
}

}  // namespace

Scan::Scan(const ScanOptions& options, Catalogue& catalogue, std::int64_t number, NameLists& lists,
           Console& console)
    : options_(options),
      catalogue_(catalogue),
      number_(number),
      console_(console),
      log_(console),
      mapper_(lists) {}

ScanCounts Scan::Run() {
  Load();
  Walk();
  LookForForeign();
  ConfirmEmptyFolder();
  if (options_.dry_run) {
    CountOnly();
    return counts_;
  }
  Synchronise();
  CaptureAll();
  Finish();
  return counts_;
}

void Scan::Load() {
  collection_ = LoadCollection(options_.collection);
  if (collection_) {
    known_.Load(catalogue_, number_);
  } else {
    collection_ = MakeCollection(options_.collection);
    // Rows without their collection claim what is not there.
    if (!options_.dry_run) catalogue_.RemoveRows(number_);
  }
  known_.Compare(collection_.get());
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    const KnownTrack& track = known_[i];
    const bool ought_to_be_held = track.in_catalogue && track.state == TrackState::kHeld;
    has_gaps_ |= ought_to_be_held && !track.in_collection;
  }
}

// ---------------------------------------------------------------------------- The files

void Scan::Walk() {
  std::size_t found = 0;
  FolderWalk(options_.folder)
      .Run(
          [&](const std::string& path, const struct stat& status) {
            ThrowIfInterrupted();
            console_.Progress(++found, "files found");
            FindFile(path, StampOf(status));
          },
          [&](const std::string& path, const std::string& why, bool hides) {
            ThrowIfInterrupted();
            log_.SkipFile(path, why);
            if (hides) hidden_.insert(path);
          });
  console_.EndProgress();
}

void Scan::FindFile(const std::string& path, const FileStamp& stamp) {
  const std::optional<std::uint32_t> known = known_.FindPath(path);
  const std::uint32_t index = known ? *known : known_.AddFile(path);
  KnownTrack& track = known_[index];
  const bool ought_to_be_held = track.state == TrackState::kHeld;
  const bool as_before =
      track.in_catalogue && track.stamp == stamp && track.in_collection == ought_to_be_held;
  track.found = true;
  track.stamp = stamp;
  if (as_before) {
    ++counts_.unchanged;
  } else if (known) {
    Queue(index);  // the library cannot see that a file changed
  }
}

// An empty folder is more often a disk that is not there than music that was thrown away.
void Scan::ConfirmEmptyFolder() {
  std::size_t lost = 0;
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    if (known_[i].found) return;
    lost += known_[i].in_collection && !IsPresent(i);
  }
  if (lost == 0 || options_.dry_run) return;
  Confirm(fmt::format("{} has no audio file any more; remove its {} track{} from \"{}\"?",
                      options_.folder, lost, lost == 1 ? "" : "s", options_.collection),
          options_.yes);
}

void Scan::CountOnly() {
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    const KnownTrack& track = known_[i];
    if (track.in_collection) ++tracks_;
    if (track.found && !track.in_catalogue && !track.in_collection) ++counts_.added;
    if (track.queued) ++counts_.changed;
    if (track.in_collection && !IsPresent(i)) ++counts_.removed;
  }
  log_.Finish();
}

// ------------------------------------------------------------------------ What differs

bool Scan::IsInFolder(const char* path) const {
  const std::string& folder = options_.folder;
  if (std::strncmp(path, folder.c_str(), folder.size()) != 0) return false;
  return folder.ends_with('/') || path[folder.size()] == '/';
}

bool Scan::IsHidden(const std::string& path) const {
  if (hidden_.empty()) return false;
  for (std::size_t end = path.size(); end != std::string::npos && end > 0;
       end = path.rfind('/', end - 1)) {
    if (hidden_.contains(path.substr(0, end))) return true;
  }
  return false;
}

bool Scan::IsPresent(std::uint32_t index) {
  const KnownTrack& track = known_[index];
  if (track.found) return track.in_collection || track.queued || !track.in_catalogue;
  return track.in_collection && (has_foreign_ || !IsGone(index));
}

bool Scan::IsGone(std::uint32_t index) {
  const char* path = known_.Path(index);
  if (known_[index].found || !IsInFolder(path) || IsHidden(path)) return false;
  return !known_[known_.FindPath(path).value()].found;  // several tracks may be of one file
}

// Tracks that came from elsewhere are known to the collection alone. It cannot be made anew without
// losing something of them, and so it cannot give up others either.
void Scan::LookForForeign() {
  std::size_t gone = 0;
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    const KnownTrack& track = known_[i];
    const bool is_gone = IsGone(i);
    has_foreign_ |= track.in_collection && !track.in_catalogue && !track.found && !is_gone;
    gone += track.in_collection && is_gone;
  }
  if (!has_foreign_ || gone == 0) return;
  console_.Warn(
      fmt::format("{} track{} stay{} in \"{}\" without a file, because it also has tracks of "
                  "an imported collection",
                  gone, gone == 1 ? "" : "s", gone == 1 ? "s" : "", options_.collection));
}

void Scan::Synchronise() {
  bool any = false;
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    if (!IsPresent(i)) continue;
    known_.ClaimIdent(i, collection_.get());
    Check(trova_playlist_collection_sync_ident_add(collection_.get(), known_.Ident(i)),
          "report a file");
    any = true;
  }
  if (any) {
    Check(trova_playlist_collection_sync_process(collection_.get(), OnDifference, this),
          "compare the files with the collection");
    if (failure_) std::rethrow_exception(failure_);
  } else {
    // Without a report there is nothing to compare with: everything goes.
    for (std::uint32_t i = 0; i < known_.size(); ++i) {
      if (known_[i].in_collection) Remove(i);
    }
  }
  ForgetGone();
  // Of two new idents with one hash the library asks for one.
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    if (known_[i].found && !known_[i].in_catalogue) Queue(i);
  }
  // What is read together lies together.
  std::sort(queue_.begin(), queue_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return std::strcmp(known_.Path(a), known_.Path(b)) < 0;
  });
}

void Scan::OnDifference(void* self, trova_playlist_collection*, const char* ident,
                        std::uint32_t status, std::uint8_t* stop) {
  // The library's frames lie between here and whoever would catch.
  try {
    static_cast<Scan*>(self)->Differ(ident, status);
  } catch (...) {
    static_cast<Scan*>(self)->failure_ = std::current_exception();
    *stop = 1;
  }
}

void Scan::Differ(const char* ident, std::uint32_t status) {
  const std::optional<std::uint32_t> known = known_.FindIdent(ident);
  if (!known) return;  // "" for one that was removed before
  if (status == TROVA_PLAYLIST_SYNC_ADD) Queue(*known);
  if (status == TROVA_PLAYLIST_SYNC_REMOVE) Remove(*known);
}

void Scan::Remove(std::uint32_t index) {
  TakeOut(index);
  has_gaps_ = true;
  ++counts_.removed;
}

void Scan::TakeOut(std::uint32_t index) {
  KnownTrack& track = known_[index];
  Check(trova_playlist_collection_ident_remove(collection_.get(), known_.Ident(index)),
        "remove a track");
  track.in_collection = false;
  track.taken_out = true;
  has_changed_ = true;
  Drop(index);
}

void Scan::Drop(std::uint32_t index) {
  if (known_[index].in_catalogue) to_drop_.emplace_back(known_.RowIdent(index));
  known_[index].in_catalogue = false;
}

void Scan::Queue(std::uint32_t index) {
  if (known_[index].queued) return;
  known_[index].queued = true;
  queue_.push_back(index);
}

// -------------------------------------------------------------------- What differs, read

void Scan::CaptureAll() {
  next_checkpoint_ = Clock::now() + options_.patience;
  for (const std::uint32_t index : queue_) {
    console_.Progress(counts_.opened, queue_.size());
    if (Interrupted()) {
      Checkpoint();
      throw CommandError(
          fmt::format("interrupted; {} of {} files are read and kept, the same command goes on",
                      counts_.opened, queue_.size()));
    }
    Capture(index);
    if (IsCheckpointDue()) Checkpoint();
  }
  console_.EndProgress();
}

void Scan::Capture(std::uint32_t index) {
  const bool was_held = known_[index].in_collection;
  CatalogueRow row = Read(index);
  ++counts_.opened;
  if (!CanTake(index, row)) {
    known_[index].queued = false;
    return;
  }
  if (was_held) TakeOut(index);
  Drop(index);
  if (row.state == TrackState::kHeld) row.state = Add(index, row);
  const bool is_held = row.state == TrackState::kHeld;
  if (is_held) ++(was_held ? counts_.changed : counts_.added);
  if (was_held && !is_held) {
    has_gaps_ = true;
    ++counts_.removed;
  }
  PutLater(index, std::move(row));
}

CatalogueRow Scan::Read(std::uint32_t index) {
  CatalogueRow row;
  row.track.ident = NameOf(index);
  row.stamp = known_[index].stamp;
  row.state = ReadInto(row, known_.Path(index));
  if (row.state == TrackState::kHeld && known_[index].in_collection && !GivesValues(row)) {
    row.state = TrackState::kEmpty;
  }
  return row;
}

// What is wrong with the disk says nothing of the file: it stays as it was, to be read next time.
// So does a track that would have to leave a collection that cannot be made anew.
bool Scan::CanTake(std::uint32_t index, const CatalogueRow& row) {
  if (row.state == TrackState::kHeld) return true;
  if (has_foreign_ && known_[index].in_collection) return false;
  return row.state != TrackState::kBroken || CanOpen(known_.Path(index));
}

// Whether an attribute reads anything. A collection that holds the ident cannot tell.
bool Scan::GivesValues(const CatalogueRow& row) {
  if (!trial_) trial_ = MakeCollection();
  CaptureTrack(trial_.get(), row.track.path.c_str(), ViewOf(row.track, row.ids));
  return IdentExists(trial_.get(), row.track.path.c_str());
}

void Scan::PutLater(std::uint32_t index, CatalogueRow row) {
  KnownTrack& track = known_[index];
  row.ident = known_.Ident(index);
  track.row_ident = track.ident;
  track.state = row.state;
  track.in_catalogue = true;
  track.in_collection = row.state == TrackState::kHeld;
  to_put_.push_back(std::move(row));
}

// What the user calls the track.
std::string Scan::NameOf(std::uint32_t index) {
  if (known_[index].in_catalogue && known_[index].row_ident != known_[index].path) {
    if (const auto row = catalogue_.Get(number_, known_.RowIdent(index))) return row->track.ident;
  }
  return known_.Path(index);
}

TrackState Scan::ReadInto(CatalogueRow& row, const std::string& path) {
  std::string why = kNoAudio;
  try {
    if (ReadTags(path, row.track)) {
      row.ids = mapper_.Map(row.track);
      return TrackState::kHeld;
    }
  } catch (const std::exception& failure) {
    why = failure.what();
  }
  row.track.path = path;
  log_.SkipFile(path, why);
  return TrackState::kBroken;
}

TrackState Scan::Add(std::uint32_t index, const CatalogueRow& row) {
  known_.ClaimIdent(index, collection_.get());
  const char* ident = known_.Ident(index);
  CaptureTrack(collection_.get(), ident, ViewOf(row.track, row.ids));
  if (!IdentExists(collection_.get(), ident)) return TrackState::kEmpty;
  has_changed_ = true;
  return TrackState::kHeld;
}

// ------------------------------------------------------------------------------- Storing

bool Scan::IsCheckpointDue() const {
  return Clock::now() >= next_checkpoint_ || to_put_.size() >= kMostWaiting;
}

// See Catalogue for the order.
void Scan::Checkpoint() {
  const Clock::time_point start = Clock::now();
  DropRows();
  if (has_gaps_ && !has_foreign_) Refill();
  if (has_changed_) {
    StoreCollection(collection_);
    has_changed_ = false;
  }
  PutRows();
  const Clock::time_point end = Clock::now();
  next_checkpoint_ =
      end + std::max<Clock::duration>(options_.patience, kShareOfStoring * (end - start));
}

void Scan::DropRows() {
  if (to_drop_.empty()) return;
  Transaction transaction(catalogue_.database());
  for (const std::string& ident : to_drop_) catalogue_.RemoveRow(number_, ident);
  transaction.Commit();
  to_drop_.clear();
}

// A removed ident leaves a gap in the collection, and a collection that was stored with gaps comes
// back without the idents behind them. But the catalogue knows all that was captured, so a new
// collection is filled from it, and no file is opened. Tracks that are still to be read are read
// for it, too, and are left out until then.
void Scan::Refill() {
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    KnownTrack& track = known_[i];
    track.taken_out = false;
    track.in_collection = track.in_collection && track.in_catalogue;
  }
  collection_ = MakeCollection(options_.collection);
  const auto add = [&](const CatalogueRow& row) {
    CaptureTrack(collection_.get(), row.ident.c_str(), ViewOf(row.track, row.ids));
    known_[known_.FindIdent(row.ident).value()].in_collection = true;
  };
  catalogue_.ForEach(number_, TrackState::kHeld, add);
  for (const CatalogueRow& row : to_put_) {
    if (row.state == TrackState::kHeld) add(row);
  }
  has_gaps_ = false;
  has_changed_ = true;
}

void Scan::PutRows() {
  if (to_put_.empty()) return;
  Transaction transaction(catalogue_.database());
  for (const CatalogueRow& row : to_put_) catalogue_.Put(number_, row);
  transaction.Commit();
  to_put_.clear();
}

void Scan::Finish() {
  Checkpoint();
  log_.Finish();
  mapper_.ReportUnknown(console_);
  std::size_t empty = 0;
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    tracks_ += known_[i].in_collection;
    empty += known_[i].queued && known_[i].state == TrackState::kEmpty;
  }
  ReportLeftOut(empty, console_);
}

// Rows of files that went without being in the collection.
void Scan::ForgetGone() {
  for (std::uint32_t i = 0; i < known_.size(); ++i) {
    if (known_[i].in_catalogue && !known_[i].in_collection && IsGone(i)) Drop(i);
  }
}

}  // namespace trova_cli
