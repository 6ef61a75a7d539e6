// Late-bound dispatch, driven by its tables: the description lists them
// exactly, and every member of every interface is called with fitting
// arguments and with a wrong number of them; then the by-reference
// arguments, the child lists and the errors.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "test_util.hpp"
#include "tympora/component/component.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/record.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
constexpr InvokeKind kGet = InvokeKind::PropertyGet, kPut = InvokeKind::PropertyPut,
                     kMethod = InvokeKind::Method;

// The description's line for `m`, written from the dispatch table.
std::string MemberLine(const MemberInfo& m) {
  std::string line = m.kind == kGet ? "  get " : m.kind == kPut ? "  put " : "  method ";
  line += std::string(m.name) + "(";
  for (const ParamInfo& p : m.params) {
    if (&p != m.params.data()) line += ", ";
    line += std::string(p.optional ? "optional " : "") + (p.by_ref ? "ref " : "") +
            std::string(p.name) + " As " + TypeName(p.type);
  }
  return line + ")" + (m.result.kind == TypeKind::Void ? "" : " As " + TypeName(m.result)) + "\n";
}

// A live object of class `cls` through interface `itf`, set up so that every
// member has something to work on; `doc` is the document of a DOM target.
Dispatch MakeTarget(const ClassInfo& cls, std::string_view itf, DOMDocument doc) {
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
    object = std::make_shared<DocumentObject>(doc);
  } else {
    object = std::make_shared<NodeObject>(doc.createElement("Root"));
  }
  return QueryInterface(object, itf);
}

// An argument for `p`: files go to `dir`, DOM arguments belong to `doc`.
Variant ArgFor(const ParamInfo& p, const testing::TempDir& dir, DOMDocument doc) {
  const std::string t = TypeName(p.type);
  if (t == "Int16") return Variant(int16_t{1});
  if (t == "Int32" || t == "StatusNum") return Variant(int32_t{1});
  if (t == "Double") return Variant(1.5);
  if (t == "Date") return Variant(Date(45000.5));
  if (t == "Boolean") return Variant(true);
  if (t == "String") {
    if (p.name == "sFilePath") return Variant(dir / "member.xml");
    if (p.name == "sText") return Variant("<Root/>");
    return Variant(p.name == "sTagName" || p.name == "sName" ? "Child" : "1");
  }
  if (t == "Variant") return p.name == "oParam1" ? Variant() : Variant(int32_t{1});
  if (t == "DOMDocument") return Variant(std::make_shared<DocumentObject>(doc));
  if (t == "DOMNode") return Variant(std::make_shared<NodeObject>(doc.createElement("Child")));
  if (t == "CStatus") return Variant(std::make_shared<CStatus>());
  // A record to add: a client for a generic list (which holds client 1), a
  // new record of the named class otherwise.
  ObjectPtr child = CreateObject("Tympora." + (t == "CNode" ? std::string("CClient") : t));
  std::dynamic_pointer_cast<CNode>(child)->ID(2);
  return Variant(child);
}

// True when `value` is of the kind that the table declares (any, for a Variant).
bool OfType(const Variant& value, TypeKind type) {
  using enum VariantKind;
  constexpr VariantKind kKinds[] = {Empty, Int16,   Int32, Double, String,
                                    Date,  Boolean, Empty, Object};
  return type == TypeKind::Variant || value.Kind() == kKinds[static_cast<int>(type)];
}

// Every interface's block of the description: its identifiers and member
// count, then one line per member, exactly and in the order of the tables.
TEST(DispatchTest, DescriptionListsExactlyTheDispatchTables) {
  std::string expected;
  for (const InterfaceInfo& itf : Library().Interfaces()) {
    const std::string_view earlier = itf.identity->earlier_iid;
    expected += "interface " + std::string(itf.Name()) + " " + std::string(itf.identity->iid) +
                (earlier.empty() ? "" : " earlier " + std::string(earlier)) + " members " +
                std::to_string(itf.members.size()) + "\n";
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
        const DOMDocument doc = DOMDocument::New();
        const Dispatch target = MakeTarget(cls, itf->Name(), doc);
        std::vector<Variant> args;
        for (const ParamInfo& p : m.params) args.push_back(ArgFor(p, dir, doc));
        // A status target is set up to raise 2001; every other call succeeds.
        Variant result;
        EXPECT_EQ(ErrorOf([&] { result = Invoke(target, m.name, m.kind, args); }),
                  m.name == "RaiseError" ? 2001 : 0);
        EXPECT_TRUE(OfType(result, m.name == "RaiseError" ? TypeKind::Void : m.result.kind))
            << "result kind " << int(result.Kind());
        std::vector<Variant> more = args;
        more.emplace_back(int32_t{1});
        EXPECT_EQ(ErrorOf([&] { Invoke(target, m.name, m.kind, more); }), kErrArgumentCount);
        // One fewer than the required (leading, not optional) parameters.
        const auto required =
            std::ranges::find_if(m.params, &ParamInfo::optional) - m.params.begin();
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
      Invoke(own, p.property, kPut, {value});
      EXPECT_EQ(Invoke(own, p.property, kGet), value);
      EXPECT_EQ(Invoke(node, "PropertyByName", kGet, {Variant(std::string(p.element))}), value);
    }
  }
}

TEST(DispatchTest, ByReferenceDocumentsComeBackToTheCaller) {
  const Dispatch node = QueryInterface(CreateObject("Tympora.CCurve"), "_CNode");
  std::vector<Variant> args(1);  // no document yet
  const Variant status = Invoke(node, "ExportXMLDocument", kMethod, args);
  EXPECT_EQ(std::dynamic_pointer_cast<CStatus>(status.AsObject())->Number(), 0);
  ASSERT_EQ(args[0].Kind(), VariantKind::Object);
  const ObjectPtr document = args[0].AsObject();
  const Dispatch doc = QueryInterface(document);
  EXPECT_EQ(doc.Interface()->Name(), "DOMDocument");
  const Variant root = Invoke(doc, "documentElement", kGet);
  EXPECT_EQ(Invoke(QueryInterface(root.AsObject()), "nodeName", kGet), Variant("Curve"));

  // A document passed in stays the caller's very object; CreateXMLElement
  // hands its element back through ThisNode.
  std::vector<Variant> pair{args[0], Variant()};
  Invoke(node, "CreateXMLElement", kMethod, pair);
  EXPECT_EQ(pair[0].AsObject(), document);
  ASSERT_EQ(pair[1].Kind(), VariantKind::Object);
  EXPECT_EQ(NodeArgument(pair[1]).nodeName(), "Curve");

  // Importing the exported element into a new curve through dispatch.
  const ObjectPtr copy = CreateObject("Tympora.CCurve");
  Invoke(QueryInterface(copy), "Name", kPut, {Variant("kept")});
  std::vector<Variant> element{root};
  Invoke(QueryInterface(copy, "_CNode"), "ImportXMLNode", kMethod, element);
  EXPECT_EQ(Invoke(QueryInterface(copy), "Name", kGet), Variant(""));
}

TEST(DispatchTest, ChildListsAreLiveCollections) {
  const Dispatch own = QueryInterface(CreateObject("Tympora.CClients"));
  const Variant list = Invoke(own, "Clients", kGet);
  const Dispatch items = QueryInterface(list.AsObject());
  EXPECT_EQ(items.Interface()->Name(), "Collection");
  for (int32_t id : {5, 7}) {
    const ObjectPtr client = CreateObject("Tympora.CClient");
    Invoke(QueryInterface(client), "ID", kPut, {Variant(id)});
    Invoke(id == 5 ? own : items, id == 5 ? "AddClient" : "Add", kMethod, {Variant(client)});
  }
  EXPECT_EQ(Invoke(items, "Count", kGet), Variant(int32_t{2}));
  const Variant second = Invoke(items, "Item", kGet, {Variant(int32_t{2})});
  EXPECT_EQ(Invoke(items, "Item", kGet, {Variant("7")}), second);
  // The same list object until the list is reset.
  EXPECT_EQ(Invoke(own, "Clients", kGet), list);
  Invoke(items, "Remove", kMethod, {Variant("5")});
  EXPECT_EQ(Invoke(items, "Count", kGet), Variant(int32_t{1}));
  Invoke(own, "ResetClients", kMethod);
  EXPECT_NE(Invoke(own, "Clients", kGet), list);
  EXPECT_EQ(Invoke(items, "Count", kGet), Variant(int32_t{0}));
  EXPECT_EQ(Invoke(QueryInterface(second.AsObject(), "_CClient"), "ID", kGet), Variant(int32_t{0}));
}

TEST(DispatchTest, BadCallsGiveClearErrors) {
  const ObjectPtr curve = CreateObject("Tympora.CCurve");
  const Dispatch own = QueryInterface(curve);
  const Dispatch node = QueryInterface(curve, "_CNode");
  const Dispatch list = QueryInterface(Invoke(own, "CurveData", kGet).AsObject());
  const Variant distortion(CreateObject("Tympora.CDistortionDatum"));
  const Variant status(CreateObject("Tympora.CStatus"));
  const Variant a_node(std::make_shared<NodeObject>(DOMNode()));
  using Case =
      std::tuple<const char*, Dispatch, const char*, InvokeKind, std::vector<Variant>, int32_t>;
  const Case cases[] = {
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
  for (const auto& [what, target, member, kind, args, error] : cases) {
    EXPECT_EQ(ErrorOf([&] { Invoke(target, member, kind, std::vector<Variant>(args)); }), error)
        << what;
  }
  EXPECT_EQ(Invoke(own, "FxTime0", kGet), Variant(int32_t{0}));
}

TEST(DispatchTest, StatusCopiesTheLastDispatchError) {
  const Dispatch status = QueryInterface(CreateObject("Tympora.CStatus"));
  EXPECT_EQ(ErrorOf([&] { Invoke(status, "Nothing", kMethod); }), kErrNotSupported);
  Invoke(status, "OperatorEqualsErr", kMethod);
  EXPECT_EQ(Invoke(status, "Number", kGet), Variant(int32_t{438}));
  EXPECT_EQ(Invoke(status, "Source", kGet), Variant(kLibrarySource));
  // SetError takes its source as an optional argument.
  Invoke(status, "SetError", kMethod, {Variant(int32_t{2002})});
  EXPECT_EQ(Invoke(status, "Description", kGet), Variant("Supplied path invalid or missing."));
  EXPECT_EQ(Invoke(status, "Source", kGet), Variant(kLibrarySource));
  // Raising a status of Number 0 is refused rather than raising "no error".
  Invoke(status, "Number", kPut, {Variant(int32_t{0})});
  EXPECT_EQ(ErrorOf([&] { Invoke(status, "RaiseError", kMethod); }), kErrInvalidCall);
  // On a thread that dispatch never raised to, the copy is of no error at all.
  std::thread([&] { Invoke(status, "OperatorEqualsErr", kMethod); }).join();
  EXPECT_EQ(Invoke(status, "Number", kGet), Variant(int32_t{0}));
  EXPECT_EQ(Invoke(status, "Description", kGet), Variant(""));
}

}  // namespace
}  // namespace tympora
