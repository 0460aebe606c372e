// User: who playlists are made for; a name behind a handle.
#include "users/User.hxx"

#include <memory>

#include "handles/Registry.hxx"
#include "memory/Allocator.hxx"
#include "start/Manager.hxx"
#include "trova_manager.h"
#include "util/Guard.hxx"

struct trova_user : trova::Counted {
  explicit trova_user(const char* user_name) : name(user_name) {}

  uint32_t magic = trova::kUserMagic;
  trova::String name;
};

namespace trova {

namespace {

uint32_t release(void*) noexcept {
  return 0;
}

constexpr trova_userinfo_interface kTable = {.release = release};

}  // namespace

const trova_userinfo_interface& user_service_table() noexcept {
  return kTable;
}

}  // namespace trova

using namespace trova;

uint32_t trova_manager_user_create(const char* name, trova_user** out_user) {
  return guard_exported(__func__, [&]() -> uint32_t {
    if (name == nullptr || out_user == nullptr) return TROVA_MANAGER_INVALID_ARG;
    if (!manager_runs()) return TROVA_MANAGER_NOT_RUNNING;
    auto user = std::make_unique<trova_user>(name);
    handles::enter(user.get());
    *out_user = user.release();
    return 0;
  });
}

uint32_t trova_manager_user_release(trova_user* user) {
  return guard_exported(__func__, [&]() -> uint32_t {
    if (user == nullptr) return 0;
    if (!handles::leave(user, kUserMagic)) return TROVA_MANAGER_BAD_HANDLE;
    delete user;
    return 0;
  });
}
