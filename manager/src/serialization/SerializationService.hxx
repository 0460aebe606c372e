// SerializationService: the table of the serialization service.
#ifndef TROVA_MANAGER_SERIALIZATION_SERIALIZATION_SERVICE_HXX
#define TROVA_MANAGER_SERIALIZATION_SERIALIZATION_SERVICE_HXX

#include "trova_manager_services.h"

namespace trova {

const trova_serialization_interface& serialization_service_table() noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_SERIALIZATION_SERIALIZATION_SERVICE_HXX
