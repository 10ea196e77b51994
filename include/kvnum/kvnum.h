#ifndef KVNUM_KVNUM_H
#define KVNUM_KVNUM_H
/* kvnum: multi-precision arithmetic. The whole C interface; each family has a header of its own. */

#include "kvnum/basicint.h"
#include "kvnum/bigfloat.h"
#include "kvnum/bigint.h"
#include "kvnum/decimal.h"
#include "kvnum/exactfloat.h"
#include "kvnum/frame.h"
#include "kvnum/inverse.h"
#include "kvnum/kernels.h"
#include "kvnum/multiply.h"
#include "kvnum/text.h"
#include "kvnum/threads.h"
#include "kvnum/twiddle.h"
#include "kvnum/version.h"

#endif
