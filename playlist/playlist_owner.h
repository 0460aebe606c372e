// playlist_owner: gives an object back when its scope ends, unless take() handed it over.
#ifndef PLAYLIST_OWNER_H
#define PLAYLIST_OWNER_H

// `release` accepts the pointer that is owned and is never called for null.
template <typename T, auto release>
class PlaylistOwner {
 public:
  PlaylistOwner() = default;
  explicit PlaylistOwner(T* object) : object_(object) {}
  ~PlaylistOwner() { reset(); }
  PlaylistOwner(const PlaylistOwner&) = delete;
  PlaylistOwner& operator=(const PlaylistOwner&) = delete;

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  // Where a function writes the object that it makes. Nothing may be owned yet.
  T** out() { return &object_; }

  T* take() {
    T* const object = object_;
    object_ = nullptr;
    return object;
  }

  void reset() {
    if (object_ != nullptr) release(object_);
    object_ = nullptr;
  }

 private:
  T* object_ = nullptr;
};

#endif  // PLAYLIST_OWNER_H
