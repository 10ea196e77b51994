// The records of the public header and those of the library are declared twice; both sides must agree on every field.
// Nothing here can fail at run time: it is the compilation that checks.

#include <kvnum/kvnum.h>

#include <cstddef>
#include <type_traits>

#include "frame/export_guard.h"
#include "frame/parameters.h"
#include "frame/progress.h"
#include "multiply/algorithm.h"
#include "multiply/twiddle_table.h"
#include "objects/basic_int.h"
#include "objects/big_float.h"
#include "objects/big_int.h"
#include "objects/exact_float.h"
#include "threads/callbacks.h"
#include "threads/framework.h"

// A type that no padding or hidden member can change between compilers.
template <class T>
inline constexpr bool plain = std::is_standard_layout_v<T>&& std::is_trivially_copyable_v<T>;

#define SAME_SIZE(A, B) static_assert(plain<A> && plain<B> && sizeof(A) == sizeof(B))
#define SAME_FIELD(A, B, field) \
    static_assert(offsetof(A, field) == offsetof(B, field) && sizeof(A::field) == sizeof(B::field))

SAME_SIZE(ExceptionWrapper, kvt::ExceptionWrapper);
SAME_FIELD(ExceptionWrapper, kvt::ExceptionWrapper, kind);
SAME_FIELD(ExceptionWrapper, kvt::ExceptionWrapper, destroy);
SAME_FIELD(ExceptionWrapper, kvt::ExceptionWrapper, length);
SAME_FIELD(ExceptionWrapper, kvt::ExceptionWrapper, message);
SAME_FIELD(ExceptionWrapper, kvt::ExceptionWrapper, message_free);

SAME_SIZE(BasicParameters, kvt::BasicParameters);
SAME_FIELD(BasicParameters, kvt::BasicParameters, table);
SAME_FIELD(BasicParameters, kvt::BasicParameters, memory);
SAME_FIELD(BasicParameters, kvt::BasicParameters, memory_bytes);
SAME_FIELD(BasicParameters, kvt::BasicParameters, tasks);

SAME_SIZE(ProgressSink, kvt::ProgressSink);
SAME_FIELD(ProgressSink, kvt::ProgressSink, push);
SAME_FIELD(ProgressSink, kvt::ProgressSink, pop);
SAME_FIELD(ProgressSink, kvt::ProgressSink, show);
SAME_FIELD(ProgressSink, kvt::ProgressSink, context);

SAME_SIZE(TextRecord, kvt::TextRecord);
SAME_FIELD(TextRecord, kvt::TextRecord, length);
SAME_FIELD(TextRecord, kvt::TextRecord, text);
SAME_FIELD(TextRecord, kvt::TextRecord, text_free);

SAME_SIZE(MulSizeRecord, kvt::MulSizeRecord);
SAME_FIELD(MulSizeRecord, kvt::MulSizeRecord, bits);
SAME_FIELD(MulSizeRecord, kvt::MulSizeRecord, operand_bytes);
SAME_FIELD(MulSizeRecord, kvt::MulSizeRecord, scratch_bytes);

SAME_SIZE(GlobalTwiddleTable, kvt::GlobalTwiddleTable);
SAME_FIELD(GlobalTwiddleTable, kvt::GlobalTwiddleTable, covered);
SAME_FIELD(GlobalTwiddleTable, kvt::GlobalTwiddleTable, section);
SAME_FIELD(GlobalTwiddleTable, kvt::GlobalTwiddleTable, descriptor);
SAME_FIELD(GlobalTwiddleTable, kvt::GlobalTwiddleTable, block);

SAME_SIZE(ActionCallback, kvt::Threads::ActionCallback);
SAME_FIELD(ActionCallback, kvt::Threads::ActionCallback, fn);
SAME_FIELD(ActionCallback, kvt::Threads::ActionCallback, context);
SAME_SIZE(IndexActionCallback, kvt::Threads::IndexActionCallback);
SAME_FIELD(IndexActionCallback, kvt::Threads::IndexActionCallback, fn);
SAME_FIELD(IndexActionCallback, kvt::Threads::IndexActionCallback, context);

#define SAME_NUMBER(Public, Number) \
    SAME_SIZE(Public, Number);      \
    SAME_FIELD(Public, Number, T);  \
    SAME_FIELD(Public, Number, L);  \
    SAME_FIELD(Public, Number, buffer_size)

#define SAME_NUMBERS(suffix, W)                                         \
    SAME_NUMBER(BasicInt_##suffix, kvt::objects::BasicInt<W>);          \
    SAME_FIELD(BasicInt_##suffix, kvt::objects::BasicInt<W>, hash);     \
    SAME_NUMBER(BigInt_##suffix, kvt::objects::BigInt<W>);              \
    SAME_FIELD(BigInt_##suffix, kvt::objects::BigInt<W>, sign);         \
    SAME_FIELD(BigInt_##suffix, kvt::objects::BigInt<W>, buffer);       \
    SAME_NUMBER(BigFloat_##suffix, kvt::objects::BigFloat<W>);          \
    SAME_FIELD(BigFloat_##suffix, kvt::objects::BigFloat<W>, exp);      \
    SAME_FIELD(BigFloat_##suffix, kvt::objects::BigFloat<W>, sign);     \
    SAME_FIELD(BigFloat_##suffix, kvt::objects::BigFloat<W>, buffer);   \
    SAME_NUMBER(ExactFloat_##suffix, kvt::objects::ExactFloat<W>);      \
    SAME_FIELD(ExactFloat_##suffix, kvt::objects::ExactFloat<W>, exp);  \
    SAME_FIELD(ExactFloat_##suffix, kvt::objects::ExactFloat<W>, hash); \
    SAME_FIELD(ExactFloat_##suffix, kvt::objects::ExactFloat<W>, buffer)

SAME_NUMBERS(c32, kvt::u32);
SAME_NUMBERS(c64, kvt::u64);

// A framework has a table pointer first: not a plain record inside, but of the size that the public header gives it.
static_assert(plain<ParallelFramework> && sizeof(ParallelFramework) == sizeof(kvt::Threads::ParallelFramework));
static_assert(offsetof(ParallelFramework, workers) == sizeof(void*));
