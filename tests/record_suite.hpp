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

struct RecordCase {
  std::string class_name;
  std::function<std::shared_ptr<RecordBase>()> make;
  std::string node_name;
  // Sets every value property, through the typed setters, to a value that is
  // not its zero.
  std::function<void(RecordBase&)> fill;
  // Every property element in export order, with the text it holds after
  // `fill` (in the C locale).
  std::vector<std::pair<std::string, std::string>> filled;
  // Names PropertyByName accepts besides the element names, and the element
  // whose property each stands for.
  std::vector<std::pair<std::string, std::string>> aliases;
  // Names PropertyByName must ignore (property names that differ from their
  // element, other letter case ...).
  std::vector<std::string> refused;
  std::string txt_source = "Function ExportTXT";
};

inline void PrintTo(const RecordCase& c, std::ostream* os) { *os << c.class_name; }

inline std::string PrintCase(const ::testing::TestParamInfo<RecordCase>& info) {
  return info.param.class_name;
}

class RecordSuite : public ::testing::TestWithParam<RecordCase> {
 protected:
  void SetUp() override { locale_ = std::make_unique<LocaleGuard>("C"); }
  void TearDown() override { locale_.reset(); }

  // The record's element, exported into a new document.
  static DOMElement Export(RecordBase& record) {
    DOMDocument doc;
    StatusPtr status = record.ExportXMLDocument(doc);
    EXPECT_EQ(status->Number(), 0) << status->Description();
    return doc.documentElement();
  }

  // The property elements of an exported record, by name, in order.
  static std::vector<std::string> PropertyShape(const std::vector<std::string>& names) {
    std::vector<std::string> shape;
    for (const std::string& name : names) {
      shape.push_back("CRLF");
      shape.push_back(name);
    }
    shape.push_back("CRLF");
    return shape;
  }

  std::vector<std::string> Elements() const {
    std::vector<std::string> names;
    for (const auto& [name, text] : GetParam().filled) names.push_back(name);
    return names;
  }

 private:
  std::unique_ptr<LocaleGuard> locale_;
};

// One child list of a record class, for the suite that every list runs:
// import by element name, keys, duplicates, add and reset. The names and
// the typed members are written out by the parent class's test.
struct ChildListCase {
  std::string name;  // the list, for the test's name ("ClientAids")
  std::function<std::shared_ptr<RecordBase>()> make_parent;
  std::string element;  // the children's element name
  // A new child, and one with a value set and, where it has lists, a child
  // of its own: what a reset must take back.
  std::function<std::shared_ptr<RecordBase>()> make_child;
  std::function<void(RecordBase&)> fill_child;
  // The typed members of the parent: AddX, the list, ResetX.
  std::function<void(RecordBase&, const std::shared_ptr<RecordBase>&)> add;
  std::function<std::shared_ptr<NodeCollection>(RecordBase&)> list;
  std::function<void(RecordBase&)> reset;
  // A text property of the parent, to see where an import stopped; empty
  // when the parent has none.
  std::string text_property;
};

// The case of the list of Child records in Parent, from Parent's typed
// members: AddX, the list's getter and ResetX.
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

inline std::string PrintListCase(const ::testing::TestParamInfo<ChildListCase>& info) {
  return info.param.name;
}

class ChildListSuite : public ::testing::TestWithParam<ChildListCase> {
 protected:
  // The children's element name with its first letter in the other case.
  std::string OtherCase() const {
    std::string name = GetParam().element;
    name[0] = static_cast<char>(name[0] ^ 0x20);
    return name;
  }
};

#define INSTANTIATE_CHILD_LIST_SUITE(Name, ...)                                  \
  using ::tympora::testing::ChildListSuite;                                      \
  INSTANTIATE_TEST_SUITE_P(Name, ChildListSuite, ::testing::Values(__VA_ARGS__), \
                           ::tympora::testing::PrintListCase)

#define INSTANTIATE_RECORD_SUITE(Name, ...)                                   \
  using ::tympora::testing::RecordSuite;                                      \
  INSTANTIATE_TEST_SUITE_P(Name, RecordSuite, ::testing::Values(__VA_ARGS__), \
                           ::tympora::testing::PrintCase)

}  // namespace tympora::testing
