// LibraryIdent: what a track is called inside of the playlist library.
#ifndef TROVA_CLI_LIBRARY_IDENT_H
#define TROVA_CLI_LIBRARY_IDENT_H

#include <array>
#include <cstdint>

namespace trova_cli {

// The library knows an ident by a 32-bit hash of its bytes, so of a million file names about a
// hundred would be taken for others. These idents never are: the hash multiplies by 33 from byte to
// byte, and texts of one length whose bytes lie within a range of 32 are the digits of different
// numbers, too few of them to overflow.
inline constexpr std::uint32_t kIdentDigits = 6;
inline constexpr std::uint32_t kIdentBitsPerDigit = 5;
inline constexpr std::uint32_t kMaxTracks = 1u << (kIdentDigits * kIdentBitsPerDigit);

using LibraryIdent = std::array<char, kIdentDigits + 1>;  // zero-terminated

// @param index  of a track, below kMaxTracks
LibraryIdent IdentOfIndex(std::uint32_t index);

// @param ident  one of the above
std::uint32_t IndexOfIdent(const char* ident);

}  // namespace trova_cli

#endif
