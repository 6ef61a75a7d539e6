// The keyed hash of the child lists' key index.
//
// Keys come from files (record ids as text), so the hash must not let a file
// choose keys that all land in one place of the index: it is SipHash-1-3
// under a 128-bit seed drawn once per process from the kernel's random
// source. Each list copies the seed when it is made and keeps it for life.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>

#include "tympora/export.h"

namespace tympora {
namespace key_index {

struct KeySeed {
  uint64_t k0 = 0;
  uint64_t k1 = 0;
};

// The seed a new list takes: the process's random seed, or the one a test
// installed. Never fails; without a kernel random source the seed is mixed
// from the clock, the process id and addresses.
TYMPORA_API KeySeed NewListSeed() noexcept;

namespace siphash {

inline void Round(uint64_t& v0, uint64_t& v1, uint64_t& v2, uint64_t& v3) noexcept {
  v0 += v1;
  v1 = std::rotl(v1, 13) ^ v0;
  v0 = std::rotl(v0, 32);
  v2 += v3;
  v3 = std::rotl(v3, 16) ^ v2;
  v0 += v3;
  v3 = std::rotl(v3, 21) ^ v0;
  v2 += v1;
  v1 = std::rotl(v1, 17) ^ v2;
  v2 = std::rotl(v2, 32);
}

}  // namespace siphash

// SipHash-1-3 of `key` under `seed`, words read little endian.
inline uint64_t KeyHash(const KeySeed& seed, std::string_view key) noexcept {
  uint64_t v0 = seed.k0 ^ 0x736f6d6570736575ull;
  uint64_t v1 = seed.k1 ^ 0x646f72616e646f6dull;
  uint64_t v2 = seed.k0 ^ 0x6c7967656e657261ull;
  uint64_t v3 = seed.k1 ^ 0x7465646279746573ull;
  const auto* p = reinterpret_cast<const unsigned char*>(key.data());
  const size_t whole = key.size() & ~size_t{7};
  for (size_t i = 0; i < whole; i += 8) {
    uint64_t m = 0;
    for (int b = 7; b >= 0; --b) m = (m << 8) | p[i + static_cast<size_t>(b)];
    v3 ^= m;
    siphash::Round(v0, v1, v2, v3);
    v0 ^= m;
  }
  uint64_t last = static_cast<uint64_t>(key.size()) << 56;
  for (size_t i = key.size(); i > whole; --i) last |= uint64_t{p[i - 1]} << (8 * (i - 1 - whole));
  v3 ^= last;
  siphash::Round(v0, v1, v2, v3);
  v0 ^= last;
  v2 ^= 0xff;
  for (int i = 0; i < 3; ++i) siphash::Round(v0, v1, v2, v3);
  return v0 ^ v1 ^ v2 ^ v3;
}

}  // namespace key_index

}  // namespace tympora
