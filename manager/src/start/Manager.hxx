// Manager: start and stop, and the handle that the playlist library is given.
#ifndef TROVA_MANAGER_START_MANAGER_HXX
#define TROVA_MANAGER_START_MANAGER_HXX

namespace trova {

// What makes objects needs a running manager; what reads and releases them does not.
bool manager_runs() noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_START_MANAGER_HXX
