#ifndef KVNUM_TWIDDLE_H
#define KVNUM_TWIDDLE_H
/* The table of precomputed roots of unity that large products read. C99 and C++. */

#include <stdint.h>

#include "kvnum/frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A caller's own object starts zeroed.
 *   covered     length in bits of the products that the table serves; 0 while empty
 *   section     start of each transform's part; null where absent
 *   descriptor, block   the library's own */
struct GlobalTwiddleTable {
    uint64_t covered;
    void* section[3];
    uint64_t descriptor[64];
    void* block;
};

/* The library's table: never null, empty until it is ensured; to be passed in BasicParameters. */
GlobalTwiddleTable* get_global_table(void);

/* Its covered length in bits. */
uint64_t get_global_table_size(void);

/* Grows the library's table so that it serves products of at least this many bits (1024 more, up to 2^64 - 2); does
 * nothing if it already does. The table never shrinks.
 * Returns NULL, or an ExceptionWrapper the caller releases through its own destroy. Running out of memory, or finding
 * that something has written over the old table's ends, is reported on the console and ends the process.
 * Threads: from one thread only, and not while any operation reads the table.   Source: multiply/twiddle_table.cpp */
ExceptionWrapper* internal_ensure_global_table(uint64_t bits);

/* Builds a table into the caller's object (zeroed, or built before: the old contents are released), always afresh.
 *   table    independent of the library's; released by internal_free_table
 * Errors and threads as above, for this object. */
ExceptionWrapper* internal_make_table(GlobalTwiddleTable* table, uint64_t bits);

/* Releases a caller's table and zeroes it. Finding its ends overwritten ends the process as above. */
void internal_free_table(GlobalTwiddleTable* table);

#ifdef __cplusplus
}
#endif
#endif
