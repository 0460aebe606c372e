// HandleService: the handle manager's table.
#include "handles/HandleService.hxx"

#include "handles/Registry.hxx"
#include "objects/DataObject.hxx"
#include "users/User.hxx"
#include "util/Guard.hxx"

namespace trova {

namespace {

uint32_t release(void*) noexcept {
  return 0;
}

uint32_t handle_add(void* object) noexcept {
  return guard([&] { return handles::add_foreign(object); });
}

uint32_t handle_remove(void* object) noexcept {
  return handles::remove_foreign(object);
}

uint32_t handle_validate(const void* handle, uint32_t magic) noexcept {
  return handles::validate_foreign(handle, magic);
}

uint32_t handle_validate_user(const trova_user* user) noexcept {
  return handles::check(user, kUserMagic);
}

uint32_t handle_validate_object(const trova_gdo* object) noexcept {
  return check_object(object);
}

constexpr trova_handlemanager_interface kTable = {
    .release = release,
    .handle_add = handle_add,
    .handle_remove = handle_remove,
    .handle_validate = handle_validate,
    .unused4 = nullptr,
    .handle_validate_user = handle_validate_user,
    .handle_validate_object = handle_validate_object,
};

}  // namespace

const trova_handlemanager_interface& handle_service_table() noexcept {
  return kTable;
}

}  // namespace trova
