/* The public header compiles on its own as C11, and twice does no harm. */
#include "tolvane.h"
#include "tolvane.h"

_Static_assert(sizeof(FormatTagDescription) == 64, "packed outside the header's own checks too");
