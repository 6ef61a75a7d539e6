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

#define INSTANTIATE_RECORD_SUITE(Name, ...)                                   \
  using ::tympora::testing::RecordSuite;                                      \
  INSTANTIATE_TEST_SUITE_P(Name, RecordSuite, ::testing::Values(__VA_ARGS__), \
                           ::tympora::testing::PrintCase)

}  // namespace tympora::testing
