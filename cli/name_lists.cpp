// NameLists: the manager's list functions, with C++ in front of them.
#include "name_lists.h"

#include <fmt/format.h>

#include "text.h"

namespace trova_cli {
namespace {

constexpr bool InOrderOfKind() {
  for (std::size_t i = 0; i < kListInfos.size(); ++i) {
    if (kListInfos[i].kind != static_cast<ListKind>(i)) return false;
  }
  return true;
}
static_assert(InOrderOfKind());

// A warning stands for "not there".
std::optional<Element> Found(std::uint32_t code, const Element& element) {
  Check(code, "read a list");
  if (code != 0) return std::nullopt;
  return element;
}

}  // namespace

std::optional<ListKind> ListOfAttribute(std::string_view attribute) {
  for (const ListInfo& info : kListInfos) {
    if (EqualIgnoringCase(info.attribute, attribute)) return info.kind;
  }
  return std::nullopt;
}

std::uint32_t NameLists::Count(ListKind kind) {
  std::uint32_t count = 0;
  Check(trova_manager_list_count(Get(kind), &count), "read a list");
  return count;
}

Element NameLists::At(ListKind kind, std::uint32_t index) {
  Element element{};
  Check(trova_manager_list_get(Get(kind), index, &element), "read a list");
  return element;
}

std::optional<Element> NameLists::ById(ListKind kind, std::uint32_t id) {
  Element element{};
  return Found(trova_manager_list_element(Get(kind), id, &element), element);
}

std::optional<Element> NameLists::Find(ListKind kind, std::string_view name) {
  Element element{};
  const std::string text(name);
  if (text.empty()) return std::nullopt;
  return Found(trova_manager_list_find(Get(kind), text.c_str(), &element), element);
}

std::int32_t NameLists::Likeness(ListKind kind, std::uint32_t a, std::uint32_t b) {
  std::int32_t score = 0;
  Check(trova_manager_list_correlate(InfoOf(kind).type, a, b, &score), "compare list elements");
  return score;
}

std::vector<Element> NameLists::Nearest(ListKind kind, std::string_view name, std::uint32_t limit) {
  const std::string text(name);
  if (text.empty()) return {};
  std::vector<Element> elements(limit);
  std::uint32_t count = 0;
  Check(trova_manager_list_search(Get(kind), text.c_str(), limit, elements.data(), &count),
        "search a list");
  elements.resize(count);
  return elements;
}

trova_list* NameLists::Get(ListKind kind) {
  List& list = lists_[static_cast<std::size_t>(kind)];
  if (!list) {
    trova_list* loaded = nullptr;
    Check(trova_manager_list_load(InfoOf(kind).type, &loaded),
          fmt::format("load the list of {}", InfoOf(kind).name));
    list.reset(loaded);
  }
  return list.get();
}

}  // namespace trova_cli
