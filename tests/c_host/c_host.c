/* A host written in C that knows Tympora only through its C interface: it
 * loads the library at run time, builds a client list (from the class
 * factory) down to a curve point by name, saves it to a file, imports the
 * file into a new list, checks that the copy saves the same records,
 * releases everything, and checks that the library may be unloaded and is
 * gone after dlclose.
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
  X(save_xml_path, tympora_save_xml_path)         \
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
    check(lib.invoke(records[i - 1], chain[i - 1].add, TYMPORA_METHOD, &v, 1, NULL) == 0,
          chain[i - 1].add);
    lib.clear(&v);
  }
}

/* Saves `record` to `path` and reads the file back into `text`; returns what
 * follows its second line (the first two, the declaration and a comment that
 * dates the save, differ between saves). */
static const char* save(tympora_object* record, const char* path, char* text, size_t size) {
  check(lib.save_xml_path(record, path) == 0, "tympora_save_xml_path");
  FILE* file = fopen(path, "rb");
  const size_t n = file ? fread(text, 1, size - 1, file) : 0;
  if (file) fclose(file);
  check(n > 0 && n < size - 1, "the saved file is read whole");
  text[n] = '\0';
  const char* line = strchr(text, '\n');
  return line && strchr(line + 1, '\n') ? strchr(line + 1, '\n') : "";
}

int main(int argc, char** argv) {
  void* handle = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (!handle || !load(handle)) {
    const char* why = argc == 2 ? dlerror() : "no library given";
    fprintf(stderr, "usage: %s <libtympora.so> (%s)\n", argv[0], why ? why : "");
    return 2;
  }
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

  char folder[] = "/tmp/tympora_c_host_XXXXXX", path[64], a[16384], b[16384];
  check(mkdtemp(folder) != NULL, "mkdtemp");
  snprintf(path, sizeof path, "%s/clients.xml", folder);
  const char* original = save(clients, path, a, sizeof a);
  tympora_object *copy = NULL, *status = NULL;
  check(lib.create_object("Tympora.CClients", &copy) == 0 &&
            lib.import_xml_file(copy, path, &status) == 0 && status,
        "tympora_import_xml_file");
  lib.release(status);
  check(strstr(original, "<CurveDatum id=\"6\"><Input>65.25</Input>") &&
            strcmp(original, save(copy, path, b, sizeof b)) == 0,
        "the copy saves the same records");
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
