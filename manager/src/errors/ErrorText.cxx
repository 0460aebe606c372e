// ErrorText: error codes in plain words.
#include <algorithm>
#include <iterator>

#include "trova_manager.h"
#include "trova_playlist.h"

namespace {

struct Row {
  uint32_t code;
  const char* text;
};

// Codes whose meaning is their own, in ascending order.
constexpr Row kCodes[] = {
    {0, "no error"},
    {UINT32_C(0x10020084), "the wait timed out"},
    {PLERR_NotFound, "there is no such ident, value or entry"},
    {UINT32_C(0x90020006), "the lock is in use"},
    {UINT32_C(0x9002003d), "the operating system refused a thread operation"},
    {UINT32_C(0x90020281), "the thread would wait for itself"},
    {UINT32_C(0x90020282), "the system is out of threads or locks"},
    {UINT32_C(0x90020283), "the wait was interrupted"},
    {UINT32_C(0x90020284), "the thread does not hold the lock"},
    {UINT32_C(0x90050009), "unknown conversion in a format"},
    {UINT32_C(0x900d0209), "the size of the element is not that of the container's elements"},
    {UINT32_C(0x900d0363), "the id does not belong to the string table"},
    {TROVA_MANAGER_NO_SERVICE, "the manager has no service of that name"},
    {TROVA_MANAGER_STORE_BROKEN, "the storage file is damaged, or no storage file"},
    {TROVA_MANAGER_STORE_NEWER, "the storage file was written by a newer version"},
    {TROVA_MANAGER_STORE_BUSY, "the storage file is in use for too long"},
    {TROVA_MANAGER_STORE_READ_ONLY, "the storage file must not be written"},
    {TROVA_MANAGER_STORE_FULL, "there is no room for the storage file"},
    {TROVA_MANAGER_STORE_FAILED, "the storage file cannot be read or written"},
    {PLERR_Unexpected, "an attribute or the manager gave an unexpected answer"},
    {PLERR_BufferTooSmall, "the buffer is too small for the serialized collection"},
    {PLERR_InitFailed, "the library could not be started with this manager"},
    {PLERR_InvalidData, "the data is not of the kind that is needed"},
    {PLERR_CorruptData, "the serialized collection is damaged"},
    {PLERR_SyncNotStarted, "no idents were reported before the synchronisation"},
    {PLERR_NoStorage, "the manager has no storage service"},
    {PLERR_NoValue, "the data object has no value for the attribute"},
    {PLERR_ListUnavailable,
     "LIKE has no scores: its value is not in the list, or the list is not loaded"},
    {PLERR_BadManager, "the manager handle is wrong, or the manager has another version"},
    {PLERR_EndOfAttributes, "the index is past the last entry"},
    {PLERR_ManagerPkgA, "the manager failed (package 4 or 20)"},
    {PLERR_ManagerPkgB, "the manager failed (package 16)"},
    {PLERR_ManagerPkgC, "the manager failed (package 7)"},
    {PLERR_ManagerPkgD, "the manager failed (package 14)"},
    {PLERR_StoreInvalid, "the collection store is not laid out as expected"},
    {PLERR_StatementMismatch, "the statement needs a seed, and none was given"},
    {PLERR_Syntax, "the statement is not written correctly"},
};

// What the low 16 bits mean in every package that has no row of its own for the code; ascending.
constexpr Row kLowCodes[] = {
    {0x0001, "an argument is missing or out of range"},
    {0x0002, "out of memory"},
    {0x0003, "there is no such thing"},
    {0x0007, "not initialised"},
    {0x000f, "internal error"},
    {0x003c, "not supported"},
    {0x0320, "the handle is not valid"},
    {0x0321, "the handle is not valid"},
    {0x0361, "past the last entry"},
};

constexpr bool is_before(const Row& a, const Row& b) {
  return a.code < b.code;
}
static_assert(std::is_sorted(std::begin(kCodes), std::end(kCodes), is_before));
static_assert(std::is_sorted(std::begin(kLowCodes), std::end(kLowCodes), is_before));

template <size_t kRows>
const char* find(const Row (&rows)[kRows], uint32_t code) {
  const Row* const row = std::lower_bound(rows, rows + kRows, Row{code, nullptr}, is_before);
  return row != rows + kRows && row->code == code ? row->text : nullptr;
}

}  // namespace

const char* trova_manager_error_text(uint32_t code) {
  constexpr uint32_t kLowBits = 0xffff;
  if (const char* const text = find(kCodes, code)) return text;
  if (const char* const text = find(kLowCodes, code & kLowBits)) return text;
  return "unknown error";
}
