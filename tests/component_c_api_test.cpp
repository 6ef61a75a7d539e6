// The C interface: bad handles and arguments, ownership of variants, the
// entry points, the live-object count, and use from several threads.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "tympora/node/dom.hpp"
#include "tympora/node/object.hpp"
#include "tympora/tympora.h"

namespace {

// A variant that clears itself.
struct Value {
  tympora_variant v{};
  ~Value() { tympora_variant_clear(&v); }
};

// A handle that releases itself.
struct Handle {
  tympora_object* p = nullptr;
  ~Handle() { tympora_object_release(p); }
};

constexpr int32_t kGet = TYMPORA_PROPERTYGET, kPut = TYMPORA_PROPERTYPUT, kMethod = TYMPORA_METHOD;

// tympora_invoke, with no arguments and no result unless given.
int32_t Call(const tympora_object* o, const char* member, int32_t kind,
             tympora_variant* args = nullptr, int32_t count = 0,
             tympora_variant* result = nullptr) {
  return tympora_invoke(o, member, kind, args, count, result);
}

// Puts `v` (still the caller's) into the property `member` of `o`, then
// reads it back into `got`; the first failure's number.
int32_t PutGet(const tympora_object* o, const char* member, tympora_variant v, Value& got) {
  const int32_t put = Call(o, member, kPut, &v, 1);
  return put ? put : Call(o, member, kGet, nullptr, 0, &got.v);
}

TEST(CApiTest, BadHandlesAndArgumentsAreErrorsNotCrashes) {
  Handle curve, document, node, other;
  ASSERT_EQ(tympora_create_object("Tympora.CCurve", &curve.p), 0);
  Value arg, result;
  arg.v.kind = 42;
  ASSERT_EQ(tympora_create_document(&document.p), 0);
  ASSERT_EQ(tympora_query_interface(curve.p, "_CNode", &node.p), 0);
  ASSERT_EQ(tympora_create_object("Tympora.CCurve", &other.p), 0);
  tympora_object* out = reinterpret_cast<tympora_object*>(&arg);  // must be reset to NULL
  int16_t number = 9;                                             // must be reset to 0
  Handle imported;  // what the import of a missing file hands back
  // What was called, the number it returned and the number it should return.
  const std::tuple<const char*, int32_t, int32_t> cases[] = {
      {"NULL object", Call(nullptr, "ID", kGet), 91},
      {"NULL member", Call(curve.p, nullptr, kGet), 5},
      {"bad kind", Call(curve.p, "ID", 8), 5},
      {"method or get", Call(curve.p, "ID", TYMPORA_METHOD_OR_PROPERTYGET), 0},
      {"method or get, no put", Call(curve.p, "Nope", TYMPORA_METHOD_OR_PROPERTYGET), 438},
      {"negative count", Call(curve.p, "ID", kGet, &arg.v, -1), 5},
      {"NULL arguments", Call(curve.p, "ID", kPut, nullptr, 1), 5},
      {"unknown variant kind", Call(curve.p, "ID", kPut, &arg.v, 1), 5},
      {"wrong count", Call(curve.p, "ID", kGet, &result.v, 1), 450},
      {"NULL class name", tympora_create_object(nullptr, &out), 5},
      {"CNode", tympora_create_object("Tympora.CNode", &out), 429},
      {"NULL out", tympora_create_object("Tympora.CCurve", nullptr), 5},
      {"query NULL", tympora_query_interface(nullptr, "_CNode", &out), 91},
      {"query missing", tympora_query_interface(curve.p, "_CStatus", &out), 430},
      {"NULL factory", tympora_factory_create(nullptr, &out), 91},
      {"NULL variant", tympora_variant_set_string(nullptr, "x"), 5},
      {"NULL document out", tympora_create_document(nullptr), 5},
      {"NULL path", tympora_file_open(nullptr, TYMPORA_FILE_BINARY, &number), 5},
      {"unknown file mode", tympora_file_open("unused.xml", 7, &number), 5},
      {"no place for the number", tympora_file_open("unused.xml", TYMPORA_FILE_BINARY, nullptr), 5},
      {"missing folder",
       tympora_file_open("/nonexistent-tympora/x.xml", TYMPORA_FILE_BINARY, &number), 76},
      {"close a number never opened", tympora_file_close(511), 52},
      {"close number 0", tympora_file_close(0), 52},
      {"same object: two NULLs", tympora_same_object(nullptr, nullptr), 1},
      {"same object: NULL and a record", tympora_same_object(curve.p, nullptr), 0},
      {"same object: two interfaces", tympora_same_object(curve.p, node.p), 1},
      {"same object: two records", tympora_same_object(curve.p, other.p), 0},
      {"save NULL record", tympora_save_xml_path(nullptr, "x.xml"), 91},
      {"save to NULL path", tympora_save_xml_path(curve.p, nullptr), 5},
      {"save to empty path", tympora_save_xml_path(curve.p, ""), 2002},
      {"save to a folder", tympora_save_xml_path(curve.p, "/"), 75},
      {"save no record", tympora_save_xml_path(document.p, "x.xml"), 430},
      {"import into NULL", tympora_import_xml_file(nullptr, "x.xml", &out), 91},
      {"import NULL path", tympora_import_xml_file(curve.p, nullptr, &out), 5},
      {"import into no record", tympora_import_xml_file(document.p, "x.xml", &out), 13},
      {"import a missing file",
       tympora_import_xml_file(curve.p, "tympora-c-api-missing.xml", &imported.p), 53},
      {"import, no place for the status", tympora_import_xml_file(curve.p, "x.xml", nullptr), 5},
      {"unknown member", Call(curve.p, "Nope", kMethod, nullptr, 0, &result.v), 438},
  };
  for (const auto& [what, got, want] : cases) EXPECT_EQ(got, want) << what;
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(number, 0);
  EXPECT_STREQ(tympora_interface_name(imported.p), "_CStatus");
  EXPECT_EQ(result.v.kind, TYMPORA_EMPTY);
  // The last error stays readable until the next call; a success clears it.
  EXPECT_EQ(tympora_error_number(), 438);
  EXPECT_NE(std::string(tympora_error_description()).find("_CCurve.Nope"), std::string::npos);
  EXPECT_STREQ(tympora_error_source(), "Tympora");
  // A raised status keeps its help file and context.
  Handle status;
  ASSERT_EQ(tympora_create_object("Tympora.CStatus", &status.p), 0);
  Value help;
  tympora_variant_set_string(&help.v, "records.hlp");
  tympora_variant code{TYMPORA_INT32, {.int32 = 2002}}, context{TYMPORA_INT32, {.int32 = 17}};
  ASSERT_EQ(Call(status.p, "HelpFile", kPut, &help.v, 1), 0);
  ASSERT_EQ(Call(status.p, "SetError", kMethod, &code, 1), 0);
  ASSERT_EQ(Call(status.p, "HelpContext", kPut, &context, 1), 0);
  EXPECT_EQ(Call(status.p, "RaiseError", kMethod), TYMPORA_STATUS_BADPATH);
  EXPECT_STREQ(tympora_error_help_file(), "records.hlp");
  EXPECT_EQ(tympora_error_help_context(), 17);
  EXPECT_EQ(Call(curve.p, "ID", kGet), 0);
  EXPECT_EQ(tympora_error_number(), 0);
  EXPECT_STREQ(tympora_error_help_file(), "");
  EXPECT_EQ(tympora_error_help_context(), 0);
  // (A save and an import that succeed are the C host's.)
  EXPECT_STREQ(tympora_interface_name(nullptr), "");
  tympora_variant_clear(nullptr);
  tympora_object_release(nullptr);
  tympora_factory_release(nullptr);
}

TEST(CApiTest, ValuesKeepTheirKindsAndByReferenceArgumentsComeBack) {
  Handle client, point;
  ASSERT_EQ(tympora_create_object("Tympora.CClient", &client.p), 0);
  EXPECT_STREQ(tympora_interface_name(client.p), "_CClient");
  ASSERT_EQ(tympora_create_object("Tympora.CCurveDatum", &point.p), 0);
  Value text, got;
  tympora_variant_set_string(&text.v, "Z\xc3\xbcrich");
  ASSERT_EQ(PutGet(client.p, "City", text.v, got), 0);
  ASSERT_EQ(got.v.kind, TYMPORA_STRING);
  EXPECT_STREQ(got.v.value.string, "Z\xc3\xbcrich");
  EXPECT_NE(got.v.value.string, text.v.value.string);  // a copy the caller owns
  ASSERT_EQ(PutGet(client.p, "BirthDate", {TYMPORA_DATE, {.date = 36526.75}}, got), 0);
  EXPECT_EQ(got.v.kind, TYMPORA_DATE);
  EXPECT_EQ(got.v.value.date, 36526.75);
  // Any non-zero value is true.
  ASSERT_EQ(PutGet(client.p, "Deleted", {TYMPORA_BOOL, {.boolean = 7}}, got), 0);
  EXPECT_EQ(got.v.kind, TYMPORA_BOOL);
  EXPECT_EQ(got.v.value.boolean, 1);
  ASSERT_EQ(PutGet(point.p, "InputVal", {TYMPORA_DOUBLE, {.dbl = 65.25}}, got), 0);
  EXPECT_EQ(got.v.kind, TYMPORA_DOUBLE);
  EXPECT_EQ(got.v.value.dbl, 65.25);

  Handle node;
  ASSERT_EQ(tympora_query_interface(client.p, "_CNode", &node.p), 0);
  Value document;  // Empty: the export creates the document and hands it back
  ASSERT_EQ(Call(node.p, "ExportXMLDocument", kMethod, &document.v, 1, &got.v), 0);
  ASSERT_EQ(document.v.kind, TYMPORA_OBJECT);
  EXPECT_STREQ(tympora_interface_name(document.v.value.object), "DOMDocument");
  ASSERT_EQ(Call(document.v.value.object, "xml", kGet, nullptr, 0, &got.v), 0);
  EXPECT_NE(std::strstr(got.v.value.string, "<City>Z\xc3\xbcrich</City>"), nullptr);

  char* description = tympora_describe();
  ASSERT_NE(description, nullptr);
  EXPECT_NE(std::strstr(description, "interface _CNode "), nullptr);
  tympora_free(description);
}

TEST(CApiTest, EntryPointsAndTheLiveObjectCount) {
  void* factory = reinterpret_cast<void*>(1);
  EXPECT_EQ(DllGetClassObject(nullptr, nullptr, &factory), TYMPORA_E_INVALIDARG);
  EXPECT_EQ(factory, nullptr);
  EXPECT_EQ(DllGetClassObject("Tympora.CClients", nullptr, nullptr), TYMPORA_E_INVALIDARG);
  EXPECT_EQ(DllGetClassObject("Tympora.CNode", nullptr, &factory), TYMPORA_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(DllGetClassObject("Tympora.CClients", "IStream", &factory), TYMPORA_E_NOINTERFACE);
  EXPECT_EQ(factory, nullptr);

  const long before = tympora::Object::LiveCount();
  ASSERT_EQ(DllGetClassObject("{F19A97FA-16B9-4C95-86AC-5F6C8D443D56}", "IClassFactory", &factory),
            TYMPORA_S_OK);
  Handle clients;
  ASSERT_EQ(tympora_factory_create(static_cast<tympora_factory*>(factory), &clients.p), 0);
  EXPECT_STREQ(tympora_interface_name(clients.p), "_CClients");
  tympora_factory_release(static_cast<tympora_factory*>(factory));
  Value held;
  tympora_variant_set_object(&held.v, clients.p);
  tympora_object_release(clients.p);
  clients.p = nullptr;
  EXPECT_EQ(DllCanUnloadNow(), TYMPORA_S_FALSE);  // the variant still holds the list
  tympora_variant_clear(&held.v);
  EXPECT_EQ(tympora::Object::LiveCount(), before);
  {
    // A C++ host's DOM handles keep the library too: a node keeps its document.
    tympora::DOMDocument document = tympora::DOMDocument::New();
    EXPECT_GT(tympora::Object::LiveCount(), before);
    const tympora::DOMNode node = document.createElement("Clients");
    document = tympora::DOMDocument();
    EXPECT_GT(tympora::Object::LiveCount(), before);
    EXPECT_EQ(DllCanUnloadNow(), TYMPORA_S_FALSE);
  }
  EXPECT_EQ(tympora::Object::LiveCount(), before);
  EXPECT_EQ(before == 0 ? DllCanUnloadNow() : TYMPORA_S_OK, TYMPORA_S_OK);
}

TEST(CApiTest, ThreadsWorkOnTheirOwnObjectsAndErrors) {
  const long before = tympora::Object::LiveCount();
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      failures[t] += tympora_error_number() != 0;  // nothing has failed here yet
      for (int i = 0; i < 50; ++i) {
        Handle point;
        Value got;
        failures[t] += tympora_create_object("Tympora.CCurveDatum", &point.p) != 0;
        failures[t] += PutGet(point.p, "Frequency", {TYMPORA_INT32, {.int32 = t * 1000 + i}}, got);
        failures[t] += got.v.kind != TYMPORA_INT32 || got.v.value.int32 != t * 1000 + i;
        failures[t] += Call(point.p, "Bad", kMethod) != 438;
        failures[t] += tympora_error_number() != 438;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
  EXPECT_EQ(tympora::Object::LiveCount(), before);
}

}  // namespace
