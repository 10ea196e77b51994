#include "frame/format.h"

namespace kvt {

std::string to_decimal(u64 value) {
    char digits[20];
    char* first = digits + sizeof digits;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    return {first, digits + sizeof digits};
}

std::string to_decimal_signed(i64 value) {
    if (value >= 0) return to_decimal(static_cast<u64>(value));
    return "-" + to_decimal(0 - static_cast<u64>(value));
}

std::string to_hexadecimal(u64 value) {
    char digits[16];
    char* first = digits + sizeof digits;
    do {
        *--first = "0123456789abcdef"[value % 16];
        value /= 16;
    } while (value != 0);
    return {first, digits + sizeof digits};
}

}  // namespace kvt
