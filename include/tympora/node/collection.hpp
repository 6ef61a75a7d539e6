// Collection<T>: the ordered, keyed child list of a record.
//
// Positions count from 1. Every element is stored under a unique text key;
// adding under a key already present raises error 457 and leaves the list as
// it was. Add at the end, count, item by position and removal at either end
// are O(1); a list of records holds references to the very objects added.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_set>

#include "tympora/node/error.hpp"
#include "tympora/node/object.hpp"

namespace tympora {

class CNode;

// The part of a record list that does not depend on the element type: what
// ResetCollection and late-bound dispatch use.
class NodeCollection : public Object {
 public:
  // Number of elements.
  virtual int32_t Count() const noexcept = 0;
  // The element at `position` (1 to Count) as a node. Raises 5 when out of range.
  virtual std::shared_ptr<CNode> NodeItem(int32_t position) const = 0;
  // Adds `node` at the end under `key`. Raises 91 for an absent node, 13 when
  // the node is not of the list's element type, 457 for a key already present.
  virtual void AddNode(const std::shared_ptr<CNode>& node, const std::string& key) = 0;
  // Removes the element at `position` (1 to Count). Raises 5 when out of range.
  virtual void Remove(int32_t position) = 0;
  // True when an element is stored under `key`.
  virtual bool Contains(const std::string& key) const = 0;
  // The key of the element at `position` (1 to Count). Raises 5 when out of range.
  virtual const std::string& Key(int32_t position) const = 0;
};

template <class T>
class Collection final : public NodeCollection {
  struct Entry {
    const std::string* key;
    std::shared_ptr<T> item;
  };

 public:
  using value_type = T;

  // Forward iteration over the elements, in order, yielding shared_ptr<T>.
  class const_iterator {
   public:
    explicit const_iterator(typename std::deque<Entry>::const_iterator it) : it_(it) {}
    const std::shared_ptr<T>& operator*() const { return it_->item; }
    const_iterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(const const_iterator&) const = default;

   private:
    typename std::deque<Entry>::const_iterator it_;
  };

  Collection() = default;
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;

  // Adds `item` at the end under `key`. Raises 91 for an absent item and 457
  // for a key already present; in both cases the list is unchanged.
  void Add(const std::shared_ptr<T>& item, const std::string& key) {
    if (!item) RaisePlatformError(kErrObjectNotSet);
    auto [pos, inserted] = keys_.insert(key);
    if (!inserted) RaisePlatformError(kErrDuplicateKey);
    try {
      entries_.push_back(Entry{&*pos, item});
    } catch (...) {
      keys_.erase(pos);
      throw;
    }
  }

  int32_t Count() const noexcept override { return static_cast<int32_t>(entries_.size()); }

  // The element at `position`, 1 to Count. Raises 5 when out of range.
  const std::shared_ptr<T>& Item(int32_t position) const {
    CheckPosition(position);
    return entries_[static_cast<size_t>(position - 1)].item;
  }

  // The key under which the element at `position` is stored. Raises 5 when out of range.
  const std::string& Key(int32_t position) const override {
    CheckPosition(position);
    return *entries_[static_cast<size_t>(position - 1)].key;
  }

  void Remove(int32_t position) override {
    CheckPosition(position);
    auto it = entries_.begin() + (position - 1);
    keys_.erase(*it->key);
    entries_.erase(it);
  }

  bool Contains(const std::string& key) const override { return keys_.count(key) != 0; }

  std::shared_ptr<CNode> NodeItem(int32_t position) const override { return Item(position); }

  void AddNode(const std::shared_ptr<CNode>& node, const std::string& key) override {
    if (!node) RaisePlatformError(kErrObjectNotSet);
    auto item = std::dynamic_pointer_cast<T>(node);
    if (!item) RaisePlatformError(kErrTypeMismatch);
    Add(item, key);
  }

  const_iterator begin() const { return const_iterator(entries_.begin()); }
  const_iterator end() const { return const_iterator(entries_.end()); }

 private:
  void CheckPosition(int32_t position) const {
    if (position < 1 || position > Count()) RaisePlatformError(kErrInvalidCall);
  }

  std::unordered_set<std::string> keys_;
  std::deque<Entry> entries_;
};

template <class T>
using CollectionPtr = std::shared_ptr<Collection<T>>;

}  // namespace tympora
