// The C interface: bad handles and arguments, ownership of variants, the
// entry points, the live-object count, and use from several threads.
#include <gtest/gtest.h>

#include <cstdio>
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

TEST(CApiTest, BadHandlesAndArgumentsAreErrorsNotCrashes) {
  Handle curve;
  ASSERT_EQ(tympora_create_object("Tympora.CCurve", &curve.p), 0);
  Value arg, result;
  arg.v.kind = 42;
  Handle document, node, other;
  ASSERT_EQ(tympora_create_document(&document.p), 0);
  ASSERT_EQ(tympora_query_interface(curve.p, "_CNode", &node.p), 0);
  ASSERT_EQ(tympora_create_object("Tympora.CCurve", &other.p), 0);
  tympora_object* out = reinterpret_cast<tympora_object*>(&arg);  // must be reset to NULL
  int16_t number = 9;                                             // must be reset to 0
  Handle imported;  // what the import of a missing file hands back
  // What was called, the number it returned and the number it should return.
  const std::tuple<const char*, int32_t, int32_t> cases[] = {
      {"NULL object", tympora_invoke(nullptr, "ID", TYMPORA_PROPERTYGET, nullptr, 0, nullptr), 91},
      {"NULL member", tympora_invoke(curve.p, nullptr, TYMPORA_PROPERTYGET, nullptr, 0, nullptr),
       5},
      {"bad kind", tympora_invoke(curve.p, "ID", 8, nullptr, 0, nullptr), 5},
      {"method or get",
       tympora_invoke(curve.p, "ID", TYMPORA_METHOD_OR_PROPERTYGET, nullptr, 0, nullptr), 0},
      {"method or get, no put",
       tympora_invoke(curve.p, "Nope", TYMPORA_METHOD_OR_PROPERTYGET, nullptr, 0, nullptr), 438},
      {"negative count", tympora_invoke(curve.p, "ID", TYMPORA_PROPERTYGET, &arg.v, -1, nullptr),
       5},
      {"NULL arguments", tympora_invoke(curve.p, "ID", TYMPORA_PROPERTYPUT, nullptr, 1, nullptr),
       5},
      {"unknown variant kind",
       tympora_invoke(curve.p, "ID", TYMPORA_PROPERTYPUT, &arg.v, 1, nullptr), 5},
      {"unknown member", tympora_invoke(curve.p, "Nope", TYMPORA_METHOD, nullptr, 0, &result.v),
       438},
      {"wrong count", tympora_invoke(curve.p, "ID", TYMPORA_PROPERTYGET, &result.v, 1, nullptr),
       450},
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

  };
  for (const auto& [what, got, want] : cases) EXPECT_EQ(got, want) << what;
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(number, 0);
  EXPECT_STREQ(tympora_interface_name(imported.p), "_CStatus");
  EXPECT_EQ(result.v.kind, TYMPORA_EMPTY);
  // The last error stays readable until the next call; a success clears it.
  EXPECT_EQ(tympora_invoke(curve.p, "Nope", TYMPORA_METHOD, nullptr, 0, nullptr), 438);
  EXPECT_EQ(tympora_error_number(), 438);
  EXPECT_NE(std::string(tympora_error_description()).find("_CCurve.Nope"), std::string::npos);
  EXPECT_STREQ(tympora_error_source(), "Tympora");
  // A raised status keeps its help file and context.
  Handle status;
  ASSERT_EQ(tympora_create_object("Tympora.CStatus", &status.p), 0);
  Value help;
  tympora_variant_set_string(&help.v, "records.hlp");
  ASSERT_EQ(tympora_invoke(status.p, "HelpFile", TYMPORA_PROPERTYPUT, &help.v, 1, nullptr), 0);
  tympora_variant_clear(&help.v);
  help.v.kind = TYMPORA_INT32;
  help.v.value.int32 = 2002;
  ASSERT_EQ(tympora_invoke(status.p, "SetError", TYMPORA_METHOD, &help.v, 1, nullptr), 0);
  help.v.value.int32 = 17;
  ASSERT_EQ(tympora_invoke(status.p, "HelpContext", TYMPORA_PROPERTYPUT, &help.v, 1, nullptr), 0);
  EXPECT_EQ(tympora_invoke(status.p, "RaiseError", TYMPORA_METHOD, nullptr, 0, nullptr),
            TYMPORA_STATUS_BADPATH);
  EXPECT_STREQ(tympora_error_help_file(), "records.hlp");
  EXPECT_EQ(tympora_error_help_context(), 17);
  EXPECT_EQ(tympora_invoke(curve.p, "ID", TYMPORA_PROPERTYGET, nullptr, 0, nullptr), 0);
  EXPECT_EQ(tympora_error_number(), 0);
  EXPECT_STREQ(tympora_error_help_file(), "");
  EXPECT_EQ(tympora_error_help_context(), 0);
  const std::string saved = ::testing::TempDir() + "c_api_saved.xml";
  EXPECT_EQ(tympora_save_xml_path(curve.p, saved.c_str()), 0) << tympora_error_description();
  Handle read;
  EXPECT_EQ(tympora_import_xml_file(other.p, saved.c_str(), &read.p), 0);
  EXPECT_STREQ(tympora_interface_name(read.p), "_CStatus");
  EXPECT_EQ(std::remove(saved.c_str()), 0);
  EXPECT_STREQ(tympora_interface_name(nullptr), "");
  tympora_variant_clear(nullptr);
  tympora_object_release(nullptr);
  tympora_factory_release(nullptr);
}

TEST(CApiTest, ValuesKeepTheirKindsAndByReferenceArgumentsComeBack) {
  Handle client;
  ASSERT_EQ(tympora_create_object("Tympora.CClient", &client.p), 0);
  EXPECT_STREQ(tympora_interface_name(client.p), "_CClient");
  Value text, date, flag, got;
  tympora_variant_set_string(&text.v, "Z\xc3\xbcrich");
  date.v.kind = TYMPORA_DATE;
  date.v.value.date = 36526.75;
  flag.v.kind = TYMPORA_BOOL;
  flag.v.value.boolean = 7;  // any non-zero value is true
  ASSERT_EQ(tympora_invoke(client.p, "City", TYMPORA_PROPERTYPUT, &text.v, 1, nullptr), 0);
  ASSERT_EQ(tympora_invoke(client.p, "City", TYMPORA_PROPERTYGET, nullptr, 0, &got.v), 0);
  ASSERT_EQ(got.v.kind, TYMPORA_STRING);
  EXPECT_STREQ(got.v.value.string, "Z\xc3\xbcrich");
  EXPECT_NE(got.v.value.string, text.v.value.string);  // a copy the caller owns
  ASSERT_EQ(tympora_invoke(client.p, "BirthDate", TYMPORA_PROPERTYPUT, &date.v, 1, nullptr), 0);
  ASSERT_EQ(tympora_invoke(client.p, "BirthDate", TYMPORA_PROPERTYGET, nullptr, 0, &got.v), 0);
  EXPECT_EQ(got.v.kind, TYMPORA_DATE);
  EXPECT_EQ(got.v.value.date, 36526.75);
  ASSERT_EQ(tympora_invoke(client.p, "Deleted", TYMPORA_PROPERTYPUT, &flag.v, 1, nullptr), 0);
  ASSERT_EQ(tympora_invoke(client.p, "Deleted", TYMPORA_PROPERTYGET, nullptr, 0, &got.v), 0);
  EXPECT_EQ(got.v.kind, TYMPORA_BOOL);
  EXPECT_EQ(got.v.value.boolean, 1);
  Handle point;
  ASSERT_EQ(tympora_create_object("Tympora.CCurveDatum", &point.p), 0);
  Value input;
  input.v.kind = TYMPORA_DOUBLE;
  input.v.value.dbl = 65.25;
  ASSERT_EQ(tympora_invoke(point.p, "InputVal", TYMPORA_PROPERTYPUT, &input.v, 1, nullptr), 0);
  ASSERT_EQ(tympora_invoke(point.p, "InputVal", TYMPORA_PROPERTYGET, nullptr, 0, &got.v), 0);
  EXPECT_EQ(got.v.kind, TYMPORA_DOUBLE);
  EXPECT_EQ(got.v.value.dbl, 65.25);

  Handle node;
  ASSERT_EQ(tympora_query_interface(client.p, "_CNode", &node.p), 0);
  Value document;  // Empty: the export creates the document and hands it back
  ASSERT_EQ(tympora_invoke(node.p, "ExportXMLDocument", TYMPORA_METHOD, &document.v, 1, &got.v), 0);
  ASSERT_EQ(document.v.kind, TYMPORA_OBJECT);
  EXPECT_STREQ(tympora_interface_name(document.v.value.object), "DOMDocument");
  ASSERT_EQ(tympora_invoke(document.v.value.object, "xml", TYMPORA_PROPERTYGET, nullptr, 0, &got.v),
            0);
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
  EXPECT_EQ(DllCanUnloadNow(), TYMPORA_S_FALSE);  // a factory alone keeps the library
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
    tympora::DOMNode node;
    {
      tympora::DOMDocument document = tympora::DOMDocument::New();
      EXPECT_GT(tympora::Object::LiveCount(), before);
      node = document.createElement("Clients");
    }
    EXPECT_GT(tympora::Object::LiveCount(), before);
    EXPECT_EQ(DllCanUnloadNow(), TYMPORA_S_FALSE);
  }
  EXPECT_EQ(tympora::Object::LiveCount(), before);
  if (before == 0) {
    EXPECT_EQ(DllCanUnloadNow(), TYMPORA_S_OK);
  }
}

TEST(CApiTest, ThreadsWorkOnTheirOwnObjectsAndErrors) {
  const long before = tympora::Object::LiveCount();
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      for (int i = 0; i < 50; ++i) {
        tympora_object* point = nullptr;
        Value v;
        v.v.kind = TYMPORA_INT32;
        v.v.value.int32 = t * 1000 + i;
        failures[t] += tympora_create_object("Tympora.CCurveDatum", &point) != 0;
        failures[t] += tympora_invoke(point, "Frequency", TYMPORA_PROPERTYPUT, &v.v, 1, nullptr);
        failures[t] += tympora_invoke(point, "Frequency", TYMPORA_PROPERTYGET, nullptr, 0, &v.v);
        failures[t] += v.v.value.int32 != t * 1000 + i;
        failures[t] += tympora_invoke(point, "Bad", TYMPORA_METHOD, nullptr, 0, nullptr) != 438;
        failures[t] += tympora_error_number() != 438;
        tympora_object_release(point);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
  EXPECT_EQ(tympora::Object::LiveCount(), before);
}

}  // namespace
