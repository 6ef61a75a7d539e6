/* TYMPORA_API marks what the library exports: the public classes and
 * functions of these headers. Everything else in the library is hidden.
 * Compiles as C and as C++. */
#ifndef TYMPORA_EXPORT_H
#define TYMPORA_EXPORT_H

/* TYMPORA_LOCAL keeps a member of an exported class out of the export. */
#if defined(__GNUC__) || defined(__clang__)
#define TYMPORA_API __attribute__((visibility("default")))
#define TYMPORA_LOCAL __attribute__((visibility("hidden")))
#else
#define TYMPORA_API
#define TYMPORA_LOCAL
#endif

#endif /* TYMPORA_EXPORT_H */
