// ErrorInfo: each thread's last error.
#ifndef TROVA_MANAGER_ERRORS_ERROR_INFO_HXX
#define TROVA_MANAGER_ERRORS_ERROR_INFO_HXX

#include "trova_manager_services.h"

namespace trova {

const trova_errorinfo_interface& error_service_table() noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_ERRORS_ERROR_INFO_HXX
