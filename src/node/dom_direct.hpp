// The direct road of a parse.
//
// Nearly every document is in a common form: elements, attributes, text,
// the five predefined entities and character references, comments, CDATA
// sections and processing instructions, and no DOCTYPE. A document in that
// form is checked for well-formedness in one pass and kept as its text: the
// record import reads the text where it stands, and the tree is built from
// the same text only when something else asks the DOM for it (see
// DocImpl::direct). Any other document takes the parser's road.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tympora/node/dom.hpp"

namespace tympora::detail {

// Checks `text`, which is UTF-8 whose every character XML allows. True when
// it is a well-formed document of the common form that the parser would
// accept and read into the tree DirectElement shows, with no text that
// turns blank only once its references are resolved; `root` receives the
// offset of the document element's '<'. False says only "not of that
// form": the parser's road then accepts or refuses the document with its
// reason. Linear in the length; never allocates for fewer than 9
// attributes in a tag.
bool CheckDirect(std::string_view text, size_t& root) noexcept;

// When `node` is the document element of a document kept as text whose
// tree is not built, its text and the offset of its '<'; false otherwise.
bool DirectRoot(const DOMNode& node, std::string_view& text, size_t& root) noexcept;

// An element of a document that CheckDirect accepted, read in its text.
// Its members answer as ElementView's (dom_walk.hpp) answer on the tree
// built from the same text, so that the record import reads either alike.
class DirectElement {
 public:
  // The element whose '<' is at offset `start` of `text`.
  DirectElement(std::string_view text, size_t start) noexcept;

  // True when the qualified name is exactly `name`.
  bool NameIs(std::string_view name) const noexcept;
  // The element name after any prefix.
  std::string_view LocalName() const noexcept;
  // True exactly when the element has an attribute "null" whose value is "true".
  bool IsNullMarked() const;
  // The value of the attribute `name`, its references resolved, in
  // `value` (pointing into the text or into `scratch`); false when absent.
  bool Attribute(std::string_view name, std::string_view& value, std::string& scratch) const;
  // Always true: the direct road reads elements only.
  bool IsElement() const noexcept { return true; }
  // The element's text: every text and CDATA section below it, in order,
  // references resolved and line ends made LF; text that is only white
  // space between two pieces of markup counts for nothing. Points into the
  // document where it can, else into `scratch`.
  std::string_view Text(std::string& scratch) const;
  // The absent node: the direct road is never taken by an observed import,
  // the one reader of handles.
  DOMNode Handle() const noexcept { return {}; }
  // The byte offset of the element's name in the text.
  int64_t SourceOffset() const noexcept { return static_cast<int64_t>(start_ + 1); }

  // Calls `visit(child)` for every child element, in document order.
  template <class Visit>
  void ForEachChildElement(Visit&& visit) const;

 private:
  // The offset after the end of the element, found when first needed.
  size_t End() const noexcept;
  // The offset of the next '<' at or after `at`; the text has one.
  size_t NextMarkup(size_t at) const noexcept;
  // The offset after the comment, CDATA section or instruction at `at`,
  // or 0 when `at` starts an element or an end tag.
  size_t SkipOther(size_t at) const noexcept;
  // The offset after the end tag at `at`, and after this element's own end
  // tag at `at`.
  size_t AfterEndTag(size_t at) const noexcept;
  size_t AfterOwnEndTag(size_t at) const noexcept;
  // Appends the text of the content from `at` to the end tag that closes
  // this element to `out`, and sets end_.
  void AppendContentText(size_t at, std::string& out) const;

  std::string_view text_;
  size_t start_;        // the '<' of the start tag
  size_t name_end_;     // the offset after the qualified name
  size_t tag_end_;      // the offset after the start tag
  mutable size_t end_;  // the offset after the element; 0 until known
};

template <class Visit>
void DirectElement::ForEachChildElement(Visit&& visit) const {
  if (end_ == tag_end_) return;  // written <name/>
  for (size_t at = tag_end_;;) {
    at = NextMarkup(at);
    if (text_[at + 1] == '/') {
      end_ = AfterOwnEndTag(at);
      return;
    }
    if (const size_t after = SkipOther(at)) {
      at = after;
      continue;
    }
    const DirectElement child(text_, at);
    visit(child);
    at = child.End();
  }
}

}  // namespace tympora::detail
