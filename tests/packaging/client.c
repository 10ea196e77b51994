/* The C example of README.md. */
#include <kvnum/kvnum.h>
#include <stdio.h>

int main(void) {
    uint64_t words[5];
    BigInt_c64 x = {words, 0, true, words, 5};
    char buffer[16 * 5 + 26], *text;
    BigInt_c64_set_uL(&x, 1);
    if (BigInt_c64_shl(&x, 200) != NULL || BigInt_c64_to_string_hex(&text, buffer, &x) != NULL) return 1;
    puts(text);
}
