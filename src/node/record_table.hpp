// Builders for the property tables of the record classes. Only the record
// sources include this header.
#pragma once

#include <memory>
#include <string_view>

#include "tympora/node/node_utility.hpp"
#include "tympora/node/record.hpp"

namespace tympora::table {

template <class M>
struct MemberOf;
template <class R, class F>
struct MemberOf<F R::*> {
  using Record = R;
  using Field = F;
};

template <auto M>
typename MemberOf<decltype(M)>::Field& Access(RecordBase& record) {
  using R = typename MemberOf<decltype(M)>::Record;
  return static_cast<R&>(record).*M;
}

// The field of property `p` in `record`. The table's accessors take a
// mutable record; reading through them does not modify it.
template <class T>
Nullable<T>& FieldOf(const PropertyDef& p, const RecordBase& record) {
  return std::get<Nullable<T>& (*)(RecordBase&)>(p.field)(const_cast<RecordBase&>(record));
}

// A property whose value and null flag live in the Nullable member M.
template <auto M>
PropertyDef Prop(std::string_view element, std::string_view property,
                 bool (*accepts)(int32_t) = nullptr) {
  return PropertyDef{element, property, FieldAccess(&Access<M>), accepts};
}

// A child list held in the CollectionPtr member M; the children's element
// name is their class's kNodeName.
template <auto M>
ChildListDef Children(std::string_view property, std::string_view add_member,
                      std::string_view reset_member) {
  using R = typename MemberOf<decltype(M)>::Record;
  using C = typename MemberOf<decltype(M)>::Field::element_type::value_type;
  return ChildListDef{C::kNodeName,
                      property,
                      add_member,
                      reset_member,
                      [](const RecordBase& r) -> const NodeCollection* {
                        return (static_cast<const R&>(r).*M).get();
                      },
                      [](RecordBase& r) { ResetCollection(static_cast<R&>(r).*M); },
                      []() -> std::shared_ptr<CNode> { return std::make_shared<C>(); },
                      [](RecordBase& r, const std::shared_ptr<CNode>& node) {
                        if (!node) RaisePlatformError(kErrObjectNotSet);
                        auto child = std::dynamic_pointer_cast<C>(node);
                        if (!child) RaisePlatformError(kErrTypeMismatch);
                        AddChildRecord(static_cast<R&>(r).*M, child);
                      },
                      [](RecordBase& r, std::shared_ptr<CNode>&& node) {
                        AddChildRecord(static_cast<R&>(r).*M,
                                       std::static_pointer_cast<C>(std::move(node)));
                      },
                      [](const RecordBase& r) -> std::shared_ptr<NodeCollection> {
                        return static_cast<const R&>(r).*M;
                      }};
}

}  // namespace tympora::table
