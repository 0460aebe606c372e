// playlist_collection: idents with the values that each attribute captured for them.
#ifndef PLAYLIST_COLLECTION_H
#define PLAYLIST_COLLECTION_H

#include <cstddef>
#include <cstdint>

#include "playlist_attributes.h"
#include "playlist_owner.h"
#include "trova_playlist.h"
#include "vrel_hashtable.h"
#include "vrel_layout.h"
#include "vrel_stringtable.h"
#include "vrel_thread.h"
#include "vrel_vector2.h"

// Value kinds.
constexpr uint32_t kValueInteger = 0;
constexpr uint32_t kValueString = 1;

// One captured value of one ident.
struct ValueEntry {
  uint32_t kind;   // kValueInteger or kValueString
  uint32_t value;  // the integer, or the id of the string in the collection's `values`
  uint32_t ident;  // id of the ident in the collection's `idents`
};
static_assert(sizeof(ValueEntry) == 12, "value entries are twelve bytes everywhere");
static_assert(offsetof(ValueEntry, value) == 4 && offsetof(ValueEntry, ident) == 8,
              "kind, value, ident");

struct ValueColumn;

// One attribute of a collection.
struct AttributeInfo {
  const AttributeProvider* provider;  // borrowed from the registry
  vrel_vector2* values;               // of ValueEntry, in the order of capture until first sorted
  ValueColumn* column;                // of the values as they stand, owned; null until asked for
  bool sorted;                        // by ident, through playlist_attrinfo_sort
};
VREL_LAYOUT_FIELD(AttributeInfo, provider, 0);
VREL_LAYOUT_FIELD(AttributeInfo, values, 4);

// Every field is guarded by `lock`; the reference count too. Lock order: a thread holds one
// collection's lock at most, before the key map's, those of the manager behind its slots, and those
// of the application in its callbacks; none of them may wait for a collection.
struct trova_playlist_collection {
  uint32_t magic;  // kCollectionMagic
  vrel_critsec* lock;
  uint32_t refcount;
  vrel_hashtable* attributes;  // name to AttributeInfo*, owned
  vrel_stringtable* idents;
  vrel_stringtable* values;    // the string values of all attributes
  void* load_buffer;           // names that a stream reader met, owned; null when none did
  char* name;                  // owned
  char* stored_name;           // name in the store, owned; null until stored or loaded
  vrel_stringtable* sync_new;  // reported idents that are not held; null while not reporting
  vrel_vector2* sync_present;  // ids of reported idents that are held; null while not reporting
};
using Collection = trova_playlist_collection;

VREL_LAYOUT_SIZE(Collection, 44);
VREL_LAYOUT_FIELD(Collection, magic, 0);
VREL_LAYOUT_FIELD(Collection, lock, 4);
VREL_LAYOUT_FIELD(Collection, refcount, 8);
VREL_LAYOUT_FIELD(Collection, attributes, 12);
VREL_LAYOUT_FIELD(Collection, idents, 16);
VREL_LAYOUT_FIELD(Collection, values, 20);
VREL_LAYOUT_FIELD(Collection, load_buffer, 24);
VREL_LAYOUT_FIELD(Collection, name, 28);
VREL_LAYOUT_FIELD(Collection, stored_name, 32);
VREL_LAYOUT_FIELD(Collection, sync_new, 36);
VREL_LAYOUT_FIELD(Collection, sync_present, 40);
static_assert(offsetof(Collection, magic) == 0, "the handle manager reads the first word");

// Holds a collection's lock; a collection without one is used unlocked.
class CollectionLock {
 public:
  explicit CollectionLock(Collection* collection) : lock_(collection->lock) {
    if (lock_ != nullptr) static_cast<void>(vrel_thread_critsec_enter(lock_));
  }
  ~CollectionLock() { leave(); }
  CollectionLock(const CollectionLock&) = delete;
  CollectionLock& operator=(const CollectionLock&) = delete;

  void leave() {
    if (lock_ != nullptr) static_cast<void>(vrel_thread_critsec_leave(lock_));
    lock_ = nullptr;
  }

 private:
  vrel_critsec* lock_;
};

// An empty, nameless collection without attributes, of one reference.
uint32_t playlist_collection_create(Collection** out_collection);

// Frees everything at once, whatever the reference count. Null is accepted.
void playlist_collection_delete(Collection* collection);

// Counts references. The release that reaches zero deletes, without asking the handle manager.
uint32_t playlist_collection_addref(Collection* collection);
uint32_t playlist_collection_release(Collection* collection);
using CollectionOwner = PlaylistOwner<Collection, playlist_collection_release>;

// As playlist_collection_release, and takes the handle out of the handle manager before the
// collection goes: for references that may outlive the application's.
uint32_t playlist_collection_release_handle(Collection* collection);
// What that does with a collection that nobody has a reference on any more.
uint32_t playlist_collection_end(Collection* collection);

// Holds a reference and the lock of a collection while the application may be called back: what it
// does there may take the application's own reference away.
class CollectionHold {
 public:
  explicit CollectionHold(Collection* collection) : collection_(collection), lock_(collection) {
    ++collection->refcount;
  }
  ~CollectionHold() { static_cast<void>(end()); }
  CollectionHold(const CollectionHold&) = delete;
  CollectionHold& operator=(const CollectionHold&) = delete;

  // Gives both back. What the handle manager says when that was the last reference.
  uint32_t end() {
    if (collection_ == nullptr) return 0;
    const bool is_last = --collection_->refcount == 0;
    lock_.leave();
    const uint32_t code = is_last ? playlist_collection_end(collection_) : 0;
    collection_ = nullptr;
    return code;
  }

 private:
  Collection* collection_;
  CollectionLock lock_;
};

// Makes the handle manager know a new collection; deletes it when that fails. Either way the
// caller's pointer is handed over.
uint32_t playlist_collection_publish(Collection* collection, Collection** out_collection);

// An empty attribute that belongs to no collection yet.
uint32_t playlist_attrinfo_create(const AttributeProvider* provider, AttributeInfo** out_info);

// Gives the attribute to the collection, where it replaces one of that name. The name is copied.
// After a failure the attribute is still the caller's.
uint32_t playlist_collection_adopt_attribute(Collection* collection, const char* name,
                                             AttributeInfo* info);

// The functions below expect the caller to hold collection->lock.

// Looks an attribute up by name, letter case ignored.
uint32_t playlist_collection_get_attrinfo(Collection* collection, const char* attribute_name,
                                          AttributeInfo** out_info);

// The attribute at an index of the collection's enumeration.
uint32_t playlist_collection_attrinfo_at(Collection* collection, uint32_t index,
                                         AttributeInfo** out_info);

// Blanks an ident and deletes all its value entries.
uint32_t playlist_collection_remove_ident(Collection* collection, const char* ident);

// How long the text of all idents may be before no ident is added to it. Playlists and
// synchronising order ids by a difference that is taken as signed, which is right for ids below
// 2^31.
constexpr uint32_t kMostIdentText = INT32_MAX;

// Interns an ident, and gives a removed one its text back.
uint32_t playlist_collection_intern_ident(Collection* collection, const char* ident,
                                          uint32_t* out_id);

// Gives a removed ident, whose text was blanked, its text back under its old id.
uint32_t playlist_collection_revive_ident(Collection* collection, uint32_t id, const char* ident);

// Orders value entries by ident, the larger id first.
#pragma GCC visibility push(hidden)
int32_t playlist_attrdata_compare_ident(const void* a, const void* b, uint32_t size);
#pragma GCC visibility pop

// Sorts the values by playlist_attrdata_compare_ident, unless they are. They stay sorted: from then
// on entries are added at their place.
uint32_t playlist_attrinfo_sort(AttributeInfo* info);

// To be called with every change of the values.
void playlist_attrinfo_values_changed(AttributeInfo* info);

// Finds the first entry of an ident in a vector that is sorted by playlist_attrdata_compare_ident.
uint32_t playlist_attrdata_find_ident(vrel_vector2* values, uint32_t ident, uint32_t* out_index);

// Deletes an AttributeInfo; the release operation of a collection's `attributes`.
void _playlist_attrinfo_delete(void* info, uint32_t size);

inline void playlist_attrinfo_delete(AttributeInfo* info) {
  _playlist_attrinfo_delete(info, sizeof *info);
}
using AttributeInfoOwner = PlaylistOwner<AttributeInfo, playlist_attrinfo_delete>;

#endif  // PLAYLIST_COLLECTION_H
