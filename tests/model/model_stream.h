// model_stream.h: the model's streams of collections, reports of idents and views of an ident.
#ifndef MODEL_STREAM_H
#define MODEL_STREAM_H

#include <functional>
#include <set>

#include "model.h"

namespace model {

uint32_t bound(const Collection& collection);

// The items of a stream in their order.
using Items = std::vector<std::string>;
Items write(const Collection& collection);
std::string number(uint32_t value);
std::string raw(const std::string& bytes);
std::string marker(uint32_t value);

struct Loaded {
  uint32_t code = 0x9089000c;
  std::unique_ptr<Collection> collection = {};
  std::vector<std::string> warnings = {};
};
Loaded read(const std::string& bytes, const std::vector<Attribute>& registry);

// The idents reported to a collection since it was last processed.
class Report {
 public:
  // Returns whether to stop.
  using Callback = std::function<bool(const std::string& ident, uint32_t status)>;
  void add(const Collection& collection, const std::string& ident);
  uint32_t process(const Collection& collection, const Callback& callback);

 private:
  bool started_ = false;
  StringTable lacking_;
  std::vector<uint32_t> present_;
};

class View {
 public:
  View(Collection& collection, uint32_t ident);
  uint32_t get(const std::string& key, uint32_t ordinal, std::string* out_text);
  bool has_locale = false;

 private:
  Collection& collection_;
  uint32_t ident_;
  std::map<std::string, std::unique_ptr<Context>> contexts_ = {};
};

}  // namespace model

#endif  // MODEL_STREAM_H
