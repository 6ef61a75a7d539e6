/* A host written in C that knows Tympora only through its C interface: it
 * loads the library at run time, gets the class factory of the client list,
 * builds a small tree by name (client list, client, aid, test session,
 * examination, curve, curve point), exports it to a file by name and to a
 * file number that it opened, imports both files into new lists by name,
 * compares them, releases everything, checks that the library may be
 * unloaded, unloads it and checks that it is gone.
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
  tympora_same_object_fn same_object;
  tympora_invoke_fn invoke;
  tympora_variant_clear_fn clear;
  tympora_variant_set_string_fn set_string;
  tympora_variant_set_object_fn set_object;
  tympora_error_number_fn error_number;
  tympora_error_description_fn error_description;
  tympora_file_open_fn file_open;
  tympora_file_close_fn file_close;
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

static void* symbol(void* handle, const char* name) {
  void* p = dlsym(handle, name);
  if (!p) {
    fprintf(stderr, "missing symbol %s\n", name);
    exit(2);
  }
  return p;
}

/* Function pointers from dlsym: copied bytewise, as ISO C has no cast from
 * an object pointer to a function pointer. */
#define LOAD(field, name)                      \
  do {                                         \
    void* p_ = symbol(handle, name);           \
    memcpy(&lib.field, &p_, sizeof lib.field); \
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
  LOAD(error_number, "tympora_error_number");
  LOAD(error_description, "tympora_error_description");
  LOAD(same_object, "tympora_same_object");
  LOAD(file_open, "tympora_file_open");
  LOAD(file_close, "tympora_file_close");
  LOAD(version, "tympora_version");
}

static tympora_object* create(const char* name) {
  tympora_object* object = NULL;
  check(lib.create_object(name, &object) == 0, name);
  return object;
}

static void put_string(tympora_object* o, const char* member, const char* value) {
  tympora_variant v = {0};
  lib.set_string(&v, value);
  check(lib.invoke(o, member, TYMPORA_PROPERTYPUT, &v, 1, NULL) == 0, member);
  lib.clear(&v);
}

static void put_number(tympora_object* o, const char* member, double value) {
  tympora_variant v = {0};
  v.kind = TYMPORA_DOUBLE;
  v.value.dbl = value;
  check(lib.invoke(o, member, TYMPORA_PROPERTYPUT, &v, 1, NULL) == 0, member);
}

/* Calls a method or property get with one argument (or none when arg is
 * NULL); the result belongs to the caller. */
static tympora_variant call(tympora_object* o, const char* member, int32_t kind,
                            tympora_variant* arg) {
  tympora_variant result = {0};
  check(lib.invoke(o, member, kind, arg, arg ? 1 : 0, &result) == 0, member);
  return result;
}

static void add_child(tympora_object* parent, const char* member, tympora_object* child) {
  tympora_variant v = {0};
  lib.set_object(&v, child);
  tympora_variant r = call(parent, member, TYMPORA_METHOD, &v);
  lib.clear(&r);
  lib.clear(&v);
}

/* The Number of a status held in `status`, which is cleared. */
static int32_t status_number(tympora_variant* status) {
  int32_t number = -1;
  if (status->kind == TYMPORA_OBJECT && status->value.object) {
    tympora_variant n = call(status->value.object, "Number", TYMPORA_METHOD_OR_PROPERTYGET, NULL);
    number = n.value.int32;
  }
  lib.clear(status);
  return number;
}

/* The first element of the list property `list` of `record`, or NULL. */
static tympora_object* first_child(tympora_object* record, const char* list) {
  tympora_variant items = call(record, list, TYMPORA_PROPERTYGET, NULL);
  tympora_variant index = {0};
  index.kind = TYMPORA_INT32;
  index.value.int32 = 1;
  tympora_variant item = {0};
  tympora_object* child = NULL;
  if (items.kind == TYMPORA_OBJECT && items.value.object &&
      lib.invoke(items.value.object, "Item", TYMPORA_PROPERTYGET, &index, 1, &item) == 0 &&
      item.kind == TYMPORA_OBJECT && item.value.object) {
    /* Take the handle over from the variant (its default interface). */
    child = item.value.object;
    item.kind = TYMPORA_EMPTY;
  }
  check(child != NULL, list);
  lib.clear(&item);
  lib.clear(&items);
  return child;
}

static char* get_string(tympora_object* o, const char* member) {
  tympora_variant v = call(o, member, TYMPORA_PROPERTYGET, NULL);
  char* text = strdup(v.kind == TYMPORA_STRING ? v.value.string : "");
  lib.clear(&v);
  return text;
}

static double get_number(tympora_object* o, const char* member) {
  tympora_variant v = call(o, member, TYMPORA_PROPERTYGET, NULL);
  const double value = v.kind == TYMPORA_DOUBLE  ? v.value.dbl
                       : v.kind == TYMPORA_INT32 ? v.value.int32
                                                 : -1;
  lib.clear(&v);
  return value;
}

/* The element's XML of `record` exported into a new document, by name. */
static char* element_xml(tympora_object* record) {
  tympora_object* node = NULL;
  lib.query_interface(record, "_CNode", &node);
  tympora_variant document = {0};
  tympora_variant status = call(node, "ExportXMLDocument", TYMPORA_METHOD, &document);
  check(status_number(&status) == 0, "ExportXMLDocument");
  char* text = strdup("");
  if (document.kind == TYMPORA_OBJECT && document.value.object) {
    tympora_variant root =
        call(document.value.object, "documentElement", TYMPORA_PROPERTYGET, NULL);
    if (root.kind == TYMPORA_OBJECT && root.value.object) {
      free(text);
      text = get_string(root.value.object, "xml");
    }
    lib.clear(&root);
  }
  lib.clear(&document);
  lib.release(node);
  return text;
}

/* Whether the property of element name `element` of `record` is Null, asked
 * by name. */
static int is_null(tympora_object* record, const char* element) {
  tympora_variant name = {0};
  lib.set_string(&name, element);
  tympora_variant r = call(record, "IsNull", TYMPORA_METHOD, &name);
  lib.clear(&name);
  return r.kind == TYMPORA_BOOL && r.value.boolean;
}

/* Builds client list -> client -> aid -> session -> examination -> curve ->
 * point, every record made by name and filled by name. */
static tympora_object* build_tree(tympora_factory* factory) {
  tympora_object* clients = NULL;
  check(lib.factory_create(factory, &clients) == 0, "factory creates a client list");
  tympora_object* client = create("Tympora.CClient");
  tympora_object* aid = create("Tympora.CClientAid");
  tympora_object* session = create("Tympora.CTestDefinition");
  tympora_object* exam = create("Tympora.CExamination");
  tympora_object* curve = create("Tympora.CCurve");
  tympora_object* point = create("Tympora.CCurveDatum");

  put_number(clients, "ID", 1);
  put_number(client, "ID", 7);
  put_string(client, "FirstName", "Ann");
  put_string(client, "LastName", "M\xc3\xbcller & <Sons>");
  put_string(aid, "AidModel", "Model 5");
  put_string(aid, "AidFMIsActivated", "True");
  put_string(session, "TestType", "REM");
  put_string(exam, "TestName", "Speech");
  put_string(curve, "Name", "Gain 65 dB");
  put_number(curve, "FxSourceAmp", 0.5);
  put_number(point, "ID", 3);
  put_number(point, "InputVal", 65.25);
  put_number(point, "Frequency", 1000);
  check(!is_null(point, "Input") && is_null(point, "Output"), "IsNull by element name");

  add_child(curve, "AddCurveDatum", point);
  add_child(exam, "AddCurve", curve);
  add_child(session, "AddExamination", exam);
  add_child(aid, "AddTestDefinition", session);
  add_child(client, "AddAid", aid);
  add_child(clients, "AddClient", client);
  tympora_object* children[] = {client, aid, session, exam, curve, point};
  for (size_t i = 0; i < sizeof children / sizeof children[0]; ++i) lib.release(children[i]);
  return clients;
}

/* Reads the file at `path` into a new client list through ImportXMLNode. */
static tympora_object* import_file(const char* path) {
  tympora_object* document = NULL;
  check(lib.create_document(&document) == 0, "create a document");
  tympora_variant arg = {0};
  lib.set_string(&arg, path);
  tympora_variant loaded = call(document, "load", TYMPORA_METHOD, &arg);
  check(loaded.kind == TYMPORA_BOOL && loaded.value.boolean, "load the exported file");
  lib.clear(&arg);
  tympora_variant root = call(document, "documentElement", TYMPORA_PROPERTYGET, NULL);

  tympora_object* clients = create("Tympora.CClients");
  tympora_object* node = NULL;
  check(lib.query_interface(clients, "_CNode", &node) == 0, "the list's _CNode");
  tympora_variant status = call(node, "ImportXMLNode", TYMPORA_METHOD, &root);
  check(status_number(&status) == 0, "ImportXMLNode returns Number 0");
  lib.release(node);
  lib.clear(&root);
  lib.release(document);
  return clients;
}

/* Compares the values set by build_tree, read back from `clients`. */
static void compare_values(tympora_object* clients) {
  tympora_object* client = first_child(clients, "Clients");
  tympora_object* aid = client ? first_child(client, "Aids") : NULL;
  tympora_object* session = aid ? first_child(aid, "TestDefinitions") : NULL;
  tympora_object* exam = session ? first_child(session, "Examinations") : NULL;
  tympora_object* curve = exam ? first_child(exam, "Curves") : NULL;
  tympora_object* point = curve ? first_child(curve, "CurveData") : NULL;
  if (point) {
    char* last = get_string(client, "LastName");
    check(strcmp(last, "M\xc3\xbcller & <Sons>") == 0, "LastName read back");
    free(last);
    check(get_number(point, "InputVal") == 65.25, "InputVal read back");
    check(get_number(point, "Frequency") == 1000, "Frequency read back");
    check(get_number(curve, "FxSourceAmp") == 0.5, "FxSourceAmp read back");
    char* first = get_string(client, "FirstName");
    printf("read back: client %.0f \"%s\", curve point %.0f Hz, input %.2f\n",
           get_number(client, "ID"), first, get_number(point, "Frequency"),
           get_number(point, "InputVal"));
    free(first);
  }
  tympora_object* all[] = {client, aid, session, exam, curve, point};
  for (size_t i = 0; i < sizeof all / sizeof all[0]; ++i) lib.release(all[i]);
}

/* Exports `clients` through a file number opened here; the status's Number. */
static int32_t export_to_file_number(tympora_object* clients, const char* path) {
  tympora_object* node = NULL;
  check(lib.query_interface(clients, "_CNode", &node) == 0, "the list's _CNode");
  int16_t number = 0;
  check(lib.file_open(path, TYMPORA_FILE_CREATE_NEW, &number) == 0 && number >= 1,
        "tympora_file_open");
  tympora_variant arg = {0};
  arg.kind = TYMPORA_INT16;
  arg.value.int16 = number;
  tympora_variant status = call(node, "ExportXMLFileHandle", TYMPORA_METHOD, &arg);
  const int32_t exported = status_number(&status);
  check(lib.file_close(number) == 0, "tympora_file_close");
  check(lib.file_close(number) == TYMPORA_ERR_BAD_FILE_NUMBER &&
            lib.error_number() == TYMPORA_ERR_BAD_FILE_NUMBER,
        "closing a closed number fails with 52");
  arg.value.int16 = 0;
  status = call(node, "ExportXMLFileHandle", TYMPORA_METHOD, &arg);
  check(status_number(&status) == TYMPORA_STATUS_BADHANDLE, "file number 0 gives 2003");
  lib.release(node);
  return exported;
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
  check(lib.can_unload_now() == TYMPORA_S_FALSE, "a live factory keeps the library loaded");
  printf("factory for Tympora.CClients: %s\n", factory ? "obtained" : "missing");
  if (!factory) return 1;

  char folder[] = "/tmp/tympora_c_host_XXXXXX";
  check(mkdtemp(folder) != NULL, "mkdtemp");
  char path[sizeof folder + 16];
  snprintf(path, sizeof path, "%s/clients.xml", folder);
  char numbered_path[sizeof folder + 16];
  snprintf(numbered_path, sizeof numbered_path, "%s/numbered.xml", folder);

  tympora_object* clients = build_tree((tympora_factory*)factory);
  tympora_object* node = NULL;
  check(lib.query_interface(clients, "_CNode", &node) == 0, "the list's _CNode");
  check(lib.same_object(clients, node) == 1, "a record and its _CNode are the same object");
  tympora_variant arg = {0};
  lib.set_string(&arg, path);
  tympora_variant status = call(node, "ExportXMLPath", TYMPORA_METHOD_OR_PROPERTYGET, &arg);
  lib.clear(&arg);
  const int32_t exported = status_number(&status);
  check(exported == 0, "ExportXMLPath returns Number 0");
  printf("ExportXMLPath by name: status %d\n", (int)exported);
  lib.release(node);

  const int32_t numbered = export_to_file_number(clients, numbered_path);
  check(numbered == 0, "ExportXMLFileHandle returns Number 0");
  printf("ExportXMLFileHandle through tympora_file_open: status %d\n", (int)numbered);

  tympora_object* copy = import_file(path);
  tympora_object* numbered_copy = import_file(numbered_path);
  printf("ImportXMLNode by name into a new list: done\n");
  check(lib.same_object(clients, copy) == 0, "two lists are not the same object");
  compare_values(copy);
  char* a = element_xml(clients);
  char* b = element_xml(copy);
  char* c = element_xml(numbered_copy);
  check(strlen(a) > 0 && strcmp(a, b) == 0, "the two lists export the same element");
  check(strcmp(a, c) == 0, "the list read from the numbered file exports the same element");
  printf("exported element of the original and the copy: %s (%zu bytes)\n",
         strcmp(a, b) == 0 ? "equal" : "different", strlen(a));
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
  const int unload = lib.can_unload_now();
  check(unload == TYMPORA_S_OK, "DllCanUnloadNow after releasing everything");
  printf("DllCanUnloadNow: %s\n", unload == TYMPORA_S_OK ? "S_OK" : "S_FALSE");
  check(dlclose(handle) == 0, "dlclose");
  void* again = dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD);
  check(again == NULL, "the library is unmapped after dlclose");
  printf("after dlclose: %s\n", again ? "still mapped" : "unloaded");
  if (again) dlclose(again);
  printf("%s\n", failures == 0 ? "c_host: all checks passed" : "c_host: FAILED");
  return failures == 0 ? 0 : 1;
}
