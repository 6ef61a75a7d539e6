/* A host in C: a client list with one client, exported through a file
 * number that the host opens and closes, then a question by name.
 *   cc -std=c11 host.c $(pkg-config --cflags --libs tympora) -o host_c
 *   ./host_c clients.xml */
#include <stdio.h>
#include <stdlib.h>

#include "tympora/tympora.h"

/* Prints the calling thread's last error and stops. */
static void fail(const char* what) {
  fprintf(stderr, "%s: error %d: %s (%s)\n", what, (int)tympora_error_number(),
          tympora_error_description(), tympora_error_source());
  exit(1);
}

/* Calls `member` of `object` with one argument; the result is the caller's. */
static tympora_variant call(tympora_object* object, const char* member, int32_t kind,
                            tympora_variant* arg) {
  tympora_variant result = {0};
  if (tympora_invoke(object, member, kind, arg, arg ? 1 : 0, &result) != 0) fail(member);
  return result;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s <file.xml>\n", argv[0]);
    return 2;
  }
  tympora_object* clients = NULL;
  tympora_object* client = NULL;
  if (tympora_create_object("Tympora.CClients", &clients) != 0) fail("CClients");
  if (tympora_create_object("Tympora.CClient", &client) != 0) fail("CClient");

  tympora_variant arg = {0};
  tympora_variant_set_string(&arg, "Ann");
  if (tympora_invoke(client, "FirstName", TYMPORA_PROPERTYPUT, &arg, 1, NULL) != 0) fail("put");
  tympora_variant_set_object(&arg, client);
  if (tympora_invoke(clients, "AddClient", TYMPORA_METHOD, &arg, 1, NULL) != 0) fail("AddClient");
  tympora_variant_clear(&arg);

  /* The exports are members of the node interface. The file number belongs
   * to the host: open, export, close. */
  tympora_object* node = NULL;
  if (tympora_query_interface(clients, "_CNode", &node) != 0) fail("_CNode");
  int16_t number = 0;
  remove(argv[1]);
  if (tympora_file_open(argv[1], TYMPORA_FILE_CREATE_NEW, &number) != 0) fail(argv[1]);
  arg.kind = TYMPORA_INT16;
  arg.value.int16 = number;
  tympora_variant status = call(node, "ExportXMLFileHandle", TYMPORA_METHOD, &arg);
  if (tympora_file_close(number) != 0) fail("tympora_file_close");
  /* An absent status object means success, as Number 0 does. */
  int32_t code = TYMPORA_STATUS_OK;
  if (status.kind == TYMPORA_OBJECT && status.value.object) {
    tympora_variant n = call(status.value.object, "Number", TYMPORA_PROPERTYGET, NULL);
    code = n.value.int32;
  }
  printf("ExportXMLFileHandle: status %d\n", (int)code);

  /* IsNull takes an element name, as PropertyByName does. */
  tympora_variant_set_string(&arg, "FirstName");
  tympora_variant first = call(client, "IsNull", TYMPORA_METHOD, &arg);
  tympora_variant_set_string(&arg, "LastName");
  tympora_variant last = call(client, "IsNull", TYMPORA_METHOD, &arg);
  printf("IsNull(FirstName): %d, IsNull(LastName): %d\n", (int)first.value.boolean,
         (int)last.value.boolean);

  tympora_variant_clear(&arg);
  tympora_variant_clear(&status);
  tympora_object_release(node);
  tympora_object_release(client);
  tympora_object_release(clients);
  return code == TYMPORA_STATUS_OK ? 0 : 1;
}
