/* Makes the services fail on purpose, so that tests reach every failure code and every release on failure.
 *
 * Each service that the library uses asks `PLATFORM_FAULT("itsName")` first; the nth such call by name answers as
 * the system does when that service fails. */
#ifndef TOLVANE_PLATFORM_FAULTS_H
#define TOLVANE_PLATFORM_FAULTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* From now on, the `nth` call of `name` (1 = the next one) fails, and with `sticky` every later one too. `name` "*"
 * counts the calls of all services together. `result` is the failure value for services that return a code
 * (MMRESULT, a Win32 error); 0 = the usual one. One fault at a time: a new one replaces it. Returns 1. */
int PlatformFailCall(const char* name, uint32_t nth, uint32_t result, int sticky);

/* Takes the fault back and counts from 0 again. */
void PlatformFailNone(void);

/* Calls of `name` ("*": of all) since the last PlatformFailCall or PlatformFailNone. */
uint32_t PlatformCallCount(const char* name);

/* Times the present fault has struck. */
uint32_t PlatformFaultsStruck(void);

/* For the services: 0 to go on, otherwise fail (with *result where that is not 0). Costs one load of a flag while
 * no test has called PlatformFailCall or PlatformFailNone. */
int PlatformFaultStrikes(const char* name, uint32_t* result);

#ifdef __cplusplus
}
#endif
#endif
