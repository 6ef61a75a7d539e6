// The tests that every record class runs; see record_suite.hpp.
#include "record_suite.hpp"

#include <cctype>

namespace tympora::testing {

// A new record writes every property element Null, in order; the typed
// setters write their texts into the same elements; Reset takes them back.
TEST_P(RecordSuite, ExportWritesEveryPropertyInOrderNullOrSetAndResetClears) {
  for (const bool filled : {false, true}) {
    SCOPED_TRACE(filled ? "filled" : "new");
    auto record = GetParam().make();
    EXPECT_EQ(record->NodeName(), GetParam().node_name);
    if (filled) GetParam().Fill(*record);
    if (filled) record->ID(-3);
    DOMElement element = ExportElement(*record);
    EXPECT_EQ(element.nodeName(), GetParam().node_name);
    EXPECT_EQ(element.attributes().getNamedItem("id").text(), filled ? "-3" : "0");
    EXPECT_EQ(Shape(element), PropertyShape());
    for (const auto& [name, text, set] : GetParam().properties) {
      SCOPED_TRACE(name);
      DOMNode child = ChildNamed(element, name);
      EXPECT_EQ(IsNullNode(child), !filled);
      EXPECT_EQ(child.attributes().length(), filled ? 0 : 1);
      EXPECT_EQ(child.text(), filled ? text : "");
      EXPECT_TRUE(filled || child.childNodes().length() == 0);
    }
    record->Reset();
    EXPECT_EQ(record->ID(), 0);
    EXPECT_EQ(ExportElement(*record).xml(), ExportElement(*GetParam().make()).xml())
        << "Reset returns to the new state";
  }
}

// A filled record reads back from its export, ID and all; a null-marked
// element makes its property Null again. Names in other letter case, the
// refused names and the aliases are no element names: a new record reads
// nothing from them.
TEST_P(RecordSuite, ImportReadsTheExportAndExactlyTheElementNames) {
  auto original = GetParam().make();
  GetParam().Fill(*original);
  original->ID(41);
  DOMElement exported = ExportElement(*original);
  auto copy = GetParam().make();
  ASSERT_EQ(copy->ImportXMLNode(exported)->Number(), 0);
  EXPECT_EQ(copy->ID(), 41);
  std::string others = "<X>";
  for (const auto& [name, text, set] : GetParam().properties) {
    SCOPED_TRACE(name);
    EXPECT_EQ(copy->PropertyByName(name), original->PropertyByName(name));
    EXPECT_EQ(ChildNamed(ExportElement(*copy), name).text(), text);
    ASSERT_EQ(ImportText(*copy, "<X><" + name + " null=\"true\"/></X>")->Number(), 0);
    EXPECT_TRUE(IsNullNode(ChildNamed(ExportElement(*copy), name)));
    for (int (*to)(int) : {::tolower, ::toupper}) {
      std::string other = name;
      for (char& c : other) c = static_cast<char>(to(static_cast<unsigned char>(c)));
      if (other != name) others += "<" + other + ">" + text + "</" + other + ">";
    }
  }
  std::vector<std::string> names = GetParam().refused;
  for (const auto& [alias, element] : GetParam().aliases) names.push_back(alias);
  for (const std::string& name : names) {
    if (name.find_first_of(" \"<>&") == std::string::npos && !name.empty())
      others += "<" + name + ">1</" + name + ">";
  }
  auto record = GetParam().make();
  ASSERT_EQ(ImportText(*record, others + "</X>")->Number(), 0);
  EXPECT_EQ(ExportElement(*record).xml(), ExportElement(*GetParam().make()).xml());
}

// Element names and aliases read and write their property; a failed
// conversion raises and keeps the value; other names do nothing.
TEST_P(RecordSuite, PropertyByNameAcceptsElementNamesAndAliasesOnly) {
  auto filled = GetParam().make();
  GetParam().Fill(*filled);
  auto target = GetParam().make();
  std::vector<std::pair<std::string, std::string>> names;
  for (const auto& [name, text, set] : GetParam().properties) names.emplace_back(name, name);
  for (const auto& alias : GetParam().aliases) names.push_back(alias);
  for (const auto& [name, element] : names) {
    SCOPED_TRACE(name);
    const Variant value = filled->PropertyByName(name);
    EXPECT_FALSE(value.IsEmpty());
    EXPECT_EQ(value, filled->PropertyByName(element));
    EXPECT_EQ(ErrorOf([&] { filled->PropertyByName(name, Variant(kNull)); }), kErrInvalidUseOfNull);
    if (value.Kind() != VariantKind::String) {
      EXPECT_EQ(ErrorOf([&] { filled->PropertyByName(name, Variant("no value")); }),
                kErrTypeMismatch);
    }
    EXPECT_EQ(filled->PropertyByName(name), value);
    EXPECT_EQ(target->PropertyByName(name).Kind(), value.Kind()) << "a Null value reads its zero";
    if (name == element) {
      EXPECT_EQ(target->IsNull(name), name != "ID") << "new values are Null";
    }
    target->PropertyByName(name, value);
    EXPECT_FALSE(target->IsNull(name));
    EXPECT_EQ(target->PropertyByName(element), value);
    EXPECT_FALSE(IsNullNode(ChildNamed(ExportElement(*target), element)));
  }
  const std::string before = ExportElement(*filled).xml();
  for (const std::string& name : GetParam().refused) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(filled->PropertyByName(name).IsEmpty());
    EXPECT_FALSE(filled->IsNull(name));
    filled->PropertyByName(name, Variant(int32_t{7}));
    filled->PropertyByName(name, Variant(kNull));
  }
  EXPECT_EQ(ExportElement(*filled).xml(), before);
}

// The exports a record does not provide report 2001, an absent node 2005;
// neither changes the record.
TEST_P(RecordSuite, UnprovidedExportsAndAnAbsentNodeReportTheirStatus) {
  auto record = GetParam().make();
  GetParam().Fill(*record);
  const std::string before = ExportElement(*record).xml();
  Variant arg(int32_t{5});
  const std::string not_implemented = "2001 Not implemented. [";
  const std::pair<StatusPtr, std::string> rows[] = {
      {record->ExportTXT(1), not_implemented + GetParam().txt_source + "]"},
      {record->ExportPDF(arg), not_implemented + "Function CNode_ExportPDF]"},
      {record->ExportPostScript(1), not_implemented + "Function CNode_ExportPostScript]"},
      {record->ImportXMLNode(DOMNode()),
       "2005 Object parameter 1 is not initialized. [Supplied This Node Parameter]"},
  };
  for (const auto& [status, text] : rows) EXPECT_EQ(Describe(status), text);
  EXPECT_EQ(arg, Variant(int32_t{5}));
  EXPECT_EQ(ExportElement(*record).xml(), before);
}

// The import reads the children under their exact name, null-marked ones
// skipped, keyed by their ID. Two children without an id, two with one id,
// or one whose id a child added before holds stop it there with 457: nothing
// after is read.
TEST_P(ChildListSuite, ImportReadsChildrenByExactNameAndStopsAtADuplicateKey) {
  const ChildListCase& c = GetParam();
  const std::string &e = c.element, &p = c.text_property;
  std::string other_case = e;
  other_case[0] = static_cast<char>(e[0] ^ 0x20);
  // The children read between two texts of `p`, whether a child with ID 3 was added before,
  // the import's number and the keys of the list then.
  const std::tuple<std::string, bool, int32_t, std::string> rows[] = {
      {"<" + e + " id='2'/><" + e + " null='true'/><x:" + e + " xmlns:x='urn:x' id='8'/><" +
           other_case + " id='9'/>",
       false, 0, "2 8 5 "},
      {"<" + e + "/><" + e + "/>", false, kErrDuplicateKey, "0 "},
      {"<" + e + " id='3'/><" + e + " id='3'/>", false, kErrDuplicateKey, "3 "},
      {"<" + e + " id='3'/>", true, kErrDuplicateKey, "3 "},
  };
  for (const auto& [children, held, number, keys] : rows) {
    SCOPED_TRACE(children + (held ? ", 3 held before" : ""));
    auto parent = c.make_parent();
    auto child = c.make_child();
    child->ID(3);
    if (held) c.add(*parent, child);
    const auto text = [&](const char* t) {
      return p.empty() ? "" : "<" + p + ">" + t + "</" + p + ">";
    };
    EXPECT_EQ(
        ImportText(*parent, "<P>" + text("L") + children + text("R") + "<" + e + " id='5'/></P>")
            ->Number(),
        number);
    std::string read;
    for (int32_t i = 1; i <= c.list(*parent)->Count(); ++i) read += c.list(*parent)->Key(i) + " ";
    EXPECT_EQ(read, keys);
    if (!p.empty()) {
      EXPECT_EQ(parent->PropertyByName(p), Variant(std::string(number ? "L" : "R")));
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
    parent->ID(4);
    whole ? parent->Reset() : c.reset(*parent);
    EXPECT_EQ(parent->ID(), whole ? 0 : 4);
    EXPECT_EQ(list->Count(), 0) << "the list a caller kept is emptied";
    EXPECT_NE(c.list(*parent), list) << "a new list replaces it";
    EXPECT_EQ(c.list(*parent)->Count(), 0);
    for (const auto& child : {kept, second}) {
      EXPECT_EQ(ExportElement(*child).xml(), ExportElement(*c.make_child()).xml())
          << "a child the caller holds is back in its new state";
    }
  }
}

}  // namespace tympora::testing
