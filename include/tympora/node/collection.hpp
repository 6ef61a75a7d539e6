// Collection<T>: the ordered, keyed child list of a record.
//
// Positions count from 1. Every element is stored under a unique text key;
// adding under a key already present raises error 457 and leaves the list as
// it was. Add at the end, count, item by position and removal at either end
// are O(1); a list of records holds references to the very objects added.
#pragma once

#include "tympora/export.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tympora/node/error.hpp"
#include "tympora/node/key_hash.hpp"
#include "tympora/node/object.hpp"

namespace tympora {

class CNode;

// The part of a record list that does not depend on the element type: what
// ResetCollection and late-bound dispatch use.
class TYMPORA_API NodeCollection : public Object {
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
  // The element at `position` (1 to Count), borrowed: valid while the list
  // holds it. Raises 5 when out of range.
  virtual const CNode& NodeRef(int32_t position) const = 0;
};

template <class T>
class Collection final : public NodeCollection {
  struct Entry {
    std::string key;
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
  // for a key already present; the list is unchanged then.
  void Add(std::shared_ptr<T> item, std::string key) {
    if (!item) RaisePlatformError(kErrObjectNotSet);
    const uint64_t hash = Hash(key);
    if (Find(key, hash) != kAbsent) RaisePlatformError(kErrDuplicateKey);
    Reserve(entries_.size() + 1);
    entries_.push_back(Entry{std::move(key), std::move(item)});
    Place(Slot{hash, first_seq_ + entries_.size() - 1});
  }

  int32_t Count() const noexcept override { return static_cast<int32_t>(entries_.size()); }

  // The element at `position` (1 to Count). Raises 5 when out of range.
  const std::shared_ptr<T>& Item(int32_t position) const {
    CheckPosition(position);
    return entries_[static_cast<size_t>(position - 1)].item;
  }

  const std::string& Key(int32_t position) const override {
    CheckPosition(position);
    return entries_[static_cast<size_t>(position - 1)].key;
  }

  void Remove(int32_t position) override {
    CheckPosition(position);
    const size_t index = static_cast<size_t>(position - 1);
    const uint64_t seq = first_seq_ + index;
    const std::string& key = entries_[index].key;
    size_t slot = Find(key, Hash(key));
    Erase(slot);
    if (index == 0) {
      entries_.pop_front();
      ++first_seq_;
    } else if (index + 1 == entries_.size()) {
      entries_.pop_back();
    } else {
      entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
      for (Slot& s : slots_) {
        if (s.seq > seq) --s.seq;  // the later elements moved up by one
      }
    }
  }

  bool Contains(const std::string& key) const override { return Find(key, Hash(key)) != kAbsent; }

  std::shared_ptr<CNode> NodeItem(int32_t position) const override { return Item(position); }

  const CNode& NodeRef(int32_t position) const override { return *Item(position); }

  void AddNode(const std::shared_ptr<CNode>& node, const std::string& key) override {
    if (!node) RaisePlatformError(kErrObjectNotSet);
    auto item = std::dynamic_pointer_cast<T>(node);
    if (!item) RaisePlatformError(kErrTypeMismatch);
    Add(std::move(item), key);
  }

  const_iterator begin() const { return const_iterator(entries_.begin()); }
  const_iterator end() const { return const_iterator(entries_.end()); }

 private:
  // The key index: open addressing with linear probing over a power-of-two
  // table at most half full, hashed under the seed the list took when it was
  // made (the process's random one), so that no choice of keys clusters them.
  // A slot holds a key's hash and the sequence number of its element; the
  // element at position p (from 0) has sequence number first_seq_ + p, so
  // that removing the first element renumbers nothing. Sequence number 0
  // marks a free slot.
  struct Slot {
    uint64_t hash = 0;
    uint64_t seq = 0;
  };
  static constexpr size_t kAbsent = SIZE_MAX;

  void CheckPosition(int32_t position) const {
    if (position < 1 || position > Count()) RaisePlatformError(kErrInvalidCall);
  }

  uint64_t Hash(std::string_view key) const noexcept { return key_index::KeyHash(seed_, key); }

  size_t Find(const std::string& key, uint64_t hash) const noexcept {
    if (slots_.empty()) return kAbsent;
    const size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
      const Slot& s = slots_[i];
      if (s.seq == 0) return kAbsent;
      if (s.hash == hash && entries_[static_cast<size_t>(s.seq - first_seq_)].key == key) return i;
    }
  }

  // Makes room for `count` keys; may raise out of memory, changing nothing.
  void Reserve(size_t count) {
    if (count * 2 <= slots_.size()) return;
    std::vector<Slot> old(std::max<size_t>(16, slots_.size() * 2));
    old.swap(slots_);
    for (const Slot& s : old) {
      if (s.seq != 0) Place(s);
    }
  }

  void Place(const Slot& slot) noexcept {
    const size_t mask = slots_.size() - 1;
    size_t i = slot.hash & mask;
    while (slots_[i].seq != 0) i = (i + 1) & mask;
    slots_[i] = slot;
  }

  // Frees slot `hole`, moving later slots of its probe run back so that no
  // lookup stops early.
  void Erase(size_t hole) noexcept {
    const size_t mask = slots_.size() - 1;
    for (size_t j = (hole + 1) & mask; slots_[j].seq != 0; j = (j + 1) & mask) {
      const size_t home = slots_[j].hash & mask;
      const bool stays = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
      if (!stays) {
        slots_[hole] = slots_[j];
        hole = j;
      }
    }
    slots_[hole] = Slot{};
  }

  std::deque<Entry> entries_;
  std::vector<Slot> slots_;
  uint64_t first_seq_ = 1;  // the sequence number of the first element
  key_index::KeySeed seed_ = key_index::NewListSeed();
};

template <class T>
using CollectionPtr = std::shared_ptr<Collection<T>>;

}  // namespace tympora
