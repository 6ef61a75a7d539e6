// One parameterised suite that every record class runs: the behaviour the
// nine classes share, checked against names and texts that each class's test
// writes out itself. Nothing here reads the names from the library's own
// tables, so that a wrong name in a table is caught.
//
// A class joins the suite with one RecordCase and INSTANTIATE_RECORD_SUITE.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "test_util.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/record.hpp"

namespace tympora::testing {

// One property of a record class: its element, its text once `set` has
// given it a value that is not its zero by the typed setter.
struct PropertyCase {
  std::string element, text;
  std::function<void(RecordBase&)> set;
};

template <class R, class V, class A>
PropertyCase Prop(void (R::*setter)(V), std::string element, std::string text, A value) {
  return {std::move(element), std::move(text),
          [setter, value](RecordBase& r) { (static_cast<R&>(r).*setter)(value); }};
}

// A text property, set to its text.
template <class R>
PropertyCase Prop(void (R::*setter)(const std::string&), std::string element, std::string text) {
  return Prop(setter, std::move(element), text, text);
}

struct RecordCase {
  std::string class_name;
  std::function<std::shared_ptr<RecordBase>()> make;
  std::string node_name;
  std::vector<PropertyCase> properties;  // every property element, in export order (C locale)
  // Other names PropertyByName accepts, each with the element it stands for.
  std::vector<std::pair<std::string, std::string>> aliases;
  // Names PropertyByName must ignore (property names unlike their element, other case ...).
  std::vector<std::string> refused;
  std::string txt_source;  // of the status of ExportTXT

  void Fill(RecordBase& record) const {
    for (const PropertyCase& p : properties) p.set(record);
  }
};

// The case of the record class R, which the tests call `class_name`.
template <class R>
RecordCase Case(std::string class_name, std::string node_name, std::vector<PropertyCase> properties,
                std::vector<std::pair<std::string, std::string>> aliases,
                std::vector<std::string> refused, std::string txt_source = "Function ExportTXT") {
  return {std::move(class_name), [] { return std::make_shared<R>(); },
          std::move(node_name),  std::move(properties),
          std::move(aliases),    std::move(refused),
          std::move(txt_source)};
}

inline void PrintTo(const RecordCase& c, std::ostream* os) { *os << c.class_name; }

class RecordSuite : public ::testing::TestWithParam<RecordCase> {
 protected:
  // The children of an exported record: its property elements in order, CR LF around each.
  std::vector<std::string> PropertyShape() const {
    std::vector<std::string> shape{"CRLF"};
    for (const PropertyCase& p : GetParam().properties)
      shape.insert(shape.end(), {p.element, "CRLF"});
    return shape;
  }

 private:
  LocaleGuard locale_{"C"};
};

// One child list of a record class, for the suite that every list runs:
// import by element name, keys, duplicates, add and reset. The names and
// the typed members are written out by the parent class's test.
struct ChildListCase {
  std::string name;  // the list, for the test's name ("ClientAids")
  std::function<std::shared_ptr<RecordBase>()> make_parent;
  std::string element;  // the children's element name
  std::function<std::shared_ptr<RecordBase>()> make_child;
  // Sets a value, which a reset must take back: more than the ID that the test sets.
  // (What the child's own Reset takes back, lists and all, its own suites check.)
  std::function<void(RecordBase&)> fill_child;
  // The typed members of the parent: AddX, the list, ResetX.
  std::function<void(RecordBase&, const std::shared_ptr<RecordBase>&)> add;
  std::function<std::shared_ptr<NodeCollection>(RecordBase&)> list;
  std::function<void(RecordBase&)> reset;
  std::string text_property;  // of the parent, to see where an import stopped; may be empty
};

// The case of the list of Child records in Parent, from Parent's AddX, list getter and ResetX.
template <class Parent, class Child, class Add, class List, class Reset>
ChildListCase ListCase(std::string name, std::string element, Add add, List list, Reset reset,
                       std::function<void(Child&)> fill, std::string text_property = {}) {
  return {std::move(name),
          [] { return std::make_shared<Parent>(); },
          std::move(element),
          [] { return std::make_shared<Child>(); },
          [fill](RecordBase& child) { fill(static_cast<Child&>(child)); },
          [add](RecordBase& parent, const std::shared_ptr<RecordBase>& child) {
            std::invoke(add, static_cast<Parent&>(parent), std::static_pointer_cast<Child>(child));
          },
          [list](RecordBase& parent) -> std::shared_ptr<NodeCollection> {
            return std::invoke(list, static_cast<Parent&>(parent));
          },
          [reset](RecordBase& parent) { std::invoke(reset, static_cast<Parent&>(parent)); },
          std::move(text_property)};
}

inline void PrintTo(const ChildListCase& c, std::ostream* os) { *os << c.name; }

class ChildListSuite : public ::testing::TestWithParam<ChildListCase> {};

#define INSTANTIATE_CHILD_LIST_SUITE(Name, ...)                                  \
  using ::tympora::testing::ChildListSuite;                                      \
  INSTANTIATE_TEST_SUITE_P(Name, ChildListSuite, ::testing::Values(__VA_ARGS__), \
                           [](const auto& info) { return info.param.name; })

#define INSTANTIATE_RECORD_SUITE(Name, ...)                                   \
  using ::tympora::testing::RecordSuite;                                      \
  INSTANTIATE_TEST_SUITE_P(Name, RecordSuite, ::testing::Values(__VA_ARGS__), \
                           [](const auto& info) { return info.param.class_name; })

}  // namespace tympora::testing
