#pragma once

#ifdef __x86_64__

#include <immintrin.h>

namespace picture {

/// For functions that work on 64 bytes at a time, on processors from 2019 (Intel) and 2022 (AMD) on; called
/// only where `hasAvx512` says so. A function that is inlined into such a one needs it, too, where it uses
/// intrinsics.
#define CAMERA_SHOT_FOR_AVX512 [[gnu::target("avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi2,popcnt")]]

/// Then there are AVX2 and BMI2, too.
inline bool hasAvx512() noexcept {
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
         __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("bmi2") &&
         __builtin_cpu_supports("popcnt");
}

}  // namespace picture

#endif
