// What the processor can do beyond what the compiler may assume of it.
#ifndef TOLVANE_PLATFORM_CODECS_PROCESSOR_H
#define TOLVANE_PLATFORM_CODECS_PROCESSOR_H

#define TOLVANE_AVX2 __attribute__((target("avx2")))
#define TOLVANE_AVX2_INLINE TOLVANE_AVX2 __attribute__((always_inline)) inline

namespace tolvane::platform {

inline bool HasAvx2() {
    return __builtin_cpu_supports("avx2");
}

}  // namespace tolvane::platform
#endif
