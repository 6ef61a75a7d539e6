// The DOM's testing hooks. The allocation hook, for fault-injection tests:
// pugixml takes its memory from two global functions; the hook's versions
// ask the test before each allocation and otherwise do what pugixml's
// defaults do (malloc and free), so blocks allocated before or after a hook
// was set are freed alike.
#include "node/dom_testing.hpp"

#include <pugixml.hpp>

#include <atomic>
#include <cstdlib>

namespace tympora::testing_hooks {
namespace {

std::atomic<DomAllocationHook> g_hook{nullptr};
std::atomic<bool> g_direct_road{true};

void* Allocate(size_t size) {
  const DomAllocationHook hook = g_hook.load(std::memory_order_acquire);
  if (hook && hook()) return nullptr;
  return std::malloc(size);
}

void Deallocate(void* block) { std::free(block); }

}  // namespace

void SetDomAllocationHook(DomAllocationHook hook) noexcept {
  g_hook.store(hook, std::memory_order_release);
  static const bool installed = [] {
    pugi::set_memory_management_functions(&Allocate, &Deallocate);
    return true;
  }();
  (void)installed;
}

void SetDirectRoad(bool enabled) noexcept { g_direct_road.store(enabled); }

bool DirectRoad() noexcept { return g_direct_road.load(std::memory_order_relaxed); }

}  // namespace tympora::testing_hooks
