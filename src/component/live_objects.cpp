// The process-wide count of live objects: every Object counts itself from
// construction to destruction. The library may be unloaded when it is 0.
#include <atomic>

#include "tympora/node/object.hpp"

namespace tympora {
namespace {

std::atomic<long> live_objects{0};

}  // namespace

Object::Object() noexcept { live_objects.fetch_add(1, std::memory_order_relaxed); }

Object::Object(const Object&) noexcept { live_objects.fetch_add(1, std::memory_order_relaxed); }

Object::~Object() { live_objects.fetch_sub(1, std::memory_order_acq_rel); }

long Object::LiveCount() noexcept { return live_objects.load(std::memory_order_acquire); }

}  // namespace tympora
