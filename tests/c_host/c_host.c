/* A host written in C that knows Tympora only through its C interface: it
 * loads the library at run time, builds a client list (from the class
 * factory) down to a curve point by name, exports it by name to a path and
 * to a file number it opened, imports the files into new lists (by
 * ImportXMLNode of a loaded document, and by tympora_import_xml_file), checks
 * that they export the same element as the original, releases everything,
 * and checks that the library may be unloaded and is gone after dlclose.
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

/* The library's functions, looked up by name. */
static struct {
  DllGetClassObject_fn get_class_object;
  DllCanUnloadNow_fn can_unload_now;
  tympora_factory_create_fn factory_create;
  tympora_factory_release_fn factory_release;
  tympora_create_object_fn create_object;
  tympora_create_document_fn create_document;
  tympora_query_interface_fn query_interface;
  tympora_object_release_fn release;
  tympora_invoke_fn invoke;
  tympora_variant_clear_fn clear;
  tympora_variant_set_string_fn set_string;
  tympora_variant_set_object_fn set_object;
  tympora_error_description_fn error_description;
  tympora_file_open_fn file_open;
  tympora_file_close_fn file_close;
  tympora_import_xml_file_fn import_xml_file;
  tympora_version_fn version;
} lib;

static int failures = 0;

static void check(int ok, const char* what) {
  if (!ok) {
    ++failures;
    fprintf(stderr, "FAILED: %s (%s)\n", what,
            lib.error_description ? lib.error_description() : "");
  }
}

/* Function pointers from dlsym: copied bytewise, as ISO C has no cast from
 * an object pointer to a function pointer. */
#define LOAD(field, name)                           \
  do {                                              \
    void* p_ = dlsym(handle, name);                 \
    if (!p_) {                                      \
      fprintf(stderr, "missing symbol %s\n", name); \
      exit(2);                                      \
    }                                               \
    memcpy(&lib.field, &p_, sizeof lib.field);      \
  } while (0)

static void load(void* handle) {
  LOAD(get_class_object, "DllGetClassObject");
  LOAD(can_unload_now, "DllCanUnloadNow");
  LOAD(factory_create, "tympora_factory_create");
  LOAD(factory_release, "tympora_factory_release");
  LOAD(create_object, "tympora_create_object");
  LOAD(create_document, "tympora_create_document");
  LOAD(query_interface, "tympora_query_interface");
  LOAD(release, "tympora_object_release");
  LOAD(invoke, "tympora_invoke");
  LOAD(clear, "tympora_variant_clear");
  LOAD(set_string, "tympora_variant_set_string");
  LOAD(set_object, "tympora_variant_set_object");
  LOAD(error_description, "tympora_error_description");
  LOAD(file_open, "tympora_file_open");
  LOAD(file_close, "tympora_file_close");
  LOAD(import_xml_file, "tympora_import_xml_file");
  LOAD(version, "tympora_version");
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

/* Reads the file at `path` into a new client list through ImportXMLNode. */
static tympora_object* import_file(const char* path) {
  tympora_object* document = NULL;
  check(lib.create_document(&document) == 0, "tympora_create_document");
  tympora_variant arg = {0};
  lib.set_string(&arg, path);
  tympora_variant loaded = call(document, "load", TYMPORA_METHOD, &arg);
  check(loaded.kind == TYMPORA_BOOL && loaded.value.boolean, "load the exported file");
  lib.clear(&arg);
  tympora_variant root = call(document, "documentElement", TYMPORA_PROPERTYGET, NULL);
  tympora_object* clients = NULL;
  check(lib.create_object("Tympora.CClients", &clients) == 0, "Tympora.CClients");
  check(node_call(clients, "ImportXMLNode", &root) == 0, "ImportXMLNode returns Number 0");
  lib.clear(&root);
  lib.release(document);
  return clients;
}

/* The text of the element that `record` exports by ExportXMLDocument. */
static char* element_xml(tympora_object* record) {
  tympora_variant document = {0}, root = {0}, xml = {0};
  check(node_call(record, "ExportXMLDocument", &document) == 0, "ExportXMLDocument");
  if (document.kind == TYMPORA_OBJECT && document.value.object) {
    root = call(document.value.object, "documentElement", TYMPORA_PROPERTYGET, NULL);
  }
  if (root.kind == TYMPORA_OBJECT && root.value.object) {
    xml = call(root.value.object, "xml", TYMPORA_PROPERTYGET, NULL);
  }
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
  load(handle);
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
  char path[sizeof folder + 16], numbered_path[sizeof folder + 16];
  snprintf(path, sizeof path, "%s/clients.xml", folder);
  snprintf(numbered_path, sizeof numbered_path, "%s/numbered.xml", folder);
  tympora_variant arg = {0};
  lib.set_string(&arg, path);
  check(node_call(clients, "ExportXMLPath", &arg) == 0, "ExportXMLPath returns Number 0");
  int16_t number = 0;
  check(lib.file_open(numbered_path, TYMPORA_FILE_CREATE_NEW, &number) == 0 && number >= 1,
        "tympora_file_open");
  lib.clear(&arg);
  arg.kind = TYMPORA_INT16;
  arg.value.int16 = number;
  check(node_call(clients, "ExportXMLFileHandle", &arg) == 0, "ExportXMLFileHandle");
  check(lib.file_close(number) == 0, "tympora_file_close");

  tympora_object* copy = import_file(path);
  tympora_object* numbered_copy = NULL;
  tympora_object* status = NULL;
  check(lib.create_object("Tympora.CClients", &numbered_copy) == 0 &&
            lib.import_xml_file(numbered_copy, numbered_path, &status) == 0 && status,
        "tympora_import_xml_file");
  lib.release(status);
  char* a = element_xml(clients);
  char* b = element_xml(copy);
  char* c = element_xml(numbered_copy);
  check(strlen(a) > 0 && strcmp(a, b) == 0, "the copy exports the same element");
  check(strcmp(a, c) == 0, "the list read from the numbered file exports the same element");
  free(a);
  free(b);
  free(c);

  lib.release(numbered_copy);
  lib.release(copy);
  lib.release(clients);
  lib.factory_release((tympora_factory*)factory);
  unlink(path);
  unlink(numbered_path);
  rmdir(folder);
  check(lib.can_unload_now() == TYMPORA_S_OK, "DllCanUnloadNow after releasing everything");
  check(dlclose(handle) == 0, "dlclose");
  void* again = dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD);
  check(again == NULL, "the library is unmapped after dlclose");
  if (again) dlclose(again);
  printf("%s\n", failures == 0 ? "c_host: all checks passed" : "c_host: FAILED");
  return failures == 0 ? 0 : 1;
}
