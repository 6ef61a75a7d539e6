// An optional observer of the record import: told of every value, id and
// element that an import passes over, so that a tool can show what a file
// lost. The import's records and status are the same with and without one.
#pragma once

#include <cstdint>
#include <string_view>

#include "tympora/export.h"
#include "tympora/node/dom.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/status.hpp"

namespace tympora {

// Why the import passed over an element or a value.
enum class ImportDrop : int32_t {
  UnknownElement,  // no property or child list of the record has this name
  NotANumber,      // the text of a numeric element is not a number
  NotADate,        // the text of a date element is not a date
  Rejected,        // a number the property's setter refuses (a Frequency out of range ...)
  BadId,           // the id attribute is missing, blank or not a number
  NullRecord,      // a child record element marked null="true", which is skipped
};

// One thing the import passed over.
struct ImportEvent {
  ImportDrop kind;
  DOMNode element;          // the element passed over (for BadId: the record's element)
  std::string_view record;  // the element name of the record being read ("Curve")
  std::string_view name;    // the element's local name ("Frequency"; "id" for BadId)
  std::string_view text;    // the text that was not read (empty for elements)
  int64_t offset;           // byte offset of the element's name in the parsed text, or -1
};

// Receives the events of an observed import, in document order.
class TYMPORA_API ImportObserver {
 public:
  virtual ~ImportObserver() = default;
  // Called once per event; `event.name` and `event.text` are valid during
  // the call only. What it raises ends the import with that failure.
  virtual void Dropped(const ImportEvent& event) = 0;
};

// Runs `record.ImportXMLNode(node)` on this thread with `observer` told of
// every event, and returns the import's status unchanged (null on success).
// The observer is borrowed for the call only; a nested call replaces it for
// its duration.
TYMPORA_API StatusPtr ImportXMLNodeObserved(CNode& record, DOMNode& node, ImportObserver& observer);

// The byte offset in the parsed text where `node` was read: an element's
// name, a text's first character; -1 for the absent node and for a node the
// parse did not make. Lines and columns follow from the text the parser
// read (the file as UTF-8, after any byte-order mark).
TYMPORA_API int64_t SourceOffset(const DOMNode& node) noexcept;

namespace detail {
// The observer of the import running on this thread, or nullptr.
ImportObserver* CurrentImportObserver() noexcept;
}  // namespace detail

}  // namespace tympora
