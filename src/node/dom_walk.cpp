// The child-element walk of the record import, straight on the tree.
#include "node/dom_walk.hpp"

#include <cstring>

#include "node/dom_internal.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/import_observer.hpp"

namespace tympora::detail {
namespace {

// `n` or its first following sibling that is an element; the null node
// (whose type is node_null) when there is none.
pugi::xml_node ElementFrom(pugi::xml_node n) noexcept {
  for (pugi::xml_node_type t; (t = n.type()) != pugi::node_element; n = n.next_sibling()) {
    if (t == pugi::node_null) break;
  }
  return n;
}

// The value of the attribute `name` of the element `node`, or nullptr.
// Most elements have no attribute at all: one step tells.
const char* AttributeValue(pugi::xml_node node, std::string_view name) noexcept {
  for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
    if (name == a.name()) return a.value();
  }
  return nullptr;
}

}  // namespace

ElementView ElementView::Of(const DOMNode& node) {
  if (!node) RaisePlatformError(kErrObjectNotSet);
  void* raw = DocImpl::Resolve(node);
  return ElementView(&node, raw, DocImpl::DocOf(node)->embedded);
}

void* ElementView::FirstChild(void* node) noexcept {
  if (IsAttrHandle(node)) return nullptr;  // an attribute holds no elements
  return ElementFrom(FirstVisibleChild(NodeOf(node))).internal_object();
}

void* ElementView::NextSibling(void* node) noexcept {
  return ElementFrom(NodeOf(node).next_sibling()).internal_object();
}

bool ElementView::IsElement() const noexcept {
  return !IsAttrHandle(node_) && NodeOf(node_).type() == pugi::node_element;
}

bool ElementView::Attribute(std::string_view name, std::string_view& value,
                            std::string&) const noexcept {
  const char* found = IsElement() ? AttributeValue(NodeOf(node_), name) : nullptr;
  if (found != nullptr) value = found;
  return found != nullptr;
}

const char* ElementView::RawName() const noexcept { return NodeOf(node_).name(); }

bool ElementView::NameIs(std::string_view name) const noexcept {
  const char* raw = RawName();
  for (const char c : name) {
    if (*raw++ != c) return false;  // also stops at the end of a shorter name
  }
  return *raw == 0;
}

std::string_view ElementView::LocalName() const noexcept {
  const char* name = RawName();
  const char* colon = std::strrchr(name, ':');
  return colon ? std::string_view(colon + 1) : std::string_view(name);
}

bool ElementView::IsNullMarked() const noexcept {
  const char* flag = AttributeValue(NodeOf(node_), "null");
  return flag != nullptr && std::strcmp(flag, "true") == 0;
}

std::string_view ElementView::Text(std::string& scratch) const {
  const pugi::xml_node n = NodeOf(node_);
  const pugi::xml_node first = n.first_child();
  // Text kept in the element is read there when it is all there is. Kept
  // text before more content takes the general road; once that road has
  // given every text its node, element values are stale and ignored.
  const char* kept = embedded_ ? n.value() : "";
  if (*kept != 0 && !first) return kept;
  if (*kept == 0 || !DocImpl::DocOf(*origin_)->embedded) {
    if (!first) return {};
    if (!first.next_sibling() && first.type() == pugi::node_pcdata) return first.value();
  }
  scratch = Handle().text();
  return scratch;
}

int64_t ElementView::SourceOffset() const noexcept {
  if (IsAttrHandle(node_)) return -1;
  return static_cast<int64_t>(NodeOf(node_).offset_debug());
}

DOMNode ElementView::Handle() const { return DocImpl::MakeNode(DocImpl::DocOf(*origin_), node_); }

}  // namespace tympora::detail

namespace tympora {

int64_t SourceOffset(const DOMNode& node) noexcept {
  if (!node) return -1;
  return detail::ElementView::Of(node).SourceOffset();
}

}  // namespace tympora
