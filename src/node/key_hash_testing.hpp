// A testing hook of the child lists' key index; not installed.
#pragma once

#include "tympora/node/key_hash.hpp"

namespace tympora::testing_hooks {

// Testing only: lists made from now on take `seed` instead of the process's
// random seed (nullptr restores it), so that a test can compute keys that
// collide. Lists made before keep theirs. Call it while no other thread
// makes lists.
void SetListSeed(const key_index::KeySeed* seed) noexcept;

}  // namespace tympora::testing_hooks
