// Store: the file is looked for before anything could make it.
#include "store.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "error.h"
#include "stored_collections.h"

namespace trova_cli {
namespace {

namespace fs = std::filesystem;

void MakeFolder(const fs::path& folder) {
  std::error_code error;
  if (!folder.empty()) fs::create_directories(folder, error);
  if (error) throw CommandError(fmt::format("{}: {}", folder.native(), error.message()));
}

Access AccessFor(StoreUse use) {
  const bool writes = use == StoreUse::kWrite || use == StoreUse::kChange;
  return writes ? Access::kWrite : Access::kRead;
}

// The file to open.
std::string Prepare(const std::string& path, StoreUse use) {
  if (path == kInMemory) return Prepare("./" + path, use);
  if (use == StoreUse::kWrite) {
    MakeFolder(fs::path(path).parent_path());
    return path;
  }
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status)) return path;
  if (error && error != std::errc::no_such_file_or_directory) {
    throw CommandError(fmt::format("{}: {}", path, error.message()));
  }
  if (use == StoreUse::kDryRun) return kInMemory;
  throw CommandError(
      fmt::format("no collection is stored yet ({}); make one with: trova scan FOLDER", path));
}

}  // namespace

Store::Store(const std::string& path, StoreUse use, Console& console)
    : path_(path),
      console_(console),
      file_(Prepare(path, use)),
      engine_(file_.c_str()),
      catalogue_(file_, AccessFor(use), console) {}

Store::Locked Store::Lock(const std::string& name) {
  for (;;) {
    const std::int64_t number = catalogue_.Make(name);
    auto lock = std::make_unique<CollectionLock>(path_, number, console_);
    // It may have been renamed or removed while this process waited.
    if (catalogue_.Find(name) == number) return {number, std::move(lock)};
  }
}

void Store::Replace(const std::string& name, const Collection& collection,
                    const std::function<void(std::int64_t number)>& put_rows) {
  const std::int64_t draft = catalogue_.MakeDraft(name);
  // It will be the one of that name, and others must wait until all is done.
  const CollectionLock lock(path_, draft, console_);
  try {
    put_rows(draft);
    StoreCollection(collection);
  } catch (const CommandError&) {
    DropQuietly(name);
    throw;
  }
  catalogue_.PublishDraft(name);
  DropQuietly(name);
}

// What cannot be dropped now is dropped by whoever replaces the collection next.
void Store::DropQuietly(const std::string& name) {
  try {
    catalogue_.RemoveDraft(name);
  } catch (const CommandError& failure) {
    console_.Note(failure.what());
  }
}

}  // namespace trova_cli
