#pragma once
// Integer formatting that does not depend on the C runtime (the printf families of Windows runtimes differ).

#include <string>

#include "frame/types.h"

namespace kvt {

std::string to_decimal(u64 value);
std::string to_decimal_signed(i64 value);
std::string to_hexadecimal(u64 value);  // lower case, no prefix, no leading zeros

}  // namespace kvt
