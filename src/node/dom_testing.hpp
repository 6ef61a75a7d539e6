// Testing only (not installed): fault injection for the memory of the XML
// DOM, which tests use to prove that an export or import that runs out of
// memory in the DOM reports error 7 and leaks nothing; and a switch of the
// parse's direct road, so that tests can compare both roads. Not for use in
// a host.
#pragma once

namespace tympora::testing_hooks {

// The question asked before every allocation the DOM makes: returning true
// makes that allocation fail as if memory were exhausted.
using DomAllocationHook = bool (*)() noexcept;

// Installs `hook` (nullptr removes it). Process-wide; call it while no other
// thread uses the DOM. Allocations are otherwise served as usual.
void SetDomAllocationHook(DomAllocationHook hook) noexcept;

// Lets a parse keep documents of the common form as text (the default) or
// sends every document through the parser. Process-wide.
void SetDirectRoad(bool enabled) noexcept;
// Whether the direct road is open.
bool DirectRoad() noexcept;

}  // namespace tympora::testing_hooks
