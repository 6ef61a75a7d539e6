// The thread's import observer: set for the length of one observed import.
#include "tympora/node/import_observer.hpp"

namespace tympora {
namespace {
thread_local ImportObserver* current_observer = nullptr;
}

namespace detail {
ImportObserver* CurrentImportObserver() noexcept { return current_observer; }
}  // namespace detail

StatusPtr ImportXMLNodeObserved(CNode& record, DOMNode& node, ImportObserver& observer) {
  struct Restore {
    ImportObserver* previous;
    ~Restore() { current_observer = previous; }
  } restore{current_observer};
  current_observer = &observer;
  return record.ImportXMLNode(node);
}

}  // namespace tympora
