/* The public header in plain C99 (the build sets the standard, warnings are errors). */
#include <kvnum/kvnum.h>

unsigned kvnum_c99_client_alignment(void);
unsigned kvnum_c99_client_alignment(void) { return (unsigned)GetAlignment(); }
