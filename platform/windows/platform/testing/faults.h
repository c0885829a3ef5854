/* Faults on Windows: the system's services cannot be made to fail; PlatformFailCall says so by returning 0. */
#ifndef TOLVANE_PLATFORM_FAULTS_H
#define TOLVANE_PLATFORM_FAULTS_H

#include <stdint.h>

static inline int PlatformFailCall(const char* name, uint32_t nth, uint32_t result, int sticky) {
    return (void)name, (void)nth, (void)result, (void)sticky, 0;
}
static inline void PlatformFailNone(void) {}
static inline uint32_t PlatformCallCount(const char* name) {
    return (void)name, 0u;
}
static inline uint32_t PlatformFaultsStruck(void) {
    return 0;
}

#endif
