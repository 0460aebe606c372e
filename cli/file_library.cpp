// FileLibrary: the collection knows a track by its index.
#include "file_library.h"

#include "collection_builder.h"
#include "library_ident.h"
#include "name_mapper.h"

namespace trova_cli {

FileLibrary::FileLibrary(const std::string& path, Console& console)
    : console_(console), log_(console), reader_(OpenLibrary(path, log_)) {}

void FileLibrary::Read(NameLists& lists) {
  collection_ = MakeCollection();
  NameMapper mapper(lists);
  CollectionBuilder builder(collection_.get(), mapper, tracks_);
  reader_->Read([&](Track& track) { builder.Add(track); });
  log_.Finish();
  mapper.ReportUnknown(console_);
  ReportLeftOut(builder.left_out(), console_);
}

std::uint32_t FileLibrary::IndexOf(const char* ident) {
  return IndexOfIdent(ident);
}

std::optional<std::string> FileLibrary::IdentOf(const std::string& name) {
  const std::optional<std::uint32_t> index = tracks_.Find(name);
  if (!index) return std::nullopt;
  return IdentOfIndex(*index).data();
}

void FileLibrary::ForEach(const Visitor& visit) {
  for (std::uint32_t i = 0; i < tracks_.size(); ++i) {
    visit(IdentOfIndex(i).data(), tracks_.Get(i));
  }
}

}  // namespace trova_cli
