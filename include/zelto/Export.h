/* What every public header needs: symbol visibility and C linkage. Valid C99 and C++11. */
#ifndef ZELTO_EXPORT_H
#define ZELTO_EXPORT_H

/* Marks a function, class or object that libzelto.so exports. */
#define ZELTO_API __attribute__((visibility("default")))
/* Marks a member of an exported class that is no part of the interface. */
#define ZELTO_HIDDEN __attribute__((visibility("hidden")))

#ifdef __cplusplus
#define ZELTO_C_BEGIN extern "C" {
#define ZELTO_C_END }
/* Fixes an enumeration to the 32 bits that it has in C, so that any value may be stored in it. */
#define ZELTO_ENUM(name) enum name : int
#else
#define ZELTO_C_BEGIN
#define ZELTO_C_END
#define ZELTO_ENUM(name) enum name
#endif

#endif
