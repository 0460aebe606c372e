// trova collections: what can be done to stored collections as a whole.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "collection_file.h"
#include "commands.h"
#include "confirmation.h"
#include "error.h"
#include "output.h"
#include "store.h"
#include "store_options.h"
#include "stored_collections.h"
#include "text.h"

namespace trova_cli {
namespace {

struct Arguments {
  StoreOptions store;
  std::string name;
  std::string other;  // the new name, or a file
  std::optional<std::string> collection;
  bool dry_run = false;
  bool yes = false;
  ExitCode (*run)(const Arguments& arguments, Console& console) = nullptr;
};

Store OpenStore(const Arguments& arguments, StoreUse use, Console& console) {
  if (arguments.dry_run && use == StoreUse::kWrite) use = StoreUse::kDryRun;
  if (arguments.dry_run && use == StoreUse::kChange) use = StoreUse::kRead;
  return Store(arguments.store.Path(), use, console);
}

void Say(const std::string& line) {
  Output output(STDOUT_FILENO);
  output.Write(Printable(line) + '\n');
  output.Flush();
}

std::uint32_t CountTracks(trova_playlist_collection* collection) {
  std::uint32_t count = 0;
  Check(trova_playlist_collection_ident_count(collection, &count), "count the tracks");
  std::uint32_t live = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const char* ident = nullptr;
    Check(trova_playlist_collection_ident_enum(collection, i, &ident), "list the tracks");
    live += *ident != '\0';
  }
  return live;
}

ExitCode ListAll(const Arguments& arguments, Console& console) {
  Store store = OpenStore(arguments, StoreUse::kRead, console);
  const std::vector<std::string> names = StoredNames();
  for (const std::string& name : names) Say(name);
  return names.empty() ? kExitNone : kExitResults;
}

ExitCode ShowOne(const Arguments& arguments, Console& console) {
  Store store = OpenStore(arguments, StoreUse::kRead, console);
  const std::string name = ChooseCollection(arguments.collection, store.path());
  const Collection collection = RequireCollection(name);
  std::uint32_t size = 0;
  Check(trova_playlist_collection_serialize_size(collection.get(), &size), "measure a collection");
  const std::int64_t number = store.catalogue().Find(name).value_or(0);
  Say(fmt::format("{}: {} tracks, {} bytes at most, in {}", name, CountTracks(collection.get()),
                  size, store.path()));
  Say(fmt::format("  {} files without anything to go by, {} that cannot be read",
                  store.catalogue().Count(number, TrackState::kEmpty),
                  store.catalogue().Count(number, TrackState::kBroken)));
  return kExitResults;
}

// The record first: rows without their collection claim nothing.
ExitCode Rename(const Arguments& arguments, Console& console) {
  Store store = OpenStore(arguments, StoreUse::kChange, console);
  ChooseCollection(arguments.name, store.path());
  if (IsStored(arguments.other)) {
    throw CommandError(fmt::format("there is a collection \"{}\" already", arguments.other));
  }
  if (!arguments.dry_run) {
    // In one order, whatever another process renames.
    const auto names = std::minmax(arguments.name, arguments.other);
    const Store::Locked first = store.Lock(names.first);
    const Store::Locked second = store.Lock(names.second);
    const bool swapped = names.first != arguments.name;
    const std::int64_t number = (swapped ? second : first).number;
    const Collection collection = RequireCollection(arguments.name);
    Check(trova_playlist_collection_update_name(collection.get(), arguments.other.c_str()),
          "rename the collection");
    StoreCollection(collection);
    Transaction transaction(store.catalogue().database());
    store.catalogue().Remove((swapped ? first : second).number);
    store.catalogue().Rename(number, arguments.other);
    transaction.Commit();
  }
  Say(fmt::format("{} {} {}", arguments.name, arguments.dry_run ? "would become" : "is now",
                  arguments.other));
  return kExitResults;
}

ExitCode Remove(const Arguments& arguments, Console& console) {
  Store store = OpenStore(arguments, StoreUse::kChange, console);
  ChooseCollection(arguments.name, store.path());
  if (!arguments.dry_run) {
    Confirm(
        fmt::format("Remove the collection \"{}\" and all that is stored of it?", arguments.name),
        arguments.yes);
    const Store::Locked locked = store.Lock(arguments.name);
    RemoveStored(arguments.name);
    store.catalogue().RemoveDraft(arguments.name);
    store.catalogue().Remove(locked.number);
  }
  Say(fmt::format("{} {} removed", arguments.name, arguments.dry_run ? "would be" : "is"));
  return kExitResults;
}

ExitCode Export(const Arguments& arguments, Console& console) {
  const Store store = OpenStore(arguments, StoreUse::kRead, console);
  const Collection collection = RequireCollection(arguments.name);
  const std::string bytes = SerializeCollection(collection.get());
  if (arguments.dry_run) {
    Say(fmt::format("{} would be written to {}: {} bytes", arguments.name, arguments.other,
                    bytes.size()));
  } else {
    WriteCollectionFile(arguments.other, bytes);
  }
  return kExitResults;
}

ExitCode ImportStream(const Arguments& arguments, Console& console) {
  Store store = OpenStore(arguments, StoreUse::kWrite, console);
  const Collection collection = ReadCollectionFile(arguments.other);
  const char* own_name = "";
  if (arguments.collection) {
    Check(trova_playlist_collection_update_name(collection.get(), arguments.collection->c_str()),
          "rename the collection");
  }
  Check(trova_playlist_collection_get_name(collection.get(), &own_name), "read a name");
  const std::string name = own_name;
  if (name.empty()) throw CommandError("the collection has no name; give it one: --collection");
  if (!arguments.dry_run) {
    if (IsStored(name)) {
      Confirm(fmt::format("Replace the collection \"{}\" that is stored?", name), arguments.yes);
    }
    const Store::Locked locked = store.Lock(name);
    store.Replace(name, collection, [](std::int64_t) {});
  }
  Say(fmt::format("{}: {}{} tracks", name, arguments.dry_run ? "would have " : "",
                  CountTracks(collection.get())));
  return kExitResults;
}

using Run = ExitCode (*)(const Arguments& arguments, Console& console);
using Values = std::shared_ptr<Arguments>;

CLI::App& DefineOne(CLI::App& options, const Values& values, const char* name, const char* summary,
                    Run run) {
  CLI::App* const one = options.add_subcommand(name, summary);
  values->store.Define(*one);
  one->final_callback([values, run] { values->run = run; });
  return *one;
}

void DefineDryRun(CLI::App& options, const Values& values) {
  options.add_flag("--dry-run", values->dry_run, "Say what would be done, and do nothing");
}

void DefineYes(CLI::App& options, const Values& values) {
  options.add_flag("--yes", values->yes, "Do not ask");
}

}  // namespace

Action DefineCollections(CLI::App& options) {
  const auto values = std::make_shared<Arguments>();
  options.require_subcommand(1);
  DefineOne(options, values, "ls", "List the collections", ListAll);

  CLI::App& show = DefineOne(options, values, "show", "Say how large a collection is", ShowOne);
  show.add_option("NAME", values->collection, "Collection; else the default one");

  CLI::App& rename = DefineOne(options, values, "rename", "Give a collection another name", Rename);
  rename.add_option("NAME", values->name, "Collection")->required();
  rename.add_option("NEW_NAME", values->other, "Its new name")->required();
  DefineDryRun(rename, values);

  CLI::App& remove = DefineOne(options, values, "rm", "Remove a collection", Remove);
  remove.add_option("NAME", values->name, "Collection")->required();
  DefineYes(remove, values);
  DefineDryRun(remove, values);

  CLI::App& write = DefineOne(options, values, "export", "Write a collection to a file", Export);
  write.add_option("NAME", values->name, "Collection")->required();
  write.add_option("FILE", values->other, "File to write, or - for stdout")->required();
  DefineDryRun(write, values);

  CLI::App& read =
      DefineOne(options, values, "import", "Store a collection that was exported", ImportStream);
  read.add_option("FILE", values->other, "File to read, or - for stdin")->required();
  read.add_option("--collection", values->collection, "Name for it, in place of its own");
  DefineYes(read, values);
  DefineDryRun(read, values);
  return [values](Console& console) { return values->run(*values, console); };
}

}  // namespace trova_cli
