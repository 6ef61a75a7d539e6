// Testing only (not installed): fault injection for the memory of the XML DOM. Tests use it
// to prove that an export or import that runs out of memory in the DOM
// reports error 7 and leaks nothing. Not for use in a host.
#pragma once

namespace tympora::testing_hooks {

// The question asked before every allocation the DOM makes: returning true
// makes that allocation fail as if memory were exhausted.
using DomAllocationHook = bool (*)() noexcept;

// Installs `hook` (nullptr removes it). Process-wide; call it while no other
// thread uses the DOM. Allocations are otherwise served as usual.
void SetDomAllocationHook(DomAllocationHook hook) noexcept;

}  // namespace tympora::testing_hooks
