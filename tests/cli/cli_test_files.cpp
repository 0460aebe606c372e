// Test files: the smallest content that counts as audio.
#include "cli_test_files.h"

#include <fileref.h>
#include <sys/mman.h>
#include <tpropertymap.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace trova_cli_test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kRate = 8000;

std::string LittleEndian(std::uint32_t number, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) {
    text += static_cast<char>(i < 4 ? number >> (8 * i) & 0xff : 0);
  }
  return text;
}

// 8-bit mono: a byte per sample.
std::string Wav() {
  const std::string format = LittleEndian(1, 2) + LittleEndian(1, 2) + LittleEndian(kRate, 4) +
                             LittleEndian(kRate, 4) + LittleEndian(1, 2) + LittleEndian(8, 2);
  const std::string samples(kRate, '\x80');
  const std::string body =
      "WAVEfmt " + LittleEndian(16, 4) + format + "data" + LittleEndian(kRate, 4) + samples;
  return "RIFF" + LittleEndian(static_cast<std::uint32_t>(body.size()), 4) + body;
}

// A last metadata block that says 8000 Hz, mono, 16 bits, 8000 samples; no frames.
std::string Flac() {
  const std::string info = std::string("\x10\x00\x10\x00\x00\x00\x00\x00\x00\x00", 10) +
                           std::string("\x01\xf4\x00\xf0\x00\x00\x1f\x40", 8) +
                           std::string(16, '\0');
  return "fLaC" + std::string("\x80\x00\x00\x22", 4) + info;
}

// Silent frames of 128 kbit/s at 44100 Hz.
std::string Mp3() {
  const std::string frame = std::string("\xff\xfb\x90\x00", 4) + std::string(413, '\0');
  std::string frames;
  for (int i = 0; i < 38; ++i) frames += frame;
  return frames;
}

std::string BigEndian(std::uint32_t number) {
  std::string text = LittleEndian(number, 4);
  return {text.rbegin(), text.rend()};
}

std::string Atom(const std::string& name, const std::string& content) {
  return BigEndian(static_cast<std::uint32_t>(content.size() + 8)) + name + content;
}

// A movie without a track.
std::string M4a() {
  return Atom("ftyp", "M4A " + BigEndian(0)) +
         Atom("moov", Atom("mvhd", std::string(12, '\0') + BigEndian(1000) + BigEndian(1000) +
                                       std::string(80, '\0')));
}

// One packet that ends on its page. Nobody checks the sum.
std::string OggPage(int flags, std::uint32_t number, const std::string& packet) {
  return std::string("OggS\0", 5) + static_cast<char>(flags) + LittleEndian(8000, 8) +
         LittleEndian(1, 4) + LittleEndian(number, 4) + LittleEndian(0, 4) + '\1' +
         static_cast<char>(packet.size()) + packet;
}

// The three headers of a stream of a second, and a packet of nothing.
std::string Ogg() {
  const std::string head = "\1vorbis" + LittleEndian(0, 4) + '\1' + LittleEndian(kRate, 4) +
                           LittleEndian(0, 12) + "\x88\1";
  return OggPage(2, 0, head) +
         OggPage(0, 1, "\3vorbis" + LittleEndian(0, 4) + LittleEndian(0, 4) + '\1') +
         OggPage(0, 2, "\5vorbis") + OggPage(4, 3, "?");
}

std::string Silence(const std::string& ending) {
  if (ending == ".wav") return Wav();
  if (ending == ".flac") return Flac();
  if (ending == ".m4a") return M4a();
  if (ending == ".ogg") return Ogg();
  return Mp3();
}

}  // namespace

TestFolder::TestFolder() {
  std::string name = (fs::temp_directory_path() / "trova_cli_XXXXXX").native();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
  root_ = name;
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::string TestFolder::Write(const std::string& name, const std::string& content) const {
  const fs::path path = root_ / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path.native();
}

std::string WriteAudio(const TestFolder& folder, const std::string& name, const Tags& tags) {
  const std::string path = folder.Write(name, Silence(fs::path(name).extension().native()));
  TagLib::PropertyMap properties;
  for (const auto& [key, value] : tags) {
    properties[key].append(TagLib::String(value, TagLib::String::UTF8));
  }
  TagLib::FileRef file(path.c_str());
  file.file()->setProperties(properties);
  if (!tags.empty() && !file.save()) throw std::runtime_error("cannot tag " + path);
  return path;
}

std::string ReadBack(int fd) {
  std::string text(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)), '\0');
  if (pread(fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("cannot read back");
  }
  return text;
}

int OpenScratch() {
  return memfd_create("trova_cli", MFD_CLOEXEC);
}

}  // namespace trova_cli_test
