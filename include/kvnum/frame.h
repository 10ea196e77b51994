#ifndef KVNUM_FRAME_H
#define KVNUM_FRAME_H
/* Records and calls that every family shares. C99 and C++. */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a failed operation returns; null is success. Release it through its own destroy function only.
 *   kind     1: an error of the library or the C++ standard library; 2: anything else
 *   length   characters of message, without the terminating zero; 0 where a number's buffer is too small: which
 *            operation it was is printed
 */
typedef struct ExceptionWrapper ExceptionWrapper;
struct ExceptionWrapper {
    uint32_t kind;
    void (*destroy)(ExceptionWrapper*);
    uint64_t length;
    char* message;
    void (*message_free)(char*);
};

typedef struct GlobalTwiddleTable GlobalTwiddleTable;

/* Passed to every operation that may run in parallel or needs scratch memory.
 *   table         get_global_table(), which must cover the operation's products (internal_ensure_global_table)
 *   memory        [memory_bytes bytes] the caller's scratch, any alignment (multiples of GetAlignment() are fastest);
 *                 contents lost
 *   memory_bytes  at least what the operation's _Psize or _sizes query answered
 *   tasks         parallel tasks that the call may use; 0 counts as 1
 */
typedef struct BasicParameters {
    const GlobalTwiddleTable* table;
    void* memory;
    uint64_t memory_bytes;
    uint64_t tasks;
} BasicParameters;

/* The data alignment of the library: 32 bytes. */
uint64_t GetAlignment(void);

/* Divides a record for two sides that run at the same time: the same table, half the memory each (rounded down to 32
 * bytes; up to 63 bytes are left over), the larger half of the tasks in first. first may be whole itself.
 * Cannot fail.   Source: frame/parameters.cpp */
void BasicParameters_split(const BasicParameters* whole, BasicParameters* first, BasicParameters* second);

/* Progress of long operations. push and pop bracket a phase by a short tag, show tells the number of decimal digits
 * reached. Called on the calling thread only. */
typedef struct ProgressSink {
    void (*push)(void* context, const char* tag);
    void (*pop)(void* context);
    void (*show)(void* context, uint64_t digits);
    void* context;
} ProgressSink;

/* Installs the calling thread's sink and returns the one before it; null is silent. The record must stay alive while
 * it is installed. Operations that take a sink argument use that one when it is not null. */
const ProgressSink* SetProgressSink(const ProgressSink* sink);

/* Sends every console print of the library to write instead of standard output; null returns to standard output.
 *   text    [bytes characters] not zero-terminated; a print arrives in one or more pieces
 *   colour  'b' 'g' 't' 'r' 'p' 'y' (blue, green, teal, red, purple, yellow), upper case for bright, 'w' default,
 *           ' ' leaves the colour as it is
 * Process-wide; not to be called while an operation runs. write may be called from any thread that runs one. */
void SetConsoleSink(void (*write)(void* context, const char* text, uint64_t bytes, char colour), void* context);

#ifdef __cplusplus
}
#endif
#endif
