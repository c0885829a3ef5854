/* process.h: starting and ending threads through the C run-time's names. */
#ifndef TOLVANE_PLATFORM_PROCESS_H
#define TOLVANE_PLATFORM_PROCESS_H

#include <stdint.h>

#ifndef __stdcall
#define __stdcall
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the thread's handle, the caller's to close, or 0. */
uintptr_t _beginthreadex(void* security, unsigned stack, unsigned(__stdcall* start)(void*), void* argument,
                         unsigned flags, unsigned* id);

#ifdef __cplusplus
}
#endif
#endif
