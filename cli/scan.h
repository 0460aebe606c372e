// Scan: brings a stored collection into step with a folder of audio files.
#ifndef TROVA_CLI_SCAN_H
#define TROVA_CLI_SCAN_H

#include <trova_playlist.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <unordered_set>
#include <vector>

#include "catalogue.h"
#include "console.h"
#include "handles.h"
#include "known_tracks.h"
#include "name_lists.h"
#include "name_mapper.h"
#include "read_log.h"

namespace trova_cli {

struct ScanOptions {
  std::string folder;      // as it really lies
  std::string collection;  // its name
  bool dry_run = false;
  bool yes = false;  // a folder that became empty takes its tracks along
  // How long captured tracks may wait for being stored. Storing costs as much for one new track as
  // for many, so the time also grows with what the last one took.
  std::chrono::milliseconds patience{10'000};
};

struct ScanCounts {
  std::size_t added = 0;
  std::size_t changed = 0;
  std::size_t removed = 0;
  std::size_t opened = 0;
  std::size_t unchanged = 0;
};

class Scan {
 public:
  // @param number  of the collection in the catalogue; the caller has its lock
  // The references outlive the scan.
  Scan(const ScanOptions& options, Catalogue& catalogue, std::int64_t number, NameLists& lists,
       Console& console);

  // Throws CommandError when it fails or is interrupted. What was captured until then is stored.
  ScanCounts Run();

  // Tracks that the collection holds now.
  std::size_t tracks() const noexcept { return tracks_; }

 private:
  void Load();
  void Walk();
  void FindFile(const std::string& path, const FileStamp& stamp);
  void ConfirmEmptyFolder();
  void CountOnly();

  bool IsInFolder(const char* path) const;
  bool IsHidden(const std::string& path) const;
  // Whether the scan would have found the file if it were still there.
  bool IsGone(std::uint32_t index);
  void LookForForeign();
  // Whether the track is to stay in the collection, or to come into it.
  bool IsPresent(std::uint32_t index);
  void Synchronise();
  static void OnDifference(void* self, trova_playlist_collection* collection, const char* ident,
                           std::uint32_t status, std::uint8_t* stop);
  void Differ(const char* ident, std::uint32_t status);
  void Remove(std::uint32_t index);
  void Queue(std::uint32_t index);

  void CaptureAll();
  void Capture(std::uint32_t index);
  CatalogueRow Read(std::uint32_t index);
  TrackState ReadInto(CatalogueRow& row, const std::string& path);
  std::string NameOf(std::uint32_t index);
  bool CanTake(std::uint32_t index, const CatalogueRow& row);
  bool GivesValues(const CatalogueRow& row);
  TrackState Add(std::uint32_t index, const CatalogueRow& row);
  void TakeOut(std::uint32_t index);
  void Drop(std::uint32_t index);
  void PutLater(std::uint32_t index, CatalogueRow row);

  bool IsCheckpointDue() const;
  void Checkpoint();
  void DropRows();
  void Refill();
  void PutRows();
  void Finish();
  void ForgetGone();

  using Clock = std::chrono::steady_clock;

  const ScanOptions options_;
  Catalogue& catalogue_;
  const std::int64_t number_;
  Console& console_;
  ReadLog log_;
  NameMapper mapper_;

  Collection collection_;
  Collection trial_;          // shows what a track gives; made when it is needed
  bool has_changed_ = false;  // since it was stored
  bool has_gaps_ = false;     // where idents were removed; see Refill()
  bool has_foreign_ = false;  // tracks that no catalogue knows
  KnownTracks known_;
  std::unordered_set<std::string> hidden_;  // what could not be looked at
  std::vector<std::uint32_t> queue_;        // to capture, in the order of their paths
  std::vector<std::string> to_drop_;        // idents of rows that the next store makes untrue
  std::vector<CatalogueRow> to_put_;        // rows that the next store makes true
  std::exception_ptr failure_;              // of a call that the library made
  ScanCounts counts_;
  std::size_t tracks_ = 0;
  Clock::time_point next_checkpoint_;
};

}  // namespace trova_cli

#endif
