// Late-bound dispatch, driven by its tables: the description lists them
// exactly, and every member of every interface is called with fitting
// arguments and with a wrong number of them; then the by-reference
// arguments, the child lists and the errors.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "test_util.hpp"
#include "tympora/component/component.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/record.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;

// The description's line for `m`, written from the dispatch table.
std::string MemberLine(const MemberInfo& m) {
  std::string line = m.kind == InvokeKind::PropertyGet   ? "  get "
                     : m.kind == InvokeKind::PropertyPut ? "  put "
                                                         : "  method ";
  line += std::string(m.name) + "(";
  for (const ParamInfo& p : m.params) {
    if (&p != m.params.data()) line += ", ";
    line += std::string(p.optional ? "optional " : "") + (p.by_ref ? "ref " : "") +
            std::string(p.name) + " As " + TypeName(p.type);
  }
  return line + ")" + (m.result.kind == TypeKind::Void ? "" : " As " + TypeName(m.result)) + "\n";
}

// The objects a member call needs: a folder for files and the document that
// DOM arguments belong to (the target's own when the target is a DOM handle).
struct Fixture {
  const testing::TempDir& dir;
  DOMDocument doc = DOMDocument::New();
};

// A live object of class `cls` through interface `itf`, set up so that every
// member has something to work on.
Dispatch MakeTarget(const ClassInfo& cls, std::string_view itf, Fixture& f) {
  const std::string_view name = cls.identity->name;
  ObjectPtr object;
  if (cls.create) {
    object = cls.create();
    if (auto status = std::dynamic_pointer_cast<CStatus>(object)) status->SetError(2001, "here");
  } else if (name == "CNode") {
    object = std::make_shared<StandaloneNode>();
  } else if (name == "Collection") {
    auto clients = std::make_shared<CClients>();
    auto client = std::make_shared<CClient>();
    client->ID(1);
    clients->AddClient(client);
    object = clients->Clients();
  } else if (name == "DOMDocument") {
    object = std::make_shared<DocumentObject>(f.doc);
  } else {
    object = std::make_shared<NodeObject>(f.doc.createElement("Root"));
  }
  return QueryInterface(object, itf);
}

Variant ArgFor(const ParamInfo& p, Fixture& f) {
  const std::string t = TypeName(p.type);
  if (t == "Int16") return Variant(int16_t{1});
  if (t == "Int32" || t == "StatusNum") return Variant(int32_t{1});
  if (t == "Double") return Variant(1.5);
  if (t == "Date") return Variant(Date(45000.5));
  if (t == "Boolean") return Variant(true);
  if (t == "String") {
    if (p.name == "sFilePath") return Variant(f.dir / "member.xml");
    if (p.name == "sText") return Variant("<Root/>");
    return Variant(p.name == "sTagName" || p.name == "sName" ? "Child" : "1");
  }
  if (t == "Variant") return p.name == "oParam1" ? Variant() : Variant(int32_t{1});
  if (t == "DOMDocument") return Variant(std::make_shared<DocumentObject>(f.doc));
  if (t == "DOMNode") return Variant(std::make_shared<NodeObject>(f.doc.createElement("Child")));
  if (t == "CStatus") return Variant(std::make_shared<CStatus>());
  // A record to add: a client for a generic list (which holds client 1), a
  // new record of the named class otherwise.
  ObjectPtr child = CreateObject("Tympora." + (t == "CNode" ? std::string("CClient") : t));
  std::dynamic_pointer_cast<CNode>(child)->ID(2);
  return Variant(child);
}

// True when `value` is of the kind that the table declares.
bool OfType(const Variant& value, TypeKind type) {
  constexpr std::pair<TypeKind, VariantKind> kKinds[] = {
      {TypeKind::Int16, VariantKind::Int16},   {TypeKind::Int32, VariantKind::Int32},
      {TypeKind::Double, VariantKind::Double}, {TypeKind::Date, VariantKind::Date},
      {TypeKind::String, VariantKind::String}, {TypeKind::Boolean, VariantKind::Boolean},
      {TypeKind::Object, VariantKind::Object}};
  if (type == TypeKind::Void) return value.IsEmpty();
  for (const auto& [t, kind] : kKinds) {
    if (t == type) return value.Kind() == kind;
  }
  return true;  // a Variant
}

// Every interface's block of the description: its identifiers and member
// count, then one line per member, exactly and in the order of the tables.
TEST(DispatchTest, DescriptionListsExactlyTheDispatchTables) {
  std::string expected;
  for (const InterfaceInfo& itf : Library().Interfaces()) {
    expected += "interface " + std::string(itf.Name()) + " " + std::string(itf.identity->iid);
    if (!itf.identity->earlier_iid.empty()) {
      expected += " earlier " + std::string(itf.identity->earlier_iid);
    }
    expected += " members " + std::to_string(itf.members.size()) + "\n";
    for (const MemberInfo& m : itf.members) expected += MemberLine(m);
    expected += "\n";
  }
  const std::string text = DescribeInterfaces();
  EXPECT_EQ(text.substr(text.find("\ninterface ") + 1), expected);
}

TEST(DispatchTest, EveryMemberRunsWithItsArgumentsAndRefusesAWrongCount) {
  const testing::TempDir dir;
  int calls = 0;
  for (const ClassInfo& cls : Library().Classes()) {
    for (const InterfaceInfo* itf : cls.interfaces) {
      for (const MemberInfo& m : itf->members) {
        SCOPED_TRACE(std::string(cls.identity->name) + " " + std::string(itf->Name()) + "." +
                     std::string(m.name));
        Fixture f{dir};
        const Dispatch target = MakeTarget(cls, itf->Name(), f);
        std::vector<Variant> args;
        for (const ParamInfo& p : m.params) args.push_back(ArgFor(p, f));
        if (m.name == "RaiseError") {
          EXPECT_EQ(ErrorOf([&] { Invoke(target, m.name, m.kind, args); }), 2001);
        } else {
          try {
            const Variant result = Invoke(target, m.name, m.kind, args);
            EXPECT_TRUE(OfType(result, m.result.kind)) << "result kind " << int(result.Kind());
          } catch (const Error& e) {
            ADD_FAILURE() << e.Number() << " " << e.Description();
          }
        }
        std::vector<Variant> more = args;
        more.emplace_back(int32_t{1});
        EXPECT_EQ(ErrorOf([&] { Invoke(target, m.name, m.kind, more); }), kErrArgumentCount);
        size_t required = 0;
        while (required < m.params.size() && !m.params[required].optional) ++required;
        if (required > 0) {
          std::vector<Variant> fewer(args.begin(), args.begin() + (required - 1));
          EXPECT_EQ(ErrorOf([&] { Invoke(target, m.name, m.kind, fewer); }), kErrArgumentCount);
        }
        ++calls;
      }
    }
  }
  EXPECT_GT(calls, 400);
}

// Every property of every record written through its own interface reads
// back through the node interface's PropertyByName under its element name.
TEST(DispatchTest, PropertiesWrittenByNameReadBackThroughTheirElements) {
  for (const ClassInfo& cls : Library().Classes()) {
    if (!cls.identity->node_interface) continue;
    const ObjectPtr object = cls.create();
    const Dispatch own = QueryInterface(object, cls.identity->default_interface);
    const Dispatch node = QueryInterface(object, "_CNode");
    for (const PropertyDef& p : dynamic_cast<RecordBase&>(*object).Info().properties) {
      SCOPED_TRACE(std::string(cls.identity->name) + "." + std::string(p.property));
      static const Variant kValues[] = {Variant(int32_t{1234}), Variant(2.5),
                                        Variant("a<b>&c \xc3\xa9"), Variant(Date(40000.25)),
                                        Variant(true)};
      const Variant value = kValues[static_cast<int>(p.Kind())];
      Invoke(own, p.property, InvokeKind::PropertyPut, {value});
      EXPECT_EQ(Invoke(own, p.property, InvokeKind::PropertyGet), value);
      EXPECT_EQ(Invoke(node, "PropertyByName", InvokeKind::PropertyGet,
                       {Variant(std::string(p.element))}),
                value);
    }
  }
}

TEST(DispatchTest, ByReferenceDocumentsComeBackToTheCaller) {
  const ObjectPtr curve = CreateObject("Tympora.CCurve");
  const Dispatch node = QueryInterface(curve, "_CNode");
  std::vector<Variant> args(1);  // no document yet
  const Variant status = Invoke(node, "ExportXMLDocument", InvokeKind::Method, args);
  EXPECT_EQ(std::dynamic_pointer_cast<CStatus>(status.AsObject())->Number(), 0);
  ASSERT_EQ(args[0].Kind(), VariantKind::Object);
  const ObjectPtr document = args[0].AsObject();
  const Dispatch doc = QueryInterface(document);
  EXPECT_EQ(doc.Interface()->Name(), "DOMDocument");
  const Variant root = Invoke(doc, "documentElement", InvokeKind::PropertyGet);
  EXPECT_EQ(Invoke(QueryInterface(root.AsObject()), "nodeName", InvokeKind::PropertyGet),
            Variant("Curve"));

  // A document passed in stays the caller's very object; CreateXMLElement
  // hands its element back through ThisNode.
  std::vector<Variant> pair{args[0], Variant()};
  Invoke(node, "CreateXMLElement", InvokeKind::Method, pair);
  EXPECT_EQ(pair[0].AsObject(), document);
  ASSERT_EQ(pair[1].Kind(), VariantKind::Object);
  EXPECT_EQ(NodeArgument(pair[1]).nodeName(), "Curve");

  // Importing the exported element into a new curve through dispatch.
  const ObjectPtr copy = CreateObject("Tympora.CCurve");
  Invoke(QueryInterface(copy), "Name", InvokeKind::PropertyPut, {Variant("kept")});
  std::vector<Variant> element{root};
  Invoke(QueryInterface(copy, "_CNode"), "ImportXMLNode", InvokeKind::Method, element);
  EXPECT_EQ(Invoke(QueryInterface(copy), "Name", InvokeKind::PropertyGet), Variant(""));
}

TEST(DispatchTest, ChildListsAreLiveCollections) {
  const ObjectPtr clients = CreateObject("Tympora.CClients");
  const Dispatch own = QueryInterface(clients);
  const Variant list = Invoke(own, "Clients", InvokeKind::PropertyGet);
  const Dispatch items = QueryInterface(list.AsObject());
  EXPECT_EQ(items.Interface()->Name(), "Collection");
  for (int32_t id : {5, 7}) {
    const ObjectPtr client = CreateObject("Tympora.CClient");
    Invoke(QueryInterface(client), "ID", InvokeKind::PropertyPut, {Variant(id)});
    Invoke(id == 5 ? own : items, id == 5 ? "AddClient" : "Add", InvokeKind::Method,
           {Variant(client)});
  }
  EXPECT_EQ(Invoke(items, "Count", InvokeKind::PropertyGet), Variant(int32_t{2}));
  const Variant second = Invoke(items, "Item", InvokeKind::PropertyGet, {Variant(int32_t{2})});
  EXPECT_EQ(Invoke(items, "Item", InvokeKind::PropertyGet, {Variant("7")}), second);
  // The same list object until the list is reset.
  EXPECT_EQ(Invoke(own, "Clients", InvokeKind::PropertyGet), list);
  Invoke(items, "Remove", InvokeKind::Method, {Variant("5")});
  EXPECT_EQ(Invoke(items, "Count", InvokeKind::PropertyGet), Variant(int32_t{1}));
  Invoke(own, "ResetClients", InvokeKind::Method);
  EXPECT_NE(Invoke(own, "Clients", InvokeKind::PropertyGet), list);
  EXPECT_EQ(Invoke(items, "Count", InvokeKind::PropertyGet), Variant(int32_t{0}));
  EXPECT_EQ(Invoke(QueryInterface(second.AsObject(), "_CClient"), "ID", InvokeKind::PropertyGet),
            Variant(int32_t{0}));
}

TEST(DispatchTest, BadCallsGiveClearErrors) {
  const ObjectPtr curve = CreateObject("Tympora.CCurve");
  const Dispatch own = QueryInterface(curve);
  const Dispatch node = QueryInterface(curve, "_CNode");
  const Dispatch list =
      QueryInterface(Invoke(own, "CurveData", InvokeKind::PropertyGet).AsObject());
  constexpr InvokeKind kGet = InvokeKind::PropertyGet, kPut = InvokeKind::PropertyPut,
                       kMethod = InvokeKind::Method;
  const Variant distortion(CreateObject("Tympora.CDistortionDatum"));
  const Variant status(CreateObject("Tympora.CStatus"));
  const Variant a_node(std::make_shared<NodeObject>(DOMNode()));
  struct Case {
    const char* what;
    Dispatch target;
    const char* member;
    InvokeKind kind;
    std::vector<Variant> args;
    int32_t error;
  };
  const std::vector<Case> cases = {
      {"unknown member", own, "Colour", kGet, {}, kErrNotSupported},
      {"letter case", node, "nodename", kGet, {}, kErrNotSupported},
      {"node member on its own", own, "ExportXMLPath", kMethod, {Variant("x")}, kErrNotSupported},
      {"put on a get-only list", own, "CurveData", kPut, {Variant()}, kErrNotSupported},
      {"text for a number", own, "FxTime0", kPut, {Variant("abc")}, kErrTypeMismatch},
      {"overflow", own, "ID", kPut, {Variant(3e9)}, kErrOverflow},
      {"Null for a number", own, "State", kPut, {Variant(kNull)}, kErrInvalidUseOfNull},
      {"text for an object", own, "AddCurveDatum", kMethod, {Variant("p")}, kErrTypeMismatch},
      {"absent child", own, "AddCurveDatum", kMethod, {Variant()}, kErrObjectNotSet},
      {"child of another class", own, "AddCurveDatum", kMethod, {distortion}, kErrTypeMismatch},
      {"a status as a record", list, "Add", kMethod, {status}, kErrTypeMismatch},
      {"position out of range", list, "Item", kGet, {Variant(int32_t{1})}, kErrInvalidCall},
      {"node as a document", node, "ExportXMLDocument", kMethod, {a_node}, kErrTypeMismatch},
      {"absent object", Dispatch(), "ID", kGet, {}, kErrObjectNotSet},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<Variant> args = c.args;
    EXPECT_EQ(ErrorOf([&] { Invoke(c.target, c.member, c.kind, args); }), c.error);
  }
  EXPECT_EQ(Invoke(own, "FxTime0", InvokeKind::PropertyGet), Variant(int32_t{0}));
}

TEST(DispatchTest, StatusCopiesTheLastDispatchError) {
  const Dispatch status = QueryInterface(CreateObject("Tympora.CStatus"));
  EXPECT_EQ(ErrorOf([&] { Invoke(status, "Nothing", InvokeKind::Method); }), kErrNotSupported);
  Invoke(status, "OperatorEqualsErr", InvokeKind::Method);
  EXPECT_EQ(Invoke(status, "Number", InvokeKind::PropertyGet), Variant(int32_t{438}));
  EXPECT_EQ(Invoke(status, "Source", InvokeKind::PropertyGet), Variant(kLibrarySource));
  // SetError takes its source as an optional argument.
  Invoke(status, "SetError", InvokeKind::Method, {Variant(int32_t{2002})});
  EXPECT_EQ(Invoke(status, "Description", InvokeKind::PropertyGet),
            Variant("Supplied path invalid or missing."));
  EXPECT_EQ(Invoke(status, "Source", InvokeKind::PropertyGet), Variant(kLibrarySource));
  // Raising a status of Number 0 is refused rather than raising "no error".
  Invoke(status, "Number", InvokeKind::PropertyPut, {Variant(int32_t{0})});
  EXPECT_EQ(ErrorOf([&] { Invoke(status, "RaiseError", InvokeKind::Method); }), kErrInvalidCall);
}

}  // namespace
}  // namespace tympora
