// HandleService: the handle manager's table.
#ifndef TROVA_MANAGER_HANDLES_HANDLE_SERVICE_HXX
#define TROVA_MANAGER_HANDLES_HANDLE_SERVICE_HXX

#include "trova_manager_services.h"

namespace trova {

const trova_handlemanager_interface& handle_service_table() noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_HANDLES_HANDLE_SERVICE_HXX
