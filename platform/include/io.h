/* io.h: what kind of thing a C stream's descriptor is. */
#ifndef TOLVANE_PLATFORM_IO_H
#define TOLVANE_PLATFORM_IO_H

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

int _isatty(int descriptor);
int _fileno(FILE* stream);

#ifdef __cplusplus
}
#endif
#endif
