// The public header compiles on its own as C++, and its functions have C names: a second declaration agrees.
#include "tolvane.h"
#include "tolvane.h"

extern "C" uint16_t TOLVANE_CALL AudioStop(void);
static_assert(sizeof(InputFileInfo) == 16);
