// trova lists: the lists that statements take their values from.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "name_lists.h"
#include "output.h"
#include "text.h"

namespace trova_cli {
namespace {

constexpr std::uint32_t kMatchesShown = 10;
constexpr std::string_view kIndent = "  ";

struct ListsOptions {
  std::optional<std::string> name;
  std::optional<std::string> search;
  bool tree = false;
};

const ListInfo& InfoOfName(const std::string& name) {
  return *std::find_if(kListInfos.begin(), kListInfos.end(),
                       [&](const ListInfo& info) { return info.name == name; });
}

void WriteCounts(NameLists& lists, Output& output) {
  for (const ListInfo& info : kListInfos) {
    output.Write(
        fmt::format("{:<14}{:>6}  {}\n", info.name, lists.Count(info.kind), info.attribute));
  }
}

void WriteElements(NameLists& lists, ListKind kind, bool tree, Output& output) {
  const std::uint32_t count = lists.Count(kind);
  for (std::uint32_t i = 0; i < count; ++i) {
    const Element element = lists.At(kind, i);
    output.Write(fmt::format("{:>8}  ", element.id));
    for (std::uint32_t level = 1; tree && level < element.level; ++level) output.Write(kIndent);
    output.Write(fmt::format("{}\n", element.name));
  }
}

// "Rock / Progressive Rock"
std::string NameWithParents(NameLists& lists, ListKind kind, const Element& element) {
  std::string path = element.name;
  std::optional<Element> parent = lists.ById(kind, element.parent);
  for (; parent; parent = lists.ById(kind, parent->parent)) {
    path = fmt::format("{} / {}", parent->name, path);
  }
  return path;
}

std::size_t WriteMatches(NameLists& lists, ListKind kind, const ListsOptions& options,
                         Output& output) {
  const std::vector<Element> matches = lists.Nearest(kind, *options.search, kMatchesShown);
  for (const Element& element : matches) {
    output.Write(fmt::format(
        "{:>8}  {:<14}{}\n", element.id, InfoOf(kind).name,
        options.tree ? NameWithParents(lists, kind, element) : std::string(element.name)));
  }
  return matches.size();
}

std::size_t WriteAllMatches(NameLists& lists, const ListsOptions& options, Output& output) {
  if (options.name) return WriteMatches(lists, InfoOfName(*options.name).kind, options, output);
  std::size_t count = 0;
  for (const ListInfo& info : kListInfos) count += WriteMatches(lists, info.kind, options, output);
  return count;
}

ExitCode ShowLists(const ListsOptions& options, Console& console) {
  const Engine engine;
  NameLists lists;
  Output output(STDOUT_FILENO);
  if (options.search) {
    const std::size_t count = WriteAllMatches(lists, options, output);
    output.Flush();
    if (count > 0) return kExitResults;
    console.Warn(fmt::format("nothing is like \"{}\"", *options.search));
    return kExitNone;
  }
  if (options.name) {
    WriteElements(lists, InfoOfName(*options.name).kind, options.tree, output);
  } else {
    WriteCounts(lists, output);
  }
  output.Flush();
  return kExitResults;
}

}  // namespace

Action DefineLists(CLI::App& options) {
  const auto values = std::make_shared<ListsOptions>();
  std::vector<std::string> names;
  for (const ListInfo& info : kListInfos) names.emplace_back(info.name);
  options.add_option("NAME", values->name, "One list; without it, all of them with their sizes")
      ->check(CLI::IsMember(names));
  options.add_option("--search", values->search, "Show the names nearest to a text");
  options.add_flag("--tree", values->tree, "Show what lies below what");
  return [values](Console& console) { return ShowLists(*values, console); };
}

}  // namespace trova_cli
