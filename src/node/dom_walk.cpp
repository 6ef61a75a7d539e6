// The child-element walk of the record import, straight on the tree.
#include "node/dom_walk.hpp"

#include <cstring>

#include "node/dom_internal.hpp"
#include "tympora/node/error.hpp"

namespace tympora::detail {
namespace {

pugi::xml_node ElementFrom(pugi::xml_node n) noexcept {
  while (n && n.type() != pugi::node_element) n = n.next_sibling();
  return n;
}

}  // namespace

void* ElementWalk::First(const DOMNode& parent) {
  if (!parent) RaisePlatformError(kErrObjectNotSet);
  void* raw = DocImpl::Raw(parent);
  if (IsAttrHandle(raw)) return nullptr;  // an attribute holds no elements
  return ElementFrom(FirstVisibleChild(NodeOf(raw))).internal_object();
}

void* ElementWalk::Next(void* node) noexcept {
  return ElementFrom(NodeOf(node).next_sibling()).internal_object();
}

bool ElementAttribute(const DOMNode& node, const char* name, std::string_view& value,
                      bool& is_element) {
  if (!node) RaisePlatformError(kErrObjectNotSet);
  void* raw = DocImpl::Raw(node);
  is_element = !IsAttrHandle(raw) && NodeOf(raw).type() == pugi::node_element;
  if (!is_element) return false;
  const pugi::xml_attribute a = NodeOf(raw).attribute(name);
  if (!a) return false;
  value = a.value();
  return true;
}

std::string_view ElementView::LocalName() const noexcept {
  const char* name = NodeOf(node_).name();
  const char* colon = std::strrchr(name, ':');
  return colon ? std::string_view(colon + 1) : std::string_view(name);
}

bool ElementView::IsNullMarked() const noexcept {
  const pugi::xml_attribute flag = NodeOf(node_).attribute("null");
  return flag && std::strcmp(flag.value(), "true") == 0;
}

std::string_view ElementView::Text(std::string& scratch) const {
  const pugi::xml_node n = NodeOf(node_);
  const pugi::xml_node first = n.first_child();
  if (!first) return {};
  if (!first.next_sibling() && first.type() == pugi::node_pcdata) return first.value();
  scratch = Handle().text();
  return scratch;
}

DOMNode ElementView::Handle() const { return DocImpl::MakeNode(DocImpl::DocOf(*parent_), node_); }

}  // namespace tympora::detail
