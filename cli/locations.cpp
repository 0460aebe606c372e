// Locations: relative paths and percent-encoding.
#include "locations.h"

#include <fmt/format.h>

#include <system_error>

#include "error.h"

namespace trova_cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSchemeEnd = "://";

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool IsUri(std::string_view path) {
  const std::size_t end = path.find(kSchemeEnd);
  if (end == std::string_view::npos || end == 0) return false;
  return path.substr(0, end).find_first_not_of(
             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-.") ==
         std::string_view::npos;
}

// Every byte but letters, digits and the ones in `plain` becomes "%XX".
std::string PercentEncode(std::string_view text, std::string_view plain) {
  std::string encoded;
  for (const char c : text) {
    if (IsLetterOrDigit(c) || plain.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      encoded += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
  }
  return encoded;
}

constexpr std::string_view kPlainInPath = "/-._~!$&'()*+,;=@";
// A URI is encoded already; only what no URI holds is mended.
constexpr std::string_view kPlainInUri = ":/?#[]@!$&'()*+,;=-._~%";

}  // namespace

Locations::Locations(const std::string& folder) {
  std::error_code error;
  base_ = fs::canonical(folder, error);
  if (error) throw CommandError(fmt::format("{}: {}", folder, error.message()));
}

std::string Locations::Path(std::string_view path) {
  if (base_.empty() || IsUri(path)) return std::string(path);
  return Relative(path).native();
}

std::string Locations::Uri(std::string_view path) {
  if (IsUri(path)) return PercentEncode(path, kPlainInUri);
  if (!base_.empty()) return PercentEncode(Relative(path).native(), kPlainInPath);
  std::error_code error;
  const fs::path absolute = fs::absolute(fs::path(path), error).lexically_normal();
  return "file://" + PercentEncode(absolute.native(), kPlainInPath);
}

// Folders are taken as they really lie, so that ".." leads where it says; the file itself may be a
// link and keeps its name.
fs::path Locations::Relative(std::string_view path) {
  const fs::path file(path);
  const auto [place, is_new] = folders_.try_emplace(file.parent_path().native());
  if (is_new) {
    std::error_code error;
    const fs::path parent = fs::absolute(file, error).parent_path();
    const fs::path real = fs::weakly_canonical(parent, error);
    place->second = (error ? parent.lexically_normal() : real).lexically_relative(base_);
  }
  return (place->second / file.filename()).lexically_normal();
}

}  // namespace trova_cli
