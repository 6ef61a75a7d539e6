/* A host written in C that knows Tympora only through its C interface: it
 * loads the library at run time, builds a client list (from the class
 * factory) down to a curve point by name, exports it to a file by name,
 * imports the file into a new list, checks that the copy exports the same
 * element as the original, releases everything, and checks that the library
 * may be unloaded and is gone after dlclose.
 *
 * Usage: c_host <path of libtympora.so>. Exit status 0 when every step held. */
#define _POSIX_C_SOURCE 200809L

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tympora/tympora.h"
#include "tympora/version.h"

/* The library's functions that this host calls: a field of `lib` for each,
 * of the pointer type the header declares, looked up by name. */
#define FUNCTIONS(X)                              \
  X(get_class_object, DllGetClassObject)          \
  X(can_unload_now, DllCanUnloadNow)              \
  X(factory_create, tympora_factory_create)       \
  X(factory_release, tympora_factory_release)     \
  X(create_object, tympora_create_object)         \
  X(import_xml_file, tympora_import_xml_file)     \
  X(query_interface, tympora_query_interface)     \
  X(release, tympora_object_release)              \
  X(invoke, tympora_invoke)                       \
  X(clear, tympora_variant_clear)                 \
  X(set_string, tympora_variant_set_string)       \
  X(set_object, tympora_variant_set_object)       \
  X(error_description, tympora_error_description) \
  X(version, tympora_version)
#define FIELD(field, symbol) symbol##_fn field;
static struct { FUNCTIONS(FIELD) } lib;

static int failures = 0;

static void check(int ok, const char* what) {
  if (!ok) {
    ++failures;
    fprintf(stderr, "FAILED: %s (%s)\n", what,
            lib.error_description ? lib.error_description() : "");
  }
}

/* Function pointers from dlsym are copied bytewise, as ISO C has no cast
 * from an object pointer to a function pointer. */
#define LOAD(field, symbol)               \
  p = dlsym(handle, #symbol);             \
  check(p != NULL, "dlsym(" #symbol ")"); \
  memcpy(&lib.field, &p, sizeof lib.field);

/* True when every function was found. */
static int load(void* handle) {
  void* p = NULL;
  FUNCTIONS(LOAD)
  return failures == 0;
}

/* Calls a member with one argument (or none when arg is NULL); the result
 * belongs to the caller. */
static tympora_variant call(tympora_object* o, const char* member, int32_t kind,
                            tympora_variant* arg) {
  tympora_variant result = {0};
  check(lib.invoke(o, member, kind, arg, arg ? 1 : 0, &result) == 0, member);
  return result;
}

/* Puts `text` into the property `member` of `o`, or `number` when text is
 * NULL. */
static void put(tympora_object* o, const char* member, const char* text, double number) {
  tympora_variant v = {0};
  v.kind = TYMPORA_DOUBLE;
  v.value.dbl = number;
  if (text) lib.set_string(&v, text);
  check(lib.invoke(o, member, TYMPORA_PROPERTYPUT, &v, 1, NULL) == 0, member);
  lib.clear(&v);
}

/* Calls the _CNode member `member` of `record` with `arg`; the Number of the
 * status it returns (-1 for none). */
static int32_t node_call(tympora_object* record, const char* member, tympora_variant* arg) {
  tympora_object* node = NULL;
  check(lib.query_interface(record, "_CNode", &node) == 0, "_CNode");
  tympora_variant status = call(node, member, TYMPORA_METHOD_OR_PROPERTYGET, arg), number = {0};
  if (status.kind == TYMPORA_OBJECT && status.value.object) {
    number = call(status.value.object, "Number", TYMPORA_PROPERTYGET, NULL);
  }
  lib.clear(&status);
  lib.release(node);
  return number.kind == TYMPORA_INT32 ? number.value.int32 : -1;
}

/* The records below a client list, each made by name and added to the one
 * above it by its Add member. */
static const struct {
  const char *class_name, *add;
} chain[] = {
    {"Tympora.CClient", "AddClient"},
    {"Tympora.CClientAid", "AddAid"},
    {"Tympora.CTestDefinition", "AddTestDefinition"},
    {"Tympora.CExamination", "AddExamination"},
    {"Tympora.CCurve", "AddCurve"},
    {"Tympora.CCurveDatum", "AddCurveDatum"},
};
enum { LEVELS = sizeof chain / sizeof chain[0] + 1 };

static void build_tree(tympora_object* records[LEVELS]) {
  for (int i = 1; i < LEVELS; ++i) {
    check(lib.create_object(chain[i - 1].class_name, &records[i]) == 0, chain[i - 1].class_name);
    put(records[i], "ID", NULL, i);
  }
  put(records[1], "LastName", "M\xc3\xbcller & <Sons>", 0);
  put(records[2], "AidFMIsActivated", "True", 0);
  put(records[5], "FxSourceAmp", NULL, 0.5);
  put(records[6], "InputVal", NULL, 65.25);
  put(records[6], "Frequency", NULL, 1000);
  for (int i = LEVELS - 1; i > 0; --i) {
    tympora_variant v = {0};
    lib.set_object(&v, records[i]);
    tympora_variant r = call(records[i - 1], chain[i - 1].add, TYMPORA_METHOD, &v);
    lib.clear(&r);
    lib.clear(&v);
  }
}

/* The text of the element that `record` exports by ExportXMLDocument (calls
 * on what is not an object fail with 91 and leave the text empty). */
static char* element_xml(tympora_object* record) {
  tympora_variant document = {0};
  check(node_call(record, "ExportXMLDocument", &document) == 0, "ExportXMLDocument");
  tympora_variant root = call(document.value.object, "documentElement", TYMPORA_PROPERTYGET, NULL);
  tympora_variant xml = call(root.value.object, "xml", TYMPORA_PROPERTYGET, NULL);
  char* text = strdup(xml.kind == TYMPORA_STRING ? xml.value.string : "");
  lib.clear(&xml);
  lib.clear(&root);
  lib.clear(&document);
  return text;
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: %s <libtympora.so>\n", argv[0]);
    return 2;
  }
  void* handle = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    fprintf(stderr, "dlopen: %s\n", dlerror());
    return 2;
  }
  if (!load(handle)) return 2;
  check(strcmp(lib.version(), TYMPORA_VERSION_STRING) == 0, "tympora_version");

  void* factory = NULL;
  check(lib.get_class_object("Tympora.CClients", "IClassFactory", &factory) == TYMPORA_S_OK,
        "DllGetClassObject(Tympora.CClients)");
  if (!factory) return 1;
  check(lib.can_unload_now() == TYMPORA_S_FALSE, "a live factory keeps the library loaded");
  tympora_object* records[LEVELS] = {NULL};
  check(lib.factory_create((tympora_factory*)factory, &records[0]) == 0, "tympora_factory_create");
  tympora_object* clients = records[0];
  build_tree(records);
  for (int i = 1; i < LEVELS; ++i) lib.release(records[i]);

  char folder[] = "/tmp/tympora_c_host_XXXXXX";
  check(mkdtemp(folder) != NULL, "mkdtemp");
  char path[sizeof folder + 16];
  snprintf(path, sizeof path, "%s/clients.xml", folder);
  tympora_variant arg = {0};
  lib.set_string(&arg, path);
  check(node_call(clients, "ExportXMLPath", &arg) == 0, "ExportXMLPath returns Number 0");
  lib.clear(&arg);
  tympora_object *copy = NULL, *status = NULL;
  check(lib.create_object("Tympora.CClients", &copy) == 0 &&
            lib.import_xml_file(copy, path, &status) == 0 && status,
        "tympora_import_xml_file");
  lib.release(status);
  char* a = element_xml(clients);
  char* b = element_xml(copy);
  check(strlen(a) > 0 && strcmp(a, b) == 0, "the copy exports the same element");
  free(a);
  free(b);

  lib.release(copy);
  lib.release(clients);
  lib.factory_release((tympora_factory*)factory);
  unlink(path);
  rmdir(folder);
  check(lib.can_unload_now() == TYMPORA_S_OK, "DllCanUnloadNow after releasing everything");
  check(dlclose(handle) == 0, "dlclose");
  void* again = dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD);
  check(again == NULL, "the library is unmapped after dlclose");
  if (again) dlclose(again);
  printf("%s\n", failures == 0 ? "c_host: all checks passed" : "c_host: FAILED");
  return failures == 0 ? 0 : 1;
}
