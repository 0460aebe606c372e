// vrel_string: UTF-8 text, numbers in text, growing texts and formatted output.
//
// Text is NUL-terminated UTF-8, read as unsigned bytes and never by a locale. A name that says
// "char" counts UTF-8 characters; every other count is in bytes, as in the C library. Only the
// ASCII letters have case. Bytes that are not UTF-8 are kept as they are and count as one
// character each; nothing reads past a terminator to find that out.
//
// Null is accepted wherever a text is only read, as its function says. Texts that are handed out
// come from the manager's allocator and are freed with vrel_string_free. Every failure is logged
// where it is found, those of functions that can only answer null included.
#ifndef VREL_STRING_H
#define VREL_STRING_H

#include <cstdarg>
#include <cstdint>

// What this module raises.
constexpr uint32_t kVrelStringInvalidArg = 0x90050001u;
constexpr uint32_t kVrelStringNoMemory = 0x90050002u;   // or a text longer than kVrelStringMaxBytes
constexpr uint32_t kVrelStringBadFormat = 0x90050009u;  // a directive without a known letter
constexpr uint32_t kVrelStringBadUtf8 = 0x9005000bu;

// The longest text that is ever built here: lengths fit in an int32_t beside the failure codes.
constexpr uint32_t kVrelStringMaxBytes = 0x7ffffffeu;
// The most bytes that one character takes.
constexpr uint32_t kVrelUtf8MaxBytes = 4;
// What stands for a character that cannot be written or read.
constexpr uint32_t kVrelReplacementChar = 0xfffd;

// -- module ---------------------------------------------------------------------------------------

// Starts and stops are counted; the first start starts the allocator, the last stop stops it.
// Start: 0 or the allocator's code. Stop: 0, the allocator's code, or the raw number 7 when nothing
// is started.
[[nodiscard]] uint32_t vrel_string_initialize();
uint32_t vrel_string_shutdown();
// Non-zero while started.
uint32_t vrel_string_initchecks();
const char* vrel_string_get_version();

// -- compare --------------------------------------------------------------------------------------

// The same pointer is equal, null otherwise equals nothing. `fold` non-zero: without ASCII case.
bool vrel_string_equal(const char* a, const char* b, int fold);

// Order by bytes, which is the order of code points: negative, 0 or positive. Null sorts before
// every text. The "i" forms compare ASCII capitals as small letters, the "n" forms at most `bytes`
// bytes of either side.
int32_t vrel_string_strcmp(const char* a, const char* b);
int32_t vrel_string_stricmp(const char* a, const char* b);
int32_t vrel_string_strncmp(const char* a, const char* b, uint32_t bytes);
int32_t vrel_string_strnicmp(const char* a, const char* b, uint32_t bytes);

// The same for two stretches of bytes that need no terminator: a zero is a byte like any other,
// and a stretch sorts before those that continue it.
int32_t vrel_string_strcmp_len(const char* a, uint32_t a_bytes, const char* b, uint32_t b_bytes);
int32_t vrel_string_stricmp_len(const char* a, uint32_t a_bytes, const char* b, uint32_t b_bytes);

// The same for at most `chars` characters of either side.
int32_t _vrel_string_utf8_compare(const char* a, const char* b, uint32_t chars, int fold);

// -- copy and allocate ----------------------------------------------------------------------------

// Copies or appends with the terminator; `to` must have the room.
// Codes: 0, kVrelStringInvalidArg for a null.
uint32_t vrel_string_strcpy(char* to, const char* from);
uint32_t vrel_string_strcat(char* to, const char* from);

// The bounded forms: `size` is the whole buffer at `to`, in bytes and with the terminator. What
// does not fit is cut off at that byte, which is a success; the result is always terminated and at
// most `size` - 1 bytes of `from` are looked at.
// Codes: 0, kVrelStringInvalidArg for a null, a size of 0 or (strncat) a buffer without terminator.
uint32_t vrel_string_strncpy(char* to, const char* from, uint32_t size);
uint32_t vrel_string_strncat(char* to, const char* from, uint32_t size);

// As strncpy, but takes at most `chars` characters and cuts between characters only.
uint32_t _vrel_string_utf8_copy(char* to, uint32_t size, const char* from, uint32_t chars);

// New texts: all of it; at most so many bytes; at most so many characters; the first word, which
// is what %w prints (empty when there is none). Null for a null and when memory is out.
[[nodiscard]] char* vrel_string_strdup(const char* text);
[[nodiscard]] char* vrel_string_strndup(const char* text, uint32_t bytes);
[[nodiscard]] char* vrel_string_strdupn(const char* text, uint32_t chars);
[[nodiscard]] char* vrel_string_worddup(const char* text);

// Frees what this module, or a service on its behalf, handed out; null does nothing.
void vrel_string_free(const void* text);

// -- measure and test -----------------------------------------------------------------------------

// The length without the terminator, in bytes and in characters; charnlen looks at `chars`
// characters at most and answers no more than that. Null has length 0.
uint32_t vrel_string_byteclen(const char* text);
uint32_t vrel_string_charlen(const char* text);
uint32_t vrel_string_charnlen(const char* text, uint32_t chars);

// Null or "".
bool vrel_string_isempty(const char* text);
// Whether all of it is UTF-8: no stray or missing bytes, no overlong forms, no surrogates, nothing
// above U+10FFFF. Null is not.
bool vrel_string_isvalid(const char* text);

// The bytes of the first character (1 for a byte that is not UTF-8, 0 at the end), and the text
// behind it (at the end: the text itself). Null has size 0 and answers null.
uint32_t vrel_string_nextcharsize(const char* text);
const char* vrel_string_charnext(const char* text);

// Writes a character without a terminator, over whatever stands at `to`, and answers its 1 to
// kVrelUtf8MaxBytes bytes. What is no Unicode character is written as U+FFFD.
uint32_t vrel_string_setchar(char* to, uint32_t character);

// Reads the character at *at and moves *at behind it; at the terminator it gives 0 and stays.
// Codes: 0; kVrelStringBadUtf8 (never logged) for a byte that is not UTF-8, which *at then skips.
[[nodiscard]] uint32_t _utf8_get_next_char(const char** at, uint32_t* out);
// vrel_string_setchar at *at, which moves behind the character.
void _utf8_set_next_char(char** at, uint32_t character);

// -- search ---------------------------------------------------------------------------------------

// The first and the last place of a character (a code point; 0 finds the terminator) or of a text
// (an empty one is found at the start, by strrstr at the terminator). Null when there is none or
// for a null.
const char* vrel_string_strchr(const char* text, uint32_t character);
const char* vrel_string_strrchr(const char* text, uint32_t character);
const char* vrel_string_strstr(const char* text, const char* sought);
// Cost: the product of the two lengths at worst.
const char* vrel_string_strrstr(const char* text, const char* sought);

// The next run of bytes that are not in `delimiters`, terminated in place; null after the last.
// The first call gives the text, the later ones null and the same *state.
char* vrel_string_strtok(char* text, const char* delimiters, char** state);

// Turns the order of the characters round, in place; each keeps its bytes.
// Codes: 0, kVrelStringInvalidArg for a null.
uint32_t vrel_string_reverse(char* text);

// -- accumulator ----------------------------------------------------------------------------------

// A text that grows at its end. It is not guarded against several threads.
struct vrel_string_accum;

// Codes of create and of the appends: 0, kVrelStringInvalidArg for a null (no bytes may be null),
// kVrelStringNoMemory. A failed append leaves the accumulator as it was. What is appended must not
// be a part of the accumulator.
[[nodiscard]] uint32_t vrel_string_accum_create(vrel_string_accum** out);
[[nodiscard]] uint32_t vrel_string_accum_append(vrel_string_accum* accum, const char* text);
// At most `chars` characters of the text.
[[nodiscard]] uint32_t vrel_string_accum_append_chars(vrel_string_accum* accum, const char* text,
                                                      uint32_t chars);
// Exactly `count` bytes, whatever they are.
[[nodiscard]] uint32_t vrel_string_accum_append_bytes(vrel_string_accum* accum, const char* bytes,
                                                      uint32_t count);
// Formatted output as below, with its codes as well.
[[nodiscard]] uint32_t vrel_string_accum_append_format(vrel_string_accum* accum, const char* format,
                                                       ...);
[[nodiscard]] uint32_t vrel_string_accum_append_vformat(vrel_string_accum* accum,
                                                        const char* format, va_list arguments);

// The text so far, always terminated, borrowed until the accumulator next changes, and its bytes.
const char* vrel_string_accum_data(const vrel_string_accum* accum);
uint32_t vrel_string_accum_length(const vrel_string_accum* accum);

// Hands the text over to the caller and leaves the accumulator empty.
// Codes: 0, kVrelStringInvalidArg, kVrelStringNoMemory (nothing changed).
[[nodiscard]] uint32_t vrel_string_accum_detach(vrel_string_accum* accum, char** out);
// Empties it and keeps its memory. Null does nothing.
void vrel_string_accum_clear(vrel_string_accum* accum);
void vrel_string_accum_delete(vrel_string_accum* accum);

// -- numbers --------------------------------------------------------------------------------------

// The C library's conversions on a machine whose long has 32 bits, the same on every host: leading
// blanks and a sign, base 0 or 2 to 36 with its prefix, overflow clamped to the nearest limit. An
// unsigned number takes a minus and wraps; one that overflows is UINT32_MAX with either sign.
// `end`, which may be null, receives the place behind the number: the text itself when there is
// none, or when the base is no base. Null reads as the empty text.
int32_t vrel_string_strtol(const char* text, const char** end, uint32_t base);
uint32_t vrel_string_strtoul(const char* text, const char** end, uint32_t base);
// The same in base 10, whatever follows the number.
int32_t vrel_string_atoi32(const char* text);
uint32_t vrel_string_atou32(const char* text);

// The double nearest to a decimal number ("-12.5e3") at the start of the text, behind blanks; 0.0
// when there is none. The decimal point is a point everywhere. Overflow gives an infinity.
double vrel_string_atof64(const char* text);

// "true", "yes" and "y" in any case, and what vrel_string_atou32 reads as non-zero. Null is not.
bool vrel_string_atobool(const char* text);

// -- characters -----------------------------------------------------------------------------------

// The C locale's classes, for a code point or an unsigned byte; nothing above ASCII is in any.
bool vrel_string_isalnum(uint32_t character);
bool vrel_string_isdigit(uint32_t character);
bool vrel_string_isspace(uint32_t character);
bool vrel_string_isxdigit(uint32_t character);
bool vrel_string_isprint(uint32_t character);
bool vrel_string_islower(uint32_t character);
bool vrel_string_isupper(uint32_t character);
uint32_t vrel_string_char_tolower(uint32_t character);
uint32_t vrel_string_char_toupper(uint32_t character);

// -- wide text ------------------------------------------------------------------------------------

// Between UTF-8 and 16-bit units in the host's byte order, terminated by a unit of 0. A character
// above U+FFFF is a surrogate pair; a byte that is not UTF-8 and a surrogate without its partner
// become U+FFFD.
// Codes: 0, kVrelStringInvalidArg for a null, kVrelStringNoMemory. Free with vrel_string_free.
[[nodiscard]] uint32_t vrel_string_utf8_to_ucs2(const char* text, uint16_t** out);
[[nodiscard]] uint32_t vrel_string_ucs2_to_utf8(const uint16_t* wide, char** out);

// Into a buffer of `size` bytes, with the results of vrel_string_snprintf, but cut between
// characters only.
int32_t vrel_string_ucs2_to_utf8_buf(const uint16_t* wide, char* to, uint32_t size);

// -- formatted output -----------------------------------------------------------------------------

// A directive is "%", flags, width, precision, length and a letter, and means what it means to
// printf, except:
//   flags      " !#+-0" in any order; "!" makes s and w count width and precision in characters
//              and not in bytes.
//   width      above 339 becomes 340. It counts bytes.
//   precision  above 310 becomes 310, except for s and w. A negative "*" counts as its absolute
//              value.
//   length     l, ll, h, hh for integers; elsewhere it is passed over.
//   h          as a letter is d. It is the letter when no other letter follows it: "%h," prints a
//              number, "%hd" a short.
//   b          unsigned, base 2.
//   o x X p    "#" puts "0", "0x" or "0X" before a value that is not zero. p is plain otherwise.
//   f e E g G  never depend on a locale; "NaN", "Inf", "-Inf", and "+Inf" with the flag "+".
//   s          null prints "(null)".
//   w          the first word of a text: bytes of 1 to 32 are skipped, those above 32 printed up to
//              the next byte of 32 or below, or up to the precision.
//   c          a code point, written as UTF-8, as many times as the precision says when that is
//              above 1.
// There is no "n". Any other letter, or none at all at the end of the format, fails the call with
// kVrelStringBadFormat.

// Into a buffer of `size` bytes. The result is the length of the whole text, so one of `size` or
// more tells that it was cut (at a byte), or else a failure code, which is negative; the buffer is
// then "". A buffer that has a size is always terminated; it may be null when it has none.
int32_t vrel_string_snprintf(char* to, uint32_t size, const char* format, ...);
int32_t vrel_string_vsnprintf(char* to, uint32_t size, const char* format, va_list arguments);

// A new text, or null on failure. _vrel_string_mvprintf is the same with the code.
[[nodiscard]] char* vrel_string_mprintf(const char* format, ...);
[[nodiscard]] char* vrel_string_vmprintf(const char* format, va_list arguments);
[[nodiscard]] uint32_t _vrel_string_mvprintf(char** out, const char* format, va_list arguments);

#endif  // VREL_STRING_H
