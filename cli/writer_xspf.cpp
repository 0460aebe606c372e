// XSPF: XML, in which some characters need an escape and some cannot be.
#include <fmt/format.h>

#include "text.h"
#include "writers.h"

namespace trova_cli {
namespace {

constexpr std::uint32_t kMillisecondsPerSecond = 1000;

bool IsXmlCharacter(char32_t code) {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  return code != 0xfffe && code != 0xffff && code != kMalformed;
}

// A reader makes line breaks and tabs one blank unless they are escaped.
std::string Escaped(std::string_view text) {
  std::string xml;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const char32_t code = NextCodePoint(text, at);
    if (!IsXmlCharacter(code)) {
      xml += kReplacement;
    } else if (code < 0x20 || code == '<' || code == '>' || code == '&' || code == 0x7f) {
      xml += fmt::format("&#{};", static_cast<std::uint32_t>(code));
    } else {
      xml += text.substr(start, at - start);
    }
  }
  return xml;
}

void WriteElement(Output& output, std::string_view name, std::string_view text) {
  if (text.empty()) return;
  output.Write(fmt::format("      <{0}>{1}</{0}>\n", name, Escaped(text)));
}

}  // namespace

void WriteXspf(Playlist& playlist, Output& output) {
  output.Write(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\">\n"
      "  <trackList>\n");
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    const TrackView track = playlist.At(i);
    output.Write("    <track>\n");
    WriteElement(output, "location", playlist.UriOf(track));
    WriteElement(output, "title", track.title);
    WriteElement(output, "creator", track.artist);
    if (!track.albums.empty()) WriteElement(output, "album", track.albums.front());
    if (track.seconds != 0) {
      WriteElement(output, "duration", fmt::to_string(track.seconds * kMillisecondsPerSecond));
    }
    output.Write("    </track>\n");
  }
  output.Write("  </trackList>\n</playlist>\n");
}

}  // namespace trova_cli
