// SpinLock: a one-byte lock for sections of a few nanoseconds.
#ifndef TROVA_MANAGER_UTIL_SPIN_LOCK_HXX
#define TROVA_MANAGER_UTIL_SPIN_LOCK_HXX

#include <atomic>
#include <chrono>
#include <thread>

namespace trova {

class SpinLock {
 public:
  void lock() noexcept {
    while (locked_.exchange(true, std::memory_order_acquire)) wait();
  }
  void unlock() noexcept { locked_.store(false, std::memory_order_release); }

 private:
  // Sleeps where spinning does not help: the holder may have a lower priority and one core to run.
  // Apart from its callers, which are short and mostly find the lock free.
  [[gnu::cold, gnu::noinline]] void wait() const noexcept {
    constexpr int kSpins = 200;
    for (int spin = 0; spin < kSpins; ++spin) {
      if (!locked_.load(std::memory_order_relaxed)) return;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(20));
  }

  std::atomic<bool> locked_ = false;
};

}  // namespace trova

#endif  // TROVA_MANAGER_UTIL_SPIN_LOCK_HXX
