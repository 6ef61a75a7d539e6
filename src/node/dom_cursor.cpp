// The document state and the child-cursor cache of the DOM adapter.
#include "node/dom_internal.hpp"

#include "node/dom_direct.hpp"

#include "tympora/node/error.hpp"

namespace tympora::detail {

std::unique_ptr<pugi::xml_document> NewTree() {
  auto tree = std::make_unique<pugi::xml_document>();
  if (!tree->append_child(pugi::node_element)) RaisePlatformError(kErrOutOfMemory);
  return tree;
}

DocImpl::DocImpl() : tree(NewTree()) {}

void DocImpl::InstallTree(std::unique_ptr<pugi::xml_document> next, bool shared, bool embed) {
  if (shared) {
    Prepare();  // handles may still walk the old tree
    retired.push_back(std::move(tree));
    if (direct) retired_direct.push_back(std::move(direct));
  } else {
    retired.clear();
    retired_direct.clear();
    direct.reset();
  }
  tree = std::move(next);
  embedded = embed;
  cursors.Invalidate();
}

void DocImpl::InstallDirect(std::unique_ptr<DirectText> text, bool shared) {
  InstallTree(NewTree(), shared);
  direct = std::move(text);
}

void* DocImpl::Resolve(const DOMNode& n) {
  if (!IsDirectHandle(n.node_)) return n.node_;
  const DirectText* text = DirectOf(n.node_);
  if (text->built == nullptr) n.doc_->BuildDirect();  // only the current one is not built
  return text->built;
}

const void* DocImpl::Identity(const DOMNode& n) noexcept {
  if (!IsDirectHandle(n.node_)) return n.node_;
  const DirectText* text = DirectOf(n.node_);
  return text->built != nullptr ? text->built : n.node_;
}

bool DirectRoot(const DOMNode& node, std::string_view& text, size_t& root) noexcept {
  const void* raw = DocImpl::Raw(node);
  if (!IsDirectHandle(raw)) return false;
  const DirectText* kept = DirectOf(raw);
  if (kept->built != nullptr || kept->lost) return false;
  text = std::string_view(kept->data, kept->size);
  root = kept->root;
  return true;
}

void DocImpl::Materialize() {
  const pugi::xml_node root = Root();
  for (pugi::xml_node n = root.first_child(); n; n = NextInSubtree(n, root)) {
    if (n.type() != pugi::node_element || *n.value() == 0) continue;
    pugi::xml_node text = n.prepend_child(pugi::node_pcdata);
    if (!text || !text.set_value(n.value())) RaisePlatformError(kErrOutOfMemory);
  }
  embedded = false;
  cursors.Invalidate();
}

void DocImpl::RemoveChildren(pugi::xml_node parent, bool shared) {
  if (!shared) {
    parent.remove_children();
  } else {
    pugi::xml_node holder = parent.root().first_child();
    while (pugi::xml_node child = parent.first_child()) holder.append_move(child);
  }
  cursors.Invalidate();
}

namespace {

// True when `a` is a better entry to reuse than `b`: free entries first,
// then the least recently used.
template <class Entry>
bool BetterVictim(const Entry& a, const Entry& b) noexcept {
  if (b.parent == nullptr) return false;
  return a.parent == nullptr || a.used < b.used;
}

}  // namespace

ChildCursors::Entry& ChildCursors::Acquire(pugi::xml_node_struct* parent) {
  if (entries_[last_].parent != parent) {
    size_t pick = 0;
    size_t i = 0;
    for (; i < kEntries && entries_[i].parent != parent; ++i) {
      if (BetterVictim(entries_[i], entries_[pick])) pick = i;
    }
    if (i < kEntries) {
      pick = i;
    } else {
      entries_[pick] = Entry{parent, nullptr, -1, -1, 0};
    }
    last_ = pick;
  }
  Entry& e = entries_[last_];
  e.used = ++clock_;
  return e;
}

pugi::xml_node_struct* ChildCursors::Item(pugi::xml_node parent, int32_t index) {
  if (index < 0) return nullptr;
  Entry& e = Acquire(parent.internal_object());
  if (e.count >= 0 && index >= e.count) return nullptr;

  // Start from the nearest known position: the cursor, the first or the
  // last child.
  pugi::xml_node cur = FirstVisibleChild(parent);
  int32_t at = 0;
  if (!cur) {
    e.count = 0;
    return nullptr;
  }
  int64_t best = index;
  if (e.node != nullptr) {
    const int64_t d = index >= e.index ? int64_t{index} - e.index : int64_t{e.index} - index;
    if (d < best) best = d, cur = pugi::xml_node(e.node), at = e.index;
  }
  if (e.count > 0 && e.count - 1 - index < best) cur = parent.last_child(), at = e.count - 1;

  while (at < index) {
    const pugi::xml_node next = cur.next_sibling();
    if (!next) {
      e.count = at + 1;
      return nullptr;
    }
    cur = next;
    ++at;
  }
  while (at > index) {
    cur = cur.previous_sibling();
    --at;
  }
  e.node = cur.internal_object();
  e.index = index;
  return e.node;
}

int32_t ChildCursors::Count(pugi::xml_node parent) {
  Entry& e = Acquire(parent.internal_object());
  if (e.count < 0) {
    int32_t n = 0;
    for (pugi::xml_node c = FirstVisibleChild(parent); c; c = c.next_sibling()) ++n;
    e.count = n;
  }
  return e.count;
}

}  // namespace tympora::detail
