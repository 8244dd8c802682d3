/* The layout of the records as a C99 compiler sees it. */
#ifndef ZELTO_TESTS_RECORD_LAYOUT_H
#define ZELTO_TESTS_RECORD_LAYOUT_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tLayoutEntry {
    const char* what; /* "record", "record.field" or "record.field width" */
    size_t actual;
    size_t expected;
} tLayoutEntry;

const tLayoutEntry* LayoutEntries(size_t* count);

#ifdef __cplusplus
}
#endif

#endif
