// list_compiler: turns the CSV files of this folder into the tables that the manager carries.
//
// Runs while building: list_compiler FOLDER OUTPUT_FILE. A fault in the data ends it with
// "file:line: what is wrong" and no output.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <numbers>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "../src/lists/Fold.hxx"
#include "../src/lists/Tables.hxx"

namespace {

using namespace trova::lists;

// ------------------------------------------------------------------------------- CSV files

struct Place {
  std::string file;
  std::size_t line = 0;
};

[[noreturn]] void fail(const Place& place, const std::string& what) {
  throw std::runtime_error(place.file + ":" + std::to_string(place.line) + ": " + what);
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

struct CsvRow {
  Place place;
  std::vector<std::string> fields;
};

struct CsvFile {
  std::vector<std::string> columns;
  std::vector<CsvRow> rows;
};

// Fields hold no commas and need no quotes. Lines that start with "#" and empty ones are comments.
std::vector<CsvRow> read_rows(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error(path + ":0: cannot be read");
  std::vector<CsvRow> rows;
  Place place{path, 0};
  for (std::string line; std::getline(in, line);) {
    ++place.line;
    if (line.empty() || line[0] == '#') continue;
    if (line.back() == '\r') fail(place, "line ends in CR LF");
    if (line.find('"') != std::string::npos) fail(place, "quotes have no meaning here");
    rows.push_back({place, split(line, ',')});
    for (const std::string& field : rows.back().fields) {
      if (!field.empty() && (field.front() == ' ' || field.back() == ' ')) {
        fail(place, "blank around '" + field + "'");
      }
    }
  }
  if (rows.empty()) fail(place, "no rows");
  return rows;
}

CsvFile read_csv(const std::string& path, const std::vector<std::string>& columns) {
  CsvFile csv{columns, read_rows(path)};
  if (csv.rows.front().fields != columns) fail(csv.rows.front().place, "unexpected columns");
  csv.rows.erase(csv.rows.begin());
  for (const CsvRow& row : csv.rows) {
    if (row.fields.size() != columns.size()) {
      fail(row.place, "expected " + std::to_string(columns.size()) + " fields, found " +
                          std::to_string(row.fields.size()));
    }
  }
  return csv;
}

double number(const Place& place, const std::string& text, double lower, double upper) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0') fail(place, "'" + text + "' is no number");
  if (!(value >= lower && value <= upper)) fail(place, "'" + text + "' is out of range");
  return value;
}

int32_t integer(const Place& place, const std::string& text, int32_t lower, int32_t upper) {
  const double value = number(place, text, lower, upper);
  if (value != std::floor(value)) fail(place, "'" + text + "' is no whole number");
  return static_cast<int32_t>(value);
}

std::string folded(const std::string& text) {
  char buffer[kFoldedCapacity];
  return fold(text.c_str(), buffer) < kFoldedCapacity ? buffer : "";
}

// ----------------------------------------------------------------------------------- Lists

struct ListFile {
  std::string name;
  std::string type;
  std::string correlates;
  std::vector<std::string> extra_columns;
};

// ORDER LISTS
const ListFile kListFiles[kListCount] = {
    {"genres.csv", "trova_list_type_genres", "trova_correlates_genre", {}},
    {"eras.csv", "trova_list_type_eras", "trova_correlates_era", {"lower", "upper"}},
    {"origins.csv",
     "trova_list_type_origins",
     "trova_correlates_origin",
     {"latitude", "longitude"}},
    {"artist_types.csv", "trova_list_type_artist_types", "trova_correlates_arttype", {}},
    {"moods.csv", "trova_list_type_moods", "trova_correlates_mood", {"valence", "arousal"}},
    {"tempos.csv", "trova_list_type_tempos", "", {"lower", "upper"}},
};

struct Node {
  Place place;
  uint32_t id = 0;
  uint32_t lower = 0;
  uint32_t upper = 0;
  std::string names[kLanguageCount];
  std::string synonyms;
  std::vector<uint16_t> path;
  std::string extra[2];  // the columns that only this list has

  std::size_t level() const { return path.size(); }
};

struct List {
  std::vector<Node> nodes;
  std::map<std::string, uint16_t> names;  // folded names and synonyms of all languages
};

// A file reads like the tree: an element's parent is the element above it or one of that one's
// ancestors. So children stand together and parents come first.
void place_in_tree(const List& list, Node& node, uint32_t parent) {
  if (parent != 0) {
    if (list.nodes.empty()) fail(node.place, "the first element must be a top one");
    std::vector<uint16_t> path = list.nodes.back().path;
    while (!path.empty() && list.nodes[path.back()].id != parent) path.pop_back();
    if (path.empty()) fail(node.place, "the parent is not the branch that stands above");
    if (path.size() == kMaxLevel) fail(node.place, "too many levels");
    node.path = path;
  }
  node.path.push_back(static_cast<uint16_t>(list.nodes.size()));
}

void read_range(const List& list, Node& node) {
  node.lower = static_cast<uint32_t>(integer(node.place, node.extra[0], 1, 9999));
  node.upper = static_cast<uint32_t>(integer(node.place, node.extra[1], 1, 9999));
  if (node.lower > node.upper) fail(node.place, "the range is upside down");
  if (node.level() == 1) return;
  const Node& parent = list.nodes[node.path[node.level() - 2]];
  if (node.lower < parent.lower || node.upper > parent.upper) {
    fail(node.place, "the range leaves that of '" + parent.names[0] + "'");
  }
}

// No two elements share a name, in whatever language, or a spelling.
void add_name(List& list, const Node& node, const std::string& text, bool is_synonym) {
  const std::string key = folded(text);
  if (key.empty()) fail(node.place, "name '" + text + "' is empty or too long");
  const auto [known, added] = list.names.emplace(key, node.path.back());
  if (added) return;
  if (known->second != node.path.back()) {
    fail(node.place, "'" + text + "' also names '" + list.nodes[known->second].names[0] + "'");
  }
  if (is_synonym) fail(node.place, "'" + text + "' is found without being listed");
}

void add_names(List& list, const Node& node) {
  for (const std::string& name : node.names) add_name(list, node, name, false);
  if (node.synonyms.empty()) return;
  for (const std::string& synonym : split(node.synonyms, '|')) add_name(list, node, synonym, true);
}

List read_list(const std::string& folder, const ListFile& file) {
  std::vector<std::string> columns = {"id", "parent", "name", "name_de", "synonyms"};
  columns.insert(columns.end(), file.extra_columns.begin(), file.extra_columns.end());
  const CsvFile csv = read_csv(folder + "/" + file.name, columns);
  const bool has_range = !file.extra_columns.empty() && file.extra_columns[0] == "lower";
  if (csv.rows.size() >= kNowhere) fail(csv.rows.back().place, "too many elements");
  List list;
  std::set<uint32_t> ids;
  for (const CsvRow& row : csv.rows) {
    Node node;
    node.place = row.place;
    node.id = static_cast<uint32_t>(integer(row.place, row.fields[0], 1, INT32_MAX));
    if (!ids.insert(node.id).second) fail(row.place, "id " + row.fields[0] + " is taken");
    node.names[0] = row.fields[2];
    node.names[1] = row.fields[3].empty() ? row.fields[2] : row.fields[3];
    node.synonyms = row.fields[4];
    std::copy(row.fields.begin() + 5, row.fields.end(), node.extra);
    const std::string& parent = row.fields[1];
    place_in_tree(
        list, node,
        parent.empty() ? 0 : static_cast<uint32_t>(integer(row.place, parent, 1, INT32_MAX)));
    if (has_range) read_range(list, node);
    add_names(list, node);
    list.nodes.push_back(std::move(node));
  }
  return list;
}

uint16_t find(const List& list, const Place& place, const std::string& name) {
  const auto found = list.names.find(folded(name));
  if (found == list.names.end()) fail(place, "there is no '" + name + "'");
  return found->second;
}

// ------------------------------------------------------------------------------ Correlates

using KinTable = std::vector<std::vector<Kin>>;

KinTable read_kin(const std::string& path, const List& genres) {
  KinTable kin(genres.nodes.size());
  std::set<std::pair<uint16_t, uint16_t>> seen;
  for (const CsvRow& row : read_csv(path, {"a", "b", "score"}).rows) {
    const uint16_t a = find(genres, row.place, row.fields[0]);
    const uint16_t b = find(genres, row.place, row.fields[1]);
    const auto score = static_cast<int16_t>(integer(row.place, row.fields[2], -999, 999));
    const auto& path_a = genres.nodes[a].path;
    const auto& path_b = genres.nodes[b].path;
    if (std::count(path_a.begin(), path_a.end(), b) ||
        std::count(path_b.begin(), path_b.end(), a)) {
      fail(row.place, "one of the two lies below the other");
    }
    if (!seen.insert(std::minmax(a, b)).second) fail(row.place, "this pair has a score already");
    kin[a].push_back({b, score});
    kin[b].push_back({a, score});
  }
  return kin;
}

// A triangle: each row names its element and ends with the score on the diagonal.
std::vector<int16_t> read_matrix(const std::string& path, const List& list, std::size_t max_level) {
  std::vector<const Node*> nodes;
  for (const Node& node : list.nodes) {
    if (node.level() <= max_level) nodes.push_back(&node);
  }
  const std::vector<CsvRow> rows = read_rows(path);
  if (rows.size() != nodes.size()) fail(rows.back().place, "one row for each element is needed");
  const std::size_t size = nodes.size();
  std::vector<int16_t> matrix(size * size);
  for (std::size_t i = 0; i < size; ++i) {
    const CsvRow& row = rows[i];
    if (row.fields[0] != nodes[i]->names[0])
      fail(row.place, "expected '" + nodes[i]->names[0] + "'");
    if (row.fields.size() != i + 2)
      fail(row.place, "expected " + std::to_string(i + 1) + " scores");
    for (std::size_t j = 0; j <= i; ++j) {
      const auto score = static_cast<int16_t>(integer(row.place, row.fields[j + 1], -1000, 1000));
      matrix[i * size + j] = matrix[j * size + i] = score;
    }
  }
  return matrix;
}

// A group of moods stands at the mean of its members.
std::vector<MoodPoint> mood_points(const List& moods) {
  const std::size_t count = moods.nodes.size();
  std::vector<double> valence(count), arousal(count), members(count);
  for (const Node& node : moods.nodes) {
    const bool has_point = !node.extra[0].empty() || !node.extra[1].empty();
    if (has_point != (node.level() == 2)) fail(node.place, "only a mood below a group has a point");
    if (!has_point) continue;
    const double v = number(node.place, node.extra[0], -1, 1);
    const double a = number(node.place, node.extra[1], -1, 1);
    for (uint16_t position : node.path) {
      valence[position] += v;
      arousal[position] += a;
      members[position] += 1;
    }
  }
  std::vector<MoodPoint> points;
  for (std::size_t i = 0; i < count; ++i) {
    if (members[i] == 0) fail(moods.nodes[i].place, "this group has no mood");
    points.push_back({static_cast<int16_t>(std::lround(valence[i] / members[i] * 1000)),
                      static_cast<int16_t>(std::lround(arousal[i] / members[i] * 1000))});
  }
  return points;
}

std::vector<GlobePoint> globe_points(const List& origins) {
  std::vector<GlobePoint> points;
  for (const Node& node : origins.nodes) {
    const double degree = std::numbers::pi / 180;
    const double latitude = number(node.place, node.extra[0], -90, 90) * degree;
    const double longitude = number(node.place, node.extra[1], -180, 180) * degree;
    const auto scaled = [](double x) {
      return static_cast<int16_t>(std::lround(x * kGlobeRadius));
    };
    points.push_back({scaled(std::cos(latitude) * std::cos(longitude)),
                      scaled(std::cos(latitude) * std::sin(longitude)),
                      scaled(std::sin(latitude))});
  }
  return points;
}

// ---------------------------------------------------------------------------------- Output

// All texts of all lists, each once; an offset is a text's name.
class TextPool {
 public:
  TextPool() { add(""); }

  uint32_t add(const std::string& text) {
    const auto [place, added] = offsets_.emplace(text, size_);
    if (added) {
      texts_.push_back(text);
      size_ += static_cast<uint32_t>(text.size()) + 1;
    }
    return place->second;
  }

  void write(std::ostream& out) const {
    out << "const char kText[] =\n";
    for (const std::string& text : texts_) out << "    \"" << escaped(text) << "\\0\"\n";
    out << "    ;\n\n";
  }

 private:
  static std::string escaped(const std::string& text) {
    std::string result;
    for (char c : text) {
      if (c == '\\' || c == '?') result += '\\';
      result += c;
    }
    return result;
  }

  std::map<std::string, uint32_t> offsets_;
  std::vector<std::string> texts_;
  uint32_t size_ = 0;
};

template <typename Items, typename Format>
void write_array(std::ostream& out, const std::string& declaration, const Items& items,
                 Format format) {
  out << declaration << "[] = {";
  std::size_t i = 0;
  for (const auto& item : items) out << (i++ % 8 == 0 ? "\n    " : " ") << format(item) << ",";
  out << "\n};\n\n";
}

std::string plain(int value) {
  return std::to_string(value);
}

void write_elements(std::ostream& out, const List& list, std::size_t language, TextPool& pool) {
  unsigned tops = 0;
  for (const Node& node : list.nodes) {
    out << "    {" << node.id << ", " << node.lower << ", " << node.upper << ", "
        << pool.add(node.names[language]) << ", " << pool.add(node.synonyms) << ", {";
    for (std::size_t level = 0; level < kMaxLevel; ++level) {
      out << (level < node.level() ? node.path[level] : kNowhere)
          << (level + 1 < kMaxLevel ? ", " : "}, ");
    }
    out << node.level() << ", " << (node.level() == 1 ? tops++ : 0) << "},\n";
  }
}

uint32_t id_bits(const List& list) {
  uint32_t bits = 1;
  while ((std::size_t{1} << bits) < 2 * list.nodes.size()) ++bits;
  return bits;
}

std::vector<uint16_t> id_slots(const List& list) {
  const uint32_t bits = id_bits(list);
  std::vector<uint16_t> slots(std::size_t{1} << bits, kNowhere);
  for (std::size_t i = 0; i < list.nodes.size(); ++i) {
    uint32_t slot = (list.nodes[i].id * kIdMultiplier) >> (32 - bits);
    while (slots[slot] != kNowhere) slot = (slot + 1) & static_cast<uint32_t>(slots.size() - 1);
    slots[slot] = static_cast<uint16_t>(i);
  }
  return slots;
}

void write_lists(std::ostream& out, const std::vector<List>& lists, TextPool& pool) {
  std::size_t per_language = 0;
  for (const List& list : lists) per_language += list.nodes.size();
  out << "const uint32_t kElementCount = " << kLanguageCount * per_language << ";\n\n";
  out << "const Element kElements[] = {\n";
  for (std::size_t language = 0; language < kLanguageCount; ++language) {
    for (const List& list : lists) write_elements(out, list, language, pool);
  }
  out << "};\n\n";
  std::ostringstream table;
  std::size_t first = 0;
  for (std::size_t i = 0; i < kListCount; ++i) {
    const List& list = lists[i];
    const std::string suffix = std::to_string(i);
    write_array(out, "static const uint16_t kIdSlots" + suffix, id_slots(list), plain);
    write_array(out, "static const Name kNames" + suffix, list.names, [&pool](const auto& name) {
      return "{" + std::to_string(pool.add(name.first)) + ", " + plain(name.second) + "}";
    });
    const std::string& correlates = kListFiles[i].correlates;
    table << "    {\"" << kListFiles[i].type << "\", "
          << (correlates.empty() ? "nullptr" : "\"" + correlates + "\"") << ", {kElements + "
          << first << ", kElements + " << per_language + first << "}, " << list.nodes.size()
          << ", kIdSlots" << i << ", " << id_bits(list) << ", kNames" << i << ", "
          << list.names.size() << "},\n";
    first += list.nodes.size();
  }
  out << "const ListTable kLists[] = {\n" << table.str() << "};\n\n";
}

void write_kin(std::ostream& out, const KinTable& kin) {
  std::vector<uint16_t> first(1, 0);
  std::vector<Kin> all;
  for (const std::vector<Kin>& run : kin) {
    all.insert(all.end(), run.begin(), run.end());
    first.push_back(static_cast<uint16_t>(all.size()));
  }
  write_array(out, "const uint16_t kKinFirst", first, plain);
  write_array(out, "const Kin kKin", all,
              [](Kin k) { return "{" + plain(k.position) + ", " + plain(k.score) + "}"; });
}

void write_tables(const std::string& folder, std::ostream& out) {
  std::vector<List> lists;
  for (const ListFile& file : kListFiles) lists.push_back(read_list(folder, file));
  const auto list = [&lists](ListKind kind) -> const List& {
    return lists[static_cast<std::size_t>(kind)];
  };
  std::size_t correlated = 0;
  for (std::size_t i = 0; i < kCorrelatedListCount; ++i) correlated += lists[i].nodes.size();
  if (correlated > kMaxCorrelated) throw std::runtime_error(folder + ":0: raise kMaxCorrelated");
  out << "// Written by list_compiler from the CSV files of manager/lists.\n"
         "#include \"lists/Tables.hxx\"\n\nnamespace trova::lists {\n\n";
  TextPool pool;
  write_lists(out, lists, pool);
  write_kin(out, read_kin(folder + "/genre_neighbours.csv", list(ListKind::kGenres)));
  const List& genres = list(ListKind::kGenres);
  out << "const uint32_t kTopGenreCount = "
      << std::count_if(genres.nodes.begin(), genres.nodes.end(),
                       [](const Node& node) { return node.level() == 1; })
      << ";\n";
  write_array(out, "const int16_t kGenreAffinities",
              read_matrix(folder + "/genre_affinities.csv", genres, 1), plain);
  write_array(
      out, "const int16_t kArtistAffinities",
      read_matrix(folder + "/artist_type_affinities.csv", list(ListKind::kArtistTypes), kMaxLevel),
      plain);
  write_array(out, "const MoodPoint kMoodPoints", mood_points(list(ListKind::kMoods)),
              [](MoodPoint p) { return "{" + plain(p.valence) + ", " + plain(p.arousal) + "}"; });
  write_array(
      out, "const GlobePoint kGlobePoints", globe_points(list(ListKind::kOrigins)),
      [](GlobePoint p) { return "{" + plain(p.x) + ", " + plain(p.y) + ", " + plain(p.z) + "}"; });
  pool.write(out);
  out << "}  // namespace trova::lists\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: list_compiler FOLDER OUTPUT_FILE\n";
    return 2;
  }
  try {
    std::ostringstream tables;
    write_tables(argv[1], tables);
    std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
    out << tables.str() << std::flush;
    if (!out) throw std::runtime_error(std::string(argv[2]) + ":0: cannot be written");
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
  return 0;
}
