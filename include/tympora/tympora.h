/* Tympora's C interface: what a host in any language with a C foreign-
 * function interface needs to create the component's objects by name, call
 * their members by name with tagged values, and release them; plus the
 * library's four entry points. Compiles as C11 and as C++.
 *
 * Objects. A tympora_object is one reference to an object of the library
 * through one of its interfaces (a record's own "_CClient" or "_CNode", a
 * status's "_CStatus", a child list's "Collection", a document's
 * "DOMDocument" ...). Every handle that the library hands out belongs to the
 * caller, who releases it with tympora_object_release; the object itself
 * lives while any handle, variant or parent record still refers to it.
 *
 * Values. A tympora_variant is a tagged value. All zero bytes make the Empty
 * value. A variant owns what it holds: a string (UTF-8, NUL-terminated,
 * allocated by the library) and an object handle are freed by
 * tympora_variant_clear; the other kinds hold plain numbers. Set strings and
 * objects only through tympora_variant_set_string / _set_object.
 *
 * Errors. The functions of the object interface return 0 on success and
 * otherwise the number of the error (never 0); the error's number,
 * description and source stay available to the calling thread through
 * tympora_error_* until its next call into this interface. Numbers: 91 an
 * absent (NULL) object, 5 an invalid argument, 13 a type mismatch, 429 a
 * class that cannot be created, 430 a missing interface, 438 an unknown
 * member, 450 a wrong number of arguments, and every error of the records.
 *
 * Entry points. The four Dll* functions return the codes TYMPORA_S_OK (0),
 * TYMPORA_S_FALSE (1) or a negative TYMPORA_E_* code.
 *
 * Loading at run time: every function has a pointer type tympora_<name>_fn
 * (DllCanUnloadNow_fn and the other entry points keep their names) for the
 * result of dlsym. The library can be unloaded with dlclose once
 * DllCanUnloadNow answers TYMPORA_S_OK.
 *
 * Thread safety: separate objects may be used from separate threads; one
 * object is used by one thread at a time. */
#ifndef TYMPORA_TYMPORA_H
#define TYMPORA_TYMPORA_H

#include <stdint.h>

#include "tympora/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tympora_object tympora_object;
typedef struct tympora_factory tympora_factory;

/* Codes of the entry points. */
#define TYMPORA_S_OK 0
#define TYMPORA_S_FALSE 1
#define TYMPORA_E_INVALIDARG (-1)        /* a NULL or malformed argument */
#define TYMPORA_E_CLASSNOTAVAILABLE (-2) /* no creatable class of that name or id */
#define TYMPORA_E_NOINTERFACE (-3)       /* the factory interface id is unknown */
#define TYMPORA_E_OUTOFMEMORY (-4)
#define TYMPORA_E_FAIL (-5) /* the registry folder cannot be written or read */

/* The numbers of StatusNum: a status's Number holds one of these when the
 * component itself set it; compare with the names. */
#define TYMPORA_STATUS_OK 0
#define TYMPORA_STATUS_BASE_USER_ERROR 2000
#define TYMPORA_STATUS_UNIMPLEMENTED 2001   /* "Not implemented." */
#define TYMPORA_STATUS_BADPATH 2002         /* "Supplied path invalid or missing." */
#define TYMPORA_STATUS_BADHANDLE 2003       /* "Invalid file handle." */
#define TYMPORA_STATUS_UNINIT_OBJECT 2004   /* "Unspecified object is not initialized." */
#define TYMPORA_STATUS_UNINIT_OBJECT_1 2005 /* "Object parameter 1 is not initialized." */
#define TYMPORA_STATUS_UNINIT_OBJECT_2 2006 /* "Object parameter 2 is not initialized." */

/* Error numbers of the platform layer (conversions, files, collections,
 * dispatch) and of the XML DOM, as statuses and tympora_error_number give
 * them. */
#define TYMPORA_ERR_INVALID_CALL 5
#define TYMPORA_ERR_OVERFLOW 6
#define TYMPORA_ERR_OUT_OF_MEMORY 7
#define TYMPORA_ERR_TYPE_MISMATCH 13
#define TYMPORA_ERR_INTERNAL 51
#define TYMPORA_ERR_BAD_FILE_NUMBER 52
#define TYMPORA_ERR_FILE_NOT_FOUND 53
#define TYMPORA_ERR_FILE_ALREADY_OPEN 55
#define TYMPORA_ERR_DEVICE_IO 57
#define TYMPORA_ERR_FILE_EXISTS 58
#define TYMPORA_ERR_DISK_FULL 61
#define TYMPORA_ERR_TOO_MANY_FILES 67
#define TYMPORA_ERR_PERMISSION_DENIED 70
#define TYMPORA_ERR_PATH_FILE_ACCESS 75
#define TYMPORA_ERR_PATH_NOT_FOUND 76
#define TYMPORA_ERR_OBJECT_NOT_SET 91
#define TYMPORA_ERR_INVALID_USE_OF_NULL 94
#define TYMPORA_ERR_CANNOT_CREATE 429
#define TYMPORA_ERR_NO_INTERFACE 430
#define TYMPORA_ERR_NOT_SUPPORTED 438
#define TYMPORA_ERR_ARGUMENT_COUNT 450
#define TYMPORA_ERR_DUPLICATE_KEY 457
#define TYMPORA_ERR_DOM_SECOND_ROOT 1001
#define TYMPORA_ERR_DOM_INVALID_CHAR 1002
#define TYMPORA_ERR_DOM_PARSE 1003
#define TYMPORA_ERR_DOM_HIERARCHY 1004
#define TYMPORA_ERR_DOM_INVALID_NAME 1005
#define TYMPORA_ERR_DOM_WRONG_DOCUMENT 1006

/* The kinds of a variant; the numbers are those of ValueKind. */
typedef enum tympora_kind {
  TYMPORA_EMPTY = 0,
  TYMPORA_NULL = 1,
  TYMPORA_INT16 = 2,
  TYMPORA_INT32 = 3,
  TYMPORA_DOUBLE = 5,
  TYMPORA_DATE = 7, /* days from 30 December 1899; the fraction is the time of day */
  TYMPORA_STRING = 8,
  TYMPORA_OBJECT = 9, /* value.object may be NULL: the absent object */
  TYMPORA_BOOL = 11   /* value.boolean: 0 false, anything else true */
} tympora_kind;

typedef struct tympora_variant {
  int32_t kind; /* a tympora_kind */
  union {
    int16_t int16;
    int32_t int32;
    double dbl;
    double date;
    char* string;
    tympora_object* object;
    int32_t boolean;
  } value;
} tympora_variant;

/* How a member is called. TYMPORA_METHOD_OR_PROPERTYGET reaches a method or
 * a property get, whichever the member is. */
typedef enum tympora_invoke_kind {
  TYMPORA_METHOD = 1,
  TYMPORA_PROPERTYGET = 2,
  TYMPORA_METHOD_OR_PROPERTYGET = 3,
  TYMPORA_PROPERTYPUT = 4
} tympora_invoke_kind;

/* How tympora_file_open opens a file for binary output. */
typedef enum tympora_file_mode {
  TYMPORA_FILE_BINARY = 0,     /* opens or creates, without truncating; writes from the start */
  TYMPORA_FILE_CREATE_NEW = 1, /* creates; fails with 58 when anything is at the path */
  TYMPORA_FILE_APPEND = 2      /* appends, creating the file when missing */
} tympora_file_mode;

/* ---- values ---- */

/* Makes `v` Empty without freeing anything it held (for fresh memory). */
TYMPORA_API void tympora_variant_init(tympora_variant* v);
/* Frees what `v` owns (its string or object handle) and makes it Empty.
 * NULL is ignored. */
TYMPORA_API void tympora_variant_clear(tympora_variant* v);
/* Clears `v`, then stores a copy of the UTF-8 text `utf8` (NULL stores the
 * empty text). Returns 0, 5 for a NULL `v`, or 7 when memory runs out. */
TYMPORA_API int32_t tympora_variant_set_string(tympora_variant* v, const char* utf8);
/* Clears `v`, then stores a new handle to the same object and interface as
 * `object` (NULL stores the absent object); the caller keeps `object`.
 * Returns 0, 5 for a NULL `v`, or 7. */
TYMPORA_API int32_t tympora_variant_set_object(tympora_variant* v, const tympora_object* object);

/* ---- objects ---- */

/* A new object of the creatable class `name_or_id` ("Tympora.CClients" or
 * its class id) through its default interface, in *out (NULL on failure).
 * Fails with 429 for an unknown class and for "Tympora.CNode". */
TYMPORA_API int32_t tympora_create_object(const char* name_or_id, tympora_object** out);
/* A new, empty XML document through its interface "DOMDocument" (members
 * load, loadXML, xml, documentElement, preserveWhiteSpace, createElement,
 * appendChild), in *out. */
TYMPORA_API int32_t tympora_create_document(tympora_object** out);
/* A new handle, in *out, to the same object through the interface
 * `interface_name_or_id` (a name such as "_CNode", an interface id, an
 * earlier interface id; NULL or "" for the default interface). Fails with
 * 91 for a NULL object and 430 when the object lacks the interface. */
TYMPORA_API int32_t tympora_query_interface(const tympora_object* object,
                                            const char* interface_name_or_id, tympora_object** out);
/* The name of the handle's interface ("_CClient"); a static text, or ""
 * for NULL. */
TYMPORA_API const char* tympora_interface_name(const tympora_object* object);
/* Releases the handle; NULL is ignored. */
TYMPORA_API void tympora_object_release(tympora_object* object);
/* 1 when the two handles refer to the same object, through whichever
 * interfaces (two NULL handles count as the same), 0 otherwise. Neither
 * handle is released. */
TYMPORA_API int32_t tympora_same_object(const tympora_object* a, const tympora_object* b);

/* Calls `member` of kind `kind` with `args[0..count-1]` (NULL when count is
 * 0). The arguments are read, converted to the parameters' types and left as
 * they were, except by-reference ones (such as ExportXMLDocument's Document),
 * which are cleared and receive what the member left in them. `result` may
 * be NULL; otherwise it must hold a valid value (all zero is Empty) and not
 * be one of `args`: it is cleared first and receives the result, owned by
 * the caller (a string copy, or a new handle through the object's default
 * interface); it stays Empty on failure. Returns 0 or the error number (438,
 * 450, 13, 91 ...). Besides the published members, every record answers the
 * method "IsNull" (sPropertyName, an element name as for PropertyByName):
 * a boolean, true when that property is Null. */
TYMPORA_API int32_t tympora_invoke(const tympora_object* object, const char* member, int32_t kind,
                                   tympora_variant* args, int32_t count, tympora_variant* result);

/* Saves the record `record` (a handle to any of its interfaces) with
 * everything below it as an XML document to `path`, durably: the path holds
 * the complete old file or the complete new one at every instant, and a
 * failure leaves the old file untouched. Returns 0, or the number of the
 * failure with its description and source as for any other call: 91 for a
 * NULL record, 5 for a NULL path, 430 for an object that is no record, 2002
 * for an empty path, 75 for a path that names no file, 70 or 55 while another
 * writer holds the file, 61 for a full disk. */
TYMPORA_API int32_t tympora_save_xml_path(const tympora_object* record, const char* path);

/* Imports the record `record` from the XML file at `path` (UTF-8) in one
 * step, as ImportXMLFile does: the record and status of a load followed by
 * ImportXMLNode of the document element, except that a file that does not
 * exist answers 53, one that may not be read 70 and one that does not parse
 * 1003 with line and column. The import's status goes to *status (a new
 * handle owned by the caller; NULL on failure) and its number is returned;
 * the calling thread's error record is then clear. The call itself fails,
 * with its number in the error record, for a NULL record (91), a NULL path
 * or status (5) and an object that is no record (13). */
TYMPORA_API int32_t tympora_import_xml_file(const tympora_object* record, const char* path,
                                            tympora_object** status);

/* ---- errors of the calling thread ---- */

/* The number of the error of this thread's last call into the object
 * interface; 0 when that call succeeded. */
TYMPORA_API int32_t tympora_error_number(void);
/* Its description (UTF-8; "" after a success), owned by the library and
 * valid until the thread's next call. */
TYMPORA_API const char* tympora_error_description(void);
/* Its source ("Tympora", "DOMDocument" ...; "" after a success), owned by the
 * library and valid until the thread's next call. */
TYMPORA_API const char* tympora_error_source(void);
/* Its help file ("" when it has none), owned by the library and valid until
 * the thread's next call. */
TYMPORA_API const char* tympora_error_help_file(void);
/* Its help context (0 when it has none). */
TYMPORA_API int32_t tympora_error_help_context(void);

/* ---- files for ExportXMLFileHandle ---- */

/* Opens `path` for binary output (`mode` a tympora_file_mode) under the
 * lowest free file number from 1 to 255, stored in *number (0 on failure);
 * the file is write-locked against other writers until it is closed. Pass
 * the number to ExportXMLFileHandle (argument kind TYMPORA_INT16), then close
 * it with tympora_file_close: the caller owns the number. Fails with 5 for a
 * NULL argument or an unknown mode, 67 when no number is free, and the file
 * errors 53, 55, 58, 70, 75, 76. */
TYMPORA_API int32_t tympora_file_open(const char* path, int32_t mode, int16_t* number);
/* Closes the file open under `number` and frees the number. Fails with 52
 * when no file is open under it. */
TYMPORA_API int32_t tympora_file_close(int16_t number);

/* ---- version ---- */

/* The version of the loaded library, "major.minor.patch"; a static text. */
TYMPORA_API const char* tympora_version(void);

/* ---- interface description ---- */

/* The interface description (every class, interface, member, parameter and
 * type) as a new UTF-8 text that the caller frees with tympora_free; NULL
 * when memory runs out. */
TYMPORA_API char* tympora_describe(void);
/* Frees a text returned by this library; NULL is ignored. */
TYMPORA_API void tympora_free(void* p);

/* ---- class factory ---- */

/* A new object of the factory's class through its default interface, in
 * *out. Fails with 91 for a NULL factory. */
TYMPORA_API int32_t tympora_factory_create(const tympora_factory* factory, tympora_object** out);
/* Releases a factory returned by DllGetClassObject; NULL is ignored. */
TYMPORA_API void tympora_factory_release(tympora_factory* factory);

/* ---- entry points ---- */

/* Writes the component's registration (name, this library's path, the ten
 * creatable classes with their ids, the interfaces and versions) and its
 * interface description into the registry folder: $TYMPORA_REGISTRY when
 * set, else $XDG_DATA_HOME/tympora/registry, else
 * $HOME/.local/share/tympora/registry (created when missing). S_OK, or
 * E_FAIL when the folder cannot be written. */
TYMPORA_API int DllRegisterServer(void);
/* Removes the files that DllRegisterServer wrote (the folder stays). S_OK
 * when they were removed, S_FALSE when there was nothing to remove, E_FAIL
 * when removal failed. */
TYMPORA_API int DllUnregisterServer(void);
/* The factory, in *ppv, for the creatable class `rclsid` (a class id, or a
 * name such as "Tympora.CClients"); the caller releases it with
 * tympora_factory_release. `riid` names the interface wanted of the
 * factory: NULL, "", "IUnknown" or "IClassFactory". *ppv is NULL on any
 * failure: E_INVALIDARG for a NULL ppv or rclsid, E_CLASSNOTAVAILABLE for
 * an unknown or non-creatable class, E_NOINTERFACE for another riid. */
TYMPORA_API int DllGetClassObject(const char* rclsid, const char* riid, void** ppv);
/* S_OK when no object and no factory of the library is alive (handles,
 * variants and C++ references included), S_FALSE otherwise. */
TYMPORA_API int DllCanUnloadNow(void);

/* ---- pointer types for dlsym ---- */

typedef void (*tympora_variant_init_fn)(tympora_variant* v);
typedef void (*tympora_variant_clear_fn)(tympora_variant* v);
typedef int32_t (*tympora_variant_set_string_fn)(tympora_variant* v, const char* utf8);
typedef int32_t (*tympora_variant_set_object_fn)(tympora_variant* v, const tympora_object* object);
typedef int32_t (*tympora_create_object_fn)(const char* name_or_id, tympora_object** out);
typedef int32_t (*tympora_create_document_fn)(tympora_object** out);
typedef int32_t (*tympora_query_interface_fn)(const tympora_object* object,
                                              const char* interface_name_or_id,
                                              tympora_object** out);
typedef const char* (*tympora_interface_name_fn)(const tympora_object* object);
typedef void (*tympora_object_release_fn)(tympora_object* object);
typedef int32_t (*tympora_same_object_fn)(const tympora_object* a, const tympora_object* b);
typedef int32_t (*tympora_invoke_fn)(const tympora_object* object, const char* member, int32_t kind,
                                     tympora_variant* args, int32_t count, tympora_variant* result);
typedef int32_t (*tympora_import_xml_file_fn)(const tympora_object* record, const char* path,
                                              tympora_object** status);
typedef int32_t (*tympora_save_xml_path_fn)(const tympora_object* record, const char* path);
typedef int32_t (*tympora_error_number_fn)(void);
typedef const char* (*tympora_error_description_fn)(void);
typedef const char* (*tympora_error_source_fn)(void);
typedef const char* (*tympora_error_help_file_fn)(void);
typedef int32_t (*tympora_error_help_context_fn)(void);
typedef int32_t (*tympora_file_open_fn)(const char* path, int32_t mode, int16_t* number);
typedef int32_t (*tympora_file_close_fn)(int16_t number);
typedef const char* (*tympora_version_fn)(void);
typedef char* (*tympora_describe_fn)(void);
typedef void (*tympora_free_fn)(void* p);
typedef int32_t (*tympora_factory_create_fn)(const tympora_factory* factory, tympora_object** out);
typedef void (*tympora_factory_release_fn)(tympora_factory* factory);
typedef int (*DllRegisterServer_fn)(void);
typedef int (*DllUnregisterServer_fn)(void);
typedef int (*DllGetClassObject_fn)(const char* rclsid, const char* riid, void** ppv);
typedef int (*DllCanUnloadNow_fn)(void);

#ifdef __cplusplus
}
#endif

#endif /* TYMPORA_TYMPORA_H */
