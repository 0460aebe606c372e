// JsonLinesReader: lines, and the members of their objects.
#include "json_lines_reader.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "text.h"

namespace trova_cli {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxKeysNoted = 100;
// An object, its members, the items of an array. What lies deeper is dropped while it is parsed.
constexpr int kMaxDepth = 3;

bool IsShallow(int depth, json::parse_event_t, const json&) {
  return depth <= kMaxDepth;
}

void SetFromJson(Track& track, Field field, const json& value) {
  if (value.is_string()) {
    SetField(track, field, value.get_ref<const std::string&>());
  } else if (value.is_number()) {
    SetField(track, field, value.dump());
  } else if (value.is_array()) {
    for (const json& item : value) {
      if (!item.is_structured()) SetFromJson(track, field, item);
    }
  }
}

}  // namespace

JsonLinesReader::JsonLinesReader(const std::string& path, ReadLog& log)
    : source_(path), log_(log) {}

void JsonLinesReader::Read(const TrackSink& sink) {
  bool too_long = false;
  for (std::size_t number = 1; NextLine(too_long); ++number) {
    if (Trim(line_).empty()) continue;
    Track track;
    const std::string fault = too_long ? "a line that is too long" : ReadTrack(track);
    if (!fault.empty()) {
      log_.SkipLine(source_.path(), number, fault);
      continue;
    }
    log_.Advance();
    sink(track);
  }
}

bool JsonLinesReader::NextLine(bool& too_long) {
  line_.clear();
  too_long = false;
  int byte = source_.Get();
  if (byte == ByteSource::kEnd) return false;
  for (; byte != '\n' && byte != ByteSource::kEnd; byte = source_.Get()) {
    if (line_.size() < kMaxRecordSize) {
      line_ += static_cast<char>(byte);
    } else {
      too_long = true;
    }
  }
  return true;
}

std::string JsonLinesReader::ReadTrack(Track& track) {
  const json object = json::parse(line_, IsShallow, false);
  if (object.is_discarded()) return "not JSON";
  if (!object.is_object()) return "not a JSON object";
  for (const auto& [key, value] : object.items()) {
    const std::optional<Field> field = FieldOfName(key);
    if (field) {
      SetFromJson(track, *field, value);
    } else {
      NoteUnused(key);
    }
  }
  return CompleteIdent(track) ? "" : "no ident, path or title";
}

void JsonLinesReader::NoteUnused(const std::string& key) {
  if (unused_keys_.size() >= kMaxKeysNoted || !unused_keys_.insert(key).second) return;
  log_.Note(fmt::format("{}: the member \"{}\" is not used", source_.path(), key));
}

}  // namespace trova_cli
