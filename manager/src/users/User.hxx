// User: who playlists are made for; a name behind a handle.
#ifndef TROVA_MANAGER_USERS_USER_HXX
#define TROVA_MANAGER_USERS_USER_HXX

#include <cstdint>

#include "trova_manager_services.h"

namespace trova {

// First word of a trova_user.
inline constexpr uint32_t kUserMagic = 0x05e4a11e;

const trova_userinfo_interface& user_service_table() noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_USERS_USER_HXX
