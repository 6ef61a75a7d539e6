// A fast walk over the child elements of a node, for the record import.
//
// The walk sees the same children, names, null marks and texts as
// childNodes().item(i), baseName, IsNullNode and text, without making a
// handle, a name string or a text copy for each child. The DOM does not
// change during an import, so visiting the siblings in order is the same as
// fetching each position afresh.
#pragma once

#include <string>
#include <string_view>

#include "tympora/node/dom.hpp"

namespace tympora::detail {

// One child element during the walk; valid only inside the visitor's call.
class ElementView {
 public:
  // The local name: the element name after any prefix.
  std::string_view LocalName() const noexcept;
  // True exactly when the element has an attribute "null" whose value is "true".
  bool IsNullMarked() const noexcept;
  // The element's text (its text and CDATA descendants, references
  // resolved). Points into the tree where it can; else into `scratch`.
  std::string_view Text(std::string& scratch) const;
  // A handle of the element, for a child record's own import.
  DOMNode Handle() const;

 private:
  friend struct ElementWalk;
  const DOMNode* parent_ = nullptr;
  void* node_ = nullptr;
};

// The value of the attribute `name` of the element `node` in `value`; false
// when `node` is no element (the caller then takes the general road) or has
// no such attribute.
bool ElementAttribute(const DOMNode& node, const char* name, std::string_view& value,
                      bool& is_element);

// Calls `visit(element)` for every child element of `parent`, in document
// order; text, comments and other nodes are passed over. Raises 91 for an
// absent parent. Whatever `visit` raises ends the walk.
template <class Visit>
void ForEachChildElement(const DOMNode& parent, Visit&& visit);

struct ElementWalk {
  // First and next child element of a node, or nullptr.
  static void* First(const DOMNode& parent);
  static void* Next(void* node) noexcept;
  static ElementView View(const DOMNode& parent, void* node) noexcept {
    ElementView v;
    v.parent_ = &parent;
    v.node_ = node;
    return v;
  }
};

template <class Visit>
void ForEachChildElement(const DOMNode& parent, Visit&& visit) {
  for (void* n = ElementWalk::First(parent); n != nullptr; n = ElementWalk::Next(n)) {
    visit(ElementWalk::View(parent, n));
  }
}

}  // namespace tympora::detail
