// Record-level comparison, driven by the record tables.
#include "tympora/node/compare.hpp"

#include <unordered_map>

#include "tympora/node/conversions.hpp"
#include "tympora/node/record.hpp"

namespace tympora {
namespace {

using Kind = RecordDifference::Kind;

class Comparer {
 public:
  explicit Comparer(size_t limit) : limit_(limit) {}

  std::vector<RecordDifference> out;

  bool Full() const { return limit_ != 0 && out.size() >= limit_; }

  void Add(Kind kind, std::string path, std::string before = {}, std::string after = {}) {
    if (!Full()) out.push_back({kind, std::move(path), std::move(before), std::move(after)});
  }

  void Records(const CNode& a, const CNode& b, const std::string& path) {
    const auto* ra = dynamic_cast<const RecordBase*>(&a);
    const auto* rb = dynamic_cast<const RecordBase*>(&b);
    if (!ra || !rb || &ra->Info() != &rb->Info()) {
      if (ra && rb) return Add(Kind::Class, path, ClassOf(a), ClassOf(b));
      if (a.NodeName() != b.NodeName()) return Add(Kind::Class, path, a.NodeName(), b.NodeName());
    }
    if (a.ID() != b.ID())
      Add(Kind::Value, path + "/ID", std::to_string(a.ID()), std::to_string(b.ID()));
    if (!ra || !rb) return;
    for (const PropertyDef& p : ra->Info().properties) {
      if (Full()) return;
      Value(*ra, *rb, p, path);
    }
    for (const ChildListDef& list : ra->Info().children) {
      if (Full()) return;
      Lists(list.list(*ra), list.list(*rb), path + "/" + std::string(list.element));
    }
  }

 private:
  static std::string ClassOf(const CNode& node) {
    return std::string(static_cast<const RecordBase&>(node).Info().class_name);
  }

  void Value(const RecordBase& a, const RecordBase& b, const PropertyDef& p,
             const std::string& path) {
    const bool na = a.IsPropertyNull(p), nb = b.IsPropertyNull(p);
    if (na && nb) return;
    const Variant va = na ? Variant() : a.GetProperty(p);
    const Variant vb = nb ? Variant() : b.GetProperty(p);
    if (na == nb && va == vb) return;
    RecordDifference d{Kind::Value,
                       path + "/" + std::string(p.element),
                       na ? "" : ToString(va),
                       nb ? "" : ToString(vb),
                       na,
                       nb};
    if (!Full()) out.push_back(std::move(d));
  }

  // `prefix` is the list's path with the children's element name.
  void Lists(const NodeCollection* a, const NodeCollection* b, const std::string& prefix) {
    const int32_t na = a ? a->Count() : 0, nb = b ? b->Count() : 0;
    std::unordered_map<std::string_view, int32_t> in_b;
    for (int32_t j = 1; j <= nb; ++j) in_b.emplace(b->Key(j), j);
    int32_t last = 0;  // the position in B of the last common record
    bool reordered = false;
    for (int32_t i = 1; i <= na && !Full(); ++i) {
      const std::string& key = a->Key(i);
      const std::string path = prefix + "[" + key + "]";
      const auto it = in_b.find(key);
      if (it == in_b.end()) {
        Add(Kind::Removed, path);
        continue;
      }
      reordered = reordered || it->second < last;
      last = it->second;
      Records(*a->NodeItem(i), *b->NodeItem(it->second), path);
      in_b.erase(it);
    }
    if (reordered) Add(Kind::Order, prefix);
    for (int32_t j = 1; j <= nb && !Full(); ++j) {
      if (in_b.count(b->Key(j))) Add(Kind::Added, prefix + "[" + b->Key(j) + "]");
    }
  }

  size_t limit_;
};

std::string Shown(const std::string& text, bool null) { return null ? "Null" : "\"" + text + "\""; }

}  // namespace

std::string RecordDifference::Text() const {
  switch (kind) {
    case Kind::Value:
      return path + ": " + Shown(before, before_null) + " -> " + Shown(after, after_null);
    case Kind::Added:
      return path + ": added";
    case Kind::Removed:
      return path + ": removed";
    case Kind::Order:
      return path + ": another order";
    case Kind::Class:
      return path + ": class " + before + " -> " + after;
  }
  return path;
}

std::vector<RecordDifference> CompareRecords(const CNode& a, const CNode& b, size_t limit) {
  Comparer comparer(limit);
  comparer.Records(a, b, a.NodeName());
  return std::move(comparer.out);
}

}  // namespace tympora
