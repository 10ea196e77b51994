// The records of the public header and those of the library are declared twice; both sides must agree on every field.
// Nothing here can fail at run time: it is the compilation that checks.

#include <kvnum/kvnum.h>

#include <cstddef>
#include <type_traits>

#include "frame/export_guard.h"
#include "frame/parameters.h"
#include "frame/progress.h"
#include "multiply/algorithm.h"

#define SAME_SIZE(A, B)                                                                                        \
    static_assert(sizeof(A) == sizeof(B) && std::is_standard_layout_v<A> && std::is_trivially_copyable_v<A> && \
                  std::is_standard_layout_v<B> && std::is_trivially_copyable_v<B>)
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

SAME_SIZE(MulSizeRecord, kvt::MulSizeRecord);
SAME_FIELD(MulSizeRecord, kvt::MulSizeRecord, bits);
SAME_FIELD(MulSizeRecord, kvt::MulSizeRecord, operand_bytes);
SAME_FIELD(MulSizeRecord, kvt::MulSizeRecord, scratch_bytes);
