// Record ids chosen against a known seed of the child lists' key index: what
// a file could hold if an attacker knew the seed. Shared by the tests and the
// key-index benchmark.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "node/key_hash_testing.hpp"

namespace tympora::testing {

// The first `count` ids from 1 up whose keys (decimal text) hash under `seed`
// into the first `window` slots of an index of 2^`table_bits` slots (and of
// every smaller one of at least `window` slots), so that linear probing walks
// one run holding every key. Costs about count * 2^table_bits / window hashes.
inline std::vector<int32_t> CollidingIds(const key_index::KeySeed& seed, size_t count,
                                         int table_bits, uint64_t window) {
  const uint64_t mask = (uint64_t{1} << table_bits) - 1;
  std::vector<int32_t> ids;
  ids.reserve(count);
  for (int32_t id = 1; ids.size() < count && id < INT32_MAX; ++id) {
    if ((key_index::KeyHash(seed, std::to_string(id)) & mask) < window) ids.push_back(id);
  }
  return ids;
}

}  // namespace tympora::testing
