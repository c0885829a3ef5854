// Tells a library that is unloaded from a process that ends: then nobody may be waited for any more.
#ifndef TOLVANE_PLATFORM_KERNEL_PROCESS_END_H
#define TOLVANE_PLATFORM_KERNEL_PROCESS_END_H

extern "C" {

/* Said by a library when it is loaded, with an address inside it. */
void PlatformLibraryLoaded(const void* inside);

/* Asked by it when its end has come: nonzero when the whole process ends. */
int PlatformProcessEnds(const void* inside);

/* What GetModuleFileNameA and GetProcAddress know the library by. */
void* PlatformModuleOf(const void* inside);
}

#endif
