// The process's seed for the child lists' key index, and the test hook that
// replaces it.
#include "node/key_hash_testing.hpp"

#include <sys/random.h>
#include <unistd.h>

#include <atomic>
#include <chrono>

namespace tympora {
namespace key_index {
namespace {

// A 64-bit finaliser, to spread the fallback's weak sources over every bit.
uint64_t Mix(uint64_t x) noexcept {
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
  return x ^ (x >> 31);
}

KeySeed RandomSeed() noexcept {
  KeySeed seed;
  unsigned char bytes[sizeof seed];
  size_t got = 0;
  while (got < sizeof bytes) {
    const ssize_t n = getrandom(bytes + got, sizeof bytes - got, 0);
    if (n <= 0) break;  // no kernel source (or interrupted): fall back below
    got += static_cast<size_t>(n);
  }
  if (got == sizeof bytes) {
    for (size_t i = 0; i < 8; ++i) {
      seed.k0 = (seed.k0 << 8) | bytes[i];
      seed.k1 = (seed.k1 << 8) | bytes[8 + i];
    }
    return seed;
  }
  const auto now =
      static_cast<uint64_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count());
  const int stack_local = 0;
  seed.k0 = Mix(now ^ (static_cast<uint64_t>(getpid()) << 32));
  seed.k1 = Mix(seed.k0 ^ reinterpret_cast<uintptr_t>(&stack_local) ^
                reinterpret_cast<uintptr_t>(&RandomSeed));
  return seed;
}

std::atomic<bool> g_test_seed_set{false};
std::atomic<uint64_t> g_test_k0{0}, g_test_k1{0};

}  // namespace

KeySeed NewListSeed() noexcept {
  if (g_test_seed_set.load(std::memory_order_acquire)) {
    return {g_test_k0.load(std::memory_order_relaxed), g_test_k1.load(std::memory_order_relaxed)};
  }
  static const KeySeed process_seed = RandomSeed();
  return process_seed;
}

}  // namespace key_index

namespace testing_hooks {

void SetListSeed(const key_index::KeySeed* seed) noexcept {
  if (seed) {
    key_index::g_test_k0.store(seed->k0, std::memory_order_relaxed);
    key_index::g_test_k1.store(seed->k1, std::memory_order_relaxed);
  }
  key_index::g_test_seed_set.store(seed != nullptr, std::memory_order_release);
}

}  // namespace testing_hooks
}  // namespace tympora
