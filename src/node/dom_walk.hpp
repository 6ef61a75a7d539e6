// A fast walk over the child elements of a node, for the record import.
//
// The walk sees the same children, names, null marks and texts as
// childNodes().item(i), baseName, IsNullNode and text, without making a
// handle, a name string or a text copy for each child, and it reads the
// texts that a parse kept inside their elements (see ParseMode) where they
// are. The DOM does not change during an import, so visiting the siblings
// in order is the same as fetching each position afresh.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tympora/node/dom.hpp"

namespace tympora::detail {

// A node during the walk; valid while the handle it was made from lives.
class ElementView {
 public:
  // The view of `node`; raises 91 for an absent handle. A document element
  // that the direct road kept as text gets its tree first (raising 7 when
  // memory runs out). `node` must outlive the view and every view of its
  // descendants.
  static ElementView Of(const DOMNode& node);

  // The qualified name, prefix included.
  const char* RawName() const noexcept;
  // True when the qualified name is exactly `name`.
  bool NameIs(std::string_view name) const noexcept;
  // The local name: the element name after any prefix.
  std::string_view LocalName() const noexcept;
  // True exactly when the element has an attribute "null" whose value is "true".
  bool IsNullMarked() const noexcept;
  // The value of the attribute `name` in `value` (`scratch` is not needed
  // here: the tree holds values resolved); false when the node is no
  // element or has no such attribute.
  bool Attribute(std::string_view name, std::string_view& value,
                 std::string& scratch) const noexcept;
  // True for an element (not an attribute, text or document node).
  bool IsElement() const noexcept;
  // The element's text (its text and CDATA descendants, references
  // resolved). Points into the tree where it can; else into `scratch`.
  std::string_view Text(std::string& scratch) const;
  // A handle of the node, for the general DOM road.
  DOMNode Handle() const;
  // The byte offset of the element's name in the text that was parsed, or -1
  // when the tree does not know it (a node made by createElement).
  int64_t SourceOffset() const noexcept;

  // Calls `visit(child)` for every child element, in document order; text,
  // comments and other nodes are passed over. Whatever `visit` raises ends
  // the walk.
  template <class Visit>
  void ForEachChildElement(Visit&& visit) const;

 private:
  ElementView(const DOMNode* origin, void* node, bool embedded) noexcept
      : origin_(origin), node_(node), embedded_(embedded) {}
  static void* FirstChild(void* node) noexcept;
  static void* NextSibling(void* node) noexcept;

  const DOMNode* origin_;  // a handle of the same document
  void* node_;
  bool embedded_;  // the tree holds embedded text (read when the view was made)
};

template <class Visit>
void ElementView::ForEachChildElement(Visit&& visit) const {
  for (void* n = FirstChild(node_); n != nullptr; n = NextSibling(n)) {
    visit(ElementView(origin_, n, embedded_));
  }
}

}  // namespace tympora::detail
