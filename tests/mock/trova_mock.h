// trova_mock.h: a strict manager for tests. It counts all it hands out and fails on request.
//
// Slots have names such as "list.list_load", "handle.handle_add", "manager.query_interface" and
// "memory.initialize". Texts that an object hands out die with that object, so that a use after
// its release shows under the address sanitizer. A release that is told to fail still releases.
#ifndef TROVA_MOCK_H
#define TROVA_MOCK_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "trova_manager_services.h"
#include "vrel_log.h"
#include "vrel_memory.h"

namespace trova_mock {

inline constexpr uint32_t kNotFound = TROVA_MANAGER_NOT_FOUND;
inline constexpr uint32_t kBadHandle = 0x90100321;

struct ErrorCall {
  uint32_t line;
  std::string source;
  uint32_t code;
  uint32_t extra;
  bool operator==(const ErrorCall&) const = default;
};

struct LogLine {
  uint32_t line;
  std::optional<std::string> source;
  uint32_t package;
  uint32_t level;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

struct ErrorInfo {
  uint32_t code;
  std::optional<std::string> text;
  bool operator==(const ErrorInfo&) const = default;
};

// What a data object knows. Children are shared, handles on them are not.
struct ObjectData {
  std::string context;
  std::map<std::string, std::vector<std::string>> values = {};
  std::map<std::string, std::vector<std::shared_ptr<const ObjectData>>> children = {};

  // Ordinals count from 1; null where there is none.
  const std::string* value(const std::string& key, uint32_t ordinal = 1) const;
  std::shared_ptr<const ObjectData> child(const std::string& key, uint32_t ordinal = 1) const;
};

// A data object of the application. Nothing but its end releases it.
class Object {
 public:
  explicit Object(const std::string& context);
  Object(const Object&) = delete;
  ~Object();
  Object& value(const std::string& key, const std::string& text) {
    return data_->values[key].push_back(text), *this;
  }
  Object& child(const std::string& key, const Object& object) {
    return data_->children[key].push_back(object.data_), *this;
  }
  trova_gdo* get() const { return handle_; }
  const ObjectData& data() const { return *data_; }

 private:
  std::shared_ptr<ObjectData> data_;
  trova_gdo* handle_;
};

struct Element {
  uint32_t id;
  uint32_t parent;
  uint32_t lower;
  uint32_t upper;
};

struct ListData {
  std::map<uint32_t, Element> elements = {};
  std::map<uint32_t, uint32_t> broken = {};  // lookups of these ids return a code

  ListData& add(uint32_t id, uint32_t parent, uint32_t lower = 0, uint32_t upper = 0) {
    return elements[id] = {id, parent, lower, upper}, *this;
  }
  uint32_t level(uint32_t id) const;
  // Level 0 is the element itself. kNotFound for an unknown id or a level below the element's own.
  uint32_t find(uint32_t id, uint32_t level, const Element** out_element) const;
};

// Scores of pairs of ids, listed or computed. For ids from 1 to `ids`, `mix` and the pair give a
// score, no score, or in a few cases a failure; some ids have no scores at all.
struct CorrelateTable : std::map<uint32_t, std::map<uint32_t, int32_t>> {
  using map::map;
  uint32_t ids = 0, mix = 0;

  bool has(uint32_t id) const;
  uint32_t score(uint32_t id, uint32_t other, int32_t* out_score) const;
};

using RecordData = std::map<std::string, std::string>;

struct StoreData {
  struct Field {
    std::string name;
    uint32_t type;
    uint32_t flags;
    bool operator==(const Field&) const = default;
  };
  std::vector<Field> fields = {};
  bool finished = false;
  std::vector<std::unique_ptr<RecordData>> records = {};
};

class Mock {
 public:
  ManagerHandle* manager();
  trova_user* user();
  Object object(const std::string& context) { return Object(context); }
  const trova_gdo_interface& objects() const;
  const trova_listmanager_interface& list_service() const;
  // What the library gave to gdo_create for one of its views.
  const trova_gdo_operations& operations(const trova_gdo* object, void** out_view) const;

  // Forgets lists, faults and records; turns all log lines on.
  void reset();

  // The n-th call of a slot from now on, counted from 1, answers `code` and does nothing else.
  void fail_slot(const std::string& slot, unsigned n, uint32_t code);
  // The n-th allocation from now on fails, or all from the n-th on.
  void fail_allocation(unsigned n, bool all_later = false);
  void clear_faults() { fail_allocation(0), faults_.clear(); }
  // Whether an allocation that was to fail has failed.
  bool allocation_failed() const { return allocation_due_ == 0; }
  uint32_t fault_due(const std::string& slot);
  bool refuse_allocation();

  size_t blocks() const;      // in use
  size_t bytes() const;       // in use
  size_t peak_bytes() const;  // in use at most since the last watch_peak()
  void watch_peak();
  std::string usage() const;  // all that is in use, by kind
  void expect_clean();        // nothing is in use, and no rule was broken
  void expect_no_problems();  // no rule was broken since the last look

  // What the list service knows: locales by name with their language, lists, correlates.
  struct {
    std::map<std::string, std::string> locales;
    std::map<std::string, ListData> lists;
    std::map<std::string, CorrelateTable> correlates;
  } lists;
  bool has_storage = false;
  std::map<std::string, StoreData> stores;  // by name
  bool keeps_trace = true;                  // fills the two below
  std::map<std::string, unsigned> calls;    // by slot
  std::vector<std::string> trace;           // slots in the order of their calls
  std::vector<ErrorCall> errors;
  std::vector<LogLine> lines;
  std::vector<ErrorInfo> infos;
  std::optional<uint32_t> error_answer;  // of the error log; else it answers the code it is given

 private:
  struct Fault {
    std::string slot;
    unsigned due;
    uint32_t code;
  };
  std::vector<Fault> faults_;
  unsigned allocation_due_ = 0;  // 0: none
  bool allocations_stay_refused_ = false;
};

Mock& mock();

}  // namespace trova_mock

#endif  // TROVA_MOCK_H
