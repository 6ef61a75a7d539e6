// The tests that every record class runs; see record_suite.hpp.
#include "record_suite.hpp"

namespace tympora::testing {

TEST_P(RecordSuite, NewRecordWritesEveryPropertyNullInOrder) {
  auto record = GetParam().make();
  EXPECT_EQ(record->NodeName(), GetParam().node_name);
  DOMElement element = Export(*record);
  EXPECT_EQ(element.nodeName(), GetParam().node_name);
  EXPECT_EQ(element.attributes().getNamedItem("id").text(), "0");
  EXPECT_EQ(Shape(element), PropertyShape(Elements()));
  for (const std::string& name : Elements()) {
    SCOPED_TRACE(name);
    DOMNode child = ChildNamed(element, name);
    EXPECT_TRUE(IsNullNode(child));
    EXPECT_EQ(child.childNodes().length(), 0);
    EXPECT_EQ(child.attributes().length(), 1);
  }
}

TEST_P(RecordSuite, TypedSettersWriteTheirElements) {
  auto record = GetParam().make();
  GetParam().fill(*record);
  record->ID(-3);
  DOMElement element = Export(*record);
  EXPECT_EQ(element.attributes().getNamedItem("id").text(), "-3");
  EXPECT_EQ(Shape(element), PropertyShape(Elements()));
  for (const auto& [name, text] : GetParam().filled) {
    SCOPED_TRACE(name);
    DOMNode child = ChildNamed(element, name);
    EXPECT_FALSE(IsNullNode(child));
    EXPECT_EQ(child.attributes().length(), 0);
    EXPECT_EQ(child.text(), text);
  }
}

TEST_P(RecordSuite, ExportImportRoundTripsValuesAndFlags) {
  auto original = GetParam().make();
  GetParam().fill(*original);
  original->ID(41);
  DOMElement element = Export(*original);
  auto copy = GetParam().make();
  StatusPtr status = copy->ImportXMLNode(element);
  ASSERT_EQ(status->Number(), 0) << status->Description();
  EXPECT_EQ(copy->ID(), 41);
  for (const auto& [name, text] : GetParam().filled) {
    SCOPED_TRACE(name);
    EXPECT_EQ(copy->PropertyByName(name), original->PropertyByName(name));
    EXPECT_EQ(ChildNamed(Export(*copy), name).text(), text);
  }

  // A null-marked element makes a filled property Null again.
  for (const auto& [name, text] : GetParam().filled) {
    SCOPED_TRACE(name);
    DOMDocument doc = Parse("<X><" + name + " null=\"true\"/></X>");
    DOMElement root = doc.documentElement();
    ASSERT_EQ(copy->ImportXMLNode(root)->Number(), 0);
    EXPECT_TRUE(IsNullNode(ChildNamed(Export(*copy), name)));
  }
}

TEST_P(RecordSuite, ImportComparesNamesExactly) {
  auto record = GetParam().make();
  std::string xml = "<X>";
  for (const auto& [name, text] : GetParam().filled) {
    std::string lower = name;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::string upper = name;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (lower != name) xml += "<" + lower + ">" + text + "</" + lower + ">";
    if (upper != name) xml += "<" + upper + ">" + text + "</" + upper + ">";
  }
  // Neither the refused names nor the aliases are element names.
  std::vector<std::string> others = GetParam().refused;
  for (const auto& [alias, element] : GetParam().aliases) others.push_back(alias);
  for (const std::string& name : others) {
    if (name.find_first_of(" \"<>&") == std::string::npos && !name.empty()) {
      xml += "<" + name + ">1</" + name + ">";
    }
  }
  xml += "</X>";
  DOMDocument doc = Parse(xml);
  DOMElement root = doc.documentElement();
  ASSERT_EQ(record->ImportXMLNode(root)->Number(), 0);
  for (const std::string& name : Elements()) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(IsNullNode(ChildNamed(Export(*record), name)));
  }
}

TEST_P(RecordSuite, PropertyByNameAcceptsElementNamesAndAliasesOnly) {
  auto filled = GetParam().make();
  GetParam().fill(*filled);
  auto target = GetParam().make();
  std::vector<std::pair<std::string, std::string>> names;
  for (const auto& [name, text] : GetParam().filled) names.emplace_back(name, name);
  for (const auto& alias : GetParam().aliases) names.push_back(alias);
  for (const auto& [name, element] : names) {
    SCOPED_TRACE(name);
    const Variant value = filled->PropertyByName(name);
    EXPECT_FALSE(value.IsEmpty());
    EXPECT_EQ(value, filled->PropertyByName(element));
    EXPECT_EQ(target->PropertyByName(name).Kind(), value.Kind()) << "a Null value reads its zero";
    if (name == element) {
      EXPECT_EQ(target->IsNull(name), name != "ID") << "new values are Null";
    }
    target->PropertyByName(name, value);
    EXPECT_FALSE(target->IsNull(name));
    EXPECT_EQ(target->PropertyByName(element), value);
    EXPECT_FALSE(IsNullNode(ChildNamed(Export(*target), element)));
  }
  const std::string before = Export(*filled).xml();
  for (const std::string& name : GetParam().refused) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(filled->PropertyByName(name).IsEmpty());
    EXPECT_FALSE(filled->IsNull(name));
    filled->PropertyByName(name, Variant(int32_t{7}));
    filled->PropertyByName(name, Variant(kNull));
  }
  EXPECT_EQ(Export(*filled).xml(), before);
}

TEST_P(RecordSuite, PropertyByNameRaisesFailedConversionsAndKeepsTheValue) {
  auto record = GetParam().make();
  GetParam().fill(*record);
  for (const auto& [name, text] : GetParam().filled) {
    SCOPED_TRACE(name);
    const Variant before = record->PropertyByName(name);
    EXPECT_EQ(ErrorOf([&] { record->PropertyByName(name, Variant(kNull)); }), kErrInvalidUseOfNull);
    EXPECT_EQ(record->PropertyByName(name), before);
    if (before.Kind() != VariantKind::String) {
      EXPECT_EQ(ErrorOf([&] { record->PropertyByName(name, Variant("no value")); }),
                kErrTypeMismatch);
      EXPECT_EQ(record->PropertyByName(name), before);
    }
  }
}

TEST_P(RecordSuite, ResetReturnsToTheNewState) {
  auto fresh = GetParam().make();
  auto record = GetParam().make();
  GetParam().fill(*record);
  record->ID(9);
  record->Reset();
  EXPECT_EQ(record->ID(), 0);
  EXPECT_EQ(Export(*record).xml(), Export(*fresh).xml());
}

TEST_P(RecordSuite, ExportsNotProvidedReport2001) {
  auto record = GetParam().make();
  Variant arg(int32_t{5});
  const struct {
    StatusPtr status;
    std::string source;
  } rows[] = {
      {record->ExportTXT(1), GetParam().txt_source},
      {record->ExportPDF(arg), "Function CNode_ExportPDF"},
      {record->ExportPostScript(1), "Function CNode_ExportPostScript"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    ASSERT_TRUE(row.status);
    EXPECT_EQ(row.status->Number(), 2001);
    EXPECT_EQ(row.status->Description(), "Not implemented.");
    EXPECT_EQ(row.status->Source(), row.source);
  }
  EXPECT_EQ(arg, Variant(int32_t{5}));
}

TEST_P(RecordSuite, ImportOfAbsentNodeReports2005AndChangesNothing) {
  auto record = GetParam().make();
  GetParam().fill(*record);
  const std::string before = Export(*record).xml();
  DOMNode absent;
  StatusPtr status = record->ImportXMLNode(absent);
  EXPECT_EQ(status->Number(), 2005);
  EXPECT_EQ(status->Description(), "Object parameter 1 is not initialized.");
  EXPECT_EQ(status->Source(), "Supplied This Node Parameter");
  EXPECT_EQ(Export(*record).xml(), before);
}

TEST_P(ChildListSuite, ImportReadsChildrenUnderTheirExactNameKeyedById) {
  const ChildListCase& c = GetParam();
  auto parent = c.make_parent();
  const std::string& e = c.element;
  ASSERT_EQ(ImportText(*parent, "<P><" + e + " id='2'/><" + e + " null='true'/><x:" + e +
                                    " xmlns:x='urn:x' id='8'/><" + OtherCase() + " id='9'/></P>")
                ->Number(),
            0);
  const auto list = c.list(*parent);
  ASSERT_EQ(list->Count(), 2) << "null-marked and other-case elements are skipped";
  EXPECT_EQ(list->Key(1), "2");
  EXPECT_EQ(list->Key(2), "8");
}

// Two children without an id, two with one id, or one whose id a child added
// before holds: the import stops there with 457.
TEST_P(ChildListSuite, DuplicateOrMissingIdsStopTheImport) {
  const ChildListCase& c = GetParam();
  const std::string& p = c.text_property;
  const std::pair<std::string, int> rows[] = {{"", 2}, {" id='3'", 2}, {" id='3'", 1}};
  for (const auto& [ids, times] : rows) {
    SCOPED_TRACE("id attribute:" + ids + (times == 1 ? ", held before" : ""));
    auto parent = c.make_parent();
    if (times == 1) {
      auto held = c.make_child();
      held->ID(3);
      c.add(*parent, held);
    }
    std::string xml = "<P>";
    if (!p.empty()) xml += "<" + p + ">L</" + p + ">";
    for (int i = 0; i < times; ++i) xml += "<" + c.element + ids + "/>";
    if (!p.empty()) xml += "<" + p + ">R</" + p + ">";
    xml += "<" + c.element + " id='5'/></P>";
    EXPECT_EQ(ImportText(*parent, xml)->Number(), kErrDuplicateKey);
    EXPECT_EQ(c.list(*parent)->Count(), 1);
    if (!p.empty()) {
      EXPECT_EQ(parent->PropertyByName(p), Variant(std::string("L")))
          << "children after the failing one are not read";
    }
  }
}

// Children are keyed by their ID when added and exported in that order with
// their IDs of the moment; both resets take back what a caller holds.
TEST_P(ChildListSuite, AddKeysByIdAndResetTakesBackWhatACallerHolds) {
  const ChildListCase& c = GetParam();
  for (const bool whole : {false, true}) {
    SCOPED_TRACE(whole ? "Reset" : "the list's reset");
    auto parent = c.make_parent();
    auto kept = c.make_child();
    kept->ID(6);
    c.fill_child(*kept);
    c.add(*parent, kept);
    kept->ID(9);
    auto second = c.make_child();
    second->ID(-2);
    c.add(*parent, second);
    auto twin = c.make_child();
    twin->ID(6);
    EXPECT_EQ(ErrorOf([&] { c.add(*parent, twin); }), kErrDuplicateKey);
    EXPECT_EQ(ErrorOf([&] { c.add(*parent, nullptr); }), kErrObjectNotSet);
    const auto list = c.list(*parent);
    EXPECT_EQ(list, c.list(*parent)) << "the live list, not a copy";
    ASSERT_EQ(list->Count(), 2);
    EXPECT_EQ(list->NodeItem(1), kept) << "the very object added";
    EXPECT_EQ(list->Key(1), "6");
    EXPECT_EQ(list->Key(2), "-2");
    const DOMNodeList nodes = ExportElement(*parent).childNodes();
    const int32_t n = nodes.length();
    ASSERT_GE(n, 7);
    for (const auto& [at, id] : {std::pair{n - 6, "9"}, std::pair{n - 3, "-2"}}) {
      EXPECT_EQ(nodes.item(at).nodeName(), c.element);
      EXPECT_EQ(nodes.item(at).attributes().getNamedItem("id").text(), id);
    }

    if (whole) {
      parent->ID(4);
      parent->Reset();
      EXPECT_EQ(parent->ID(), 0);
    } else {
      c.reset(*parent);
    }
    EXPECT_EQ(list->Count(), 0) << "the list a caller kept is emptied";
    EXPECT_NE(c.list(*parent), list) << "a new list replaces it";
    EXPECT_EQ(c.list(*parent)->Count(), 0);
    for (const auto& child : {kept, second}) {
      EXPECT_EQ(ExportElement(*child).xml(), ExportElement(*c.make_child()).xml())
          << "a child the caller holds is back in its new state";
    }
  }
}

// gtest pastes the suite's name into identifiers, so it must be unqualified.

}  // namespace tympora::testing
