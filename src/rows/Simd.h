// Row functions in several instruction-set levels.
//
// A row function is written once, as an always-inline body `NameBody` in plain C++ with `#pragma omp simd`
// loops over 16-bit, 32-bit or floating lanes. ORV_ROW_FUNCTION makes from it one version per level and the
// function `Name`, which runs the version of the level in force. Every level gives the same bits: no
// contraction, fused steps only where Fma() stands, no reordered sums.
//
// Bodies call no library templates and no lambdas: a shared function compiled for a higher level could
// otherwise be linked in place of the baseline one.
#ifndef ORV_ROWS_SIMD_H
#define ORV_ROWS_SIMD_H

#include "rows/Numeric.h"

namespace orv {

enum class SimdLevel { Baseline = 0, Avx2 = 1, Avx512 = 2 };

#if defined(__x86_64__)
constexpr int kSimdLevels = 3;
#define ORV_TARGET_AVX2 __attribute__((target("avx2,fma")))
#if defined(__clang__)
#define ORV_TARGET_AVX512 __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx2,fma"), min_vector_width(512)))
#else
#define ORV_TARGET_AVX512 __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx2,fma,prefer-vector-width=512")))
#endif
#else
constexpr int kSimdLevels = 1;
#endif

// The highest level that this processor runs.
SimdLevel BestSimdLevel();

// Chosen once, the best at first use. Not synchronised with running conversions.
SimdLevel SimdLevelInForce();
// For tests. A level above the best is ignored.
void SetSimdLevel(SimdLevel level);

}  // namespace orv

// `params` and `args` are parenthesised lists: ORV_ROW_FUNCTION(AddRows, (const int* a, int* b, int n), (a, b, n))
//
// The _TUNED forms take a second body `NameBodyAvx2`, marked ORV_TARGET_AVX2, for what the compiler does not vectorise
// well by itself; it must give the same bits. The _WIDE forms have a version of their own for AVX-512, where that is
// faster; others run their AVX2 version there.
#if defined(__x86_64__)
#define ORV_ROW_FUNCTION_(name, avx2Body, params, args)                                                  \
    static void name##Baseline params { name##Body args; }                                               \
    ORV_TARGET_AVX2 static void name##Avx2 params { avx2Body args; }                                     \
    static inline void name params {                                                                     \
        static void(*const table[::orv::kSimdLevels]) params = {name##Baseline, name##Avx2, name##Avx2}; \
        table[static_cast<int>(::orv::SimdLevelInForce())] args;                                         \
    }
#define ORV_ROW_FUNCTION(name, params, args) ORV_ROW_FUNCTION_(name, name##Body, params, args)
#define ORV_ROW_FUNCTION_TUNED(name, params, args) ORV_ROW_FUNCTION_(name, name##BodyAvx2, params, args)
#else
#define ORV_ROW_FUNCTION(name, params, args) \
    static inline void name params { name##Body args; }
#define ORV_ROW_FUNCTION_TUNED(name, params, args) ORV_ROW_FUNCTION(name, params, args)
#endif

// The same for a body template: ORV_ROW_TEMPLATE((class T, int Shift), (T, Shift), Name, (...), (...)).
#define ORV_UNPACK_(...) __VA_ARGS__
#if defined(__x86_64__)
#define ORV_ROW_TEMPLATE_BASELINE_(tparams, targs, name, avx2Body, params, args) \
    template <ORV_UNPACK_ tparams>                                               \
    static void name##Baseline params {                                          \
        name##Body<ORV_UNPACK_ targs> args;                                      \
    }                                                                            \
    template <ORV_UNPACK_ tparams>                                               \
    ORV_TARGET_AVX2 static void name##Avx2 params {                              \
        avx2Body<ORV_UNPACK_ targs> args;                                        \
    }
#define ORV_ROW_TEMPLATE_CHOICE_(tparams, targs, name, wide, params, args)                                        \
    template <ORV_UNPACK_ tparams>                                                                                \
    static inline void name params {                                                                              \
        static void(*const table[::orv::kSimdLevels])                                                             \
            params = {name##Baseline<ORV_UNPACK_ targs>, name##Avx2<ORV_UNPACK_ targs>, wide<ORV_UNPACK_ targs>}; \
        table[static_cast<int>(::orv::SimdLevelInForce())] args;                                                  \
    }
#define ORV_ROW_TEMPLATE(tparams, targs, name, params, args)                   \
    ORV_ROW_TEMPLATE_BASELINE_(tparams, targs, name, name##Body, params, args) \
    ORV_ROW_TEMPLATE_CHOICE_(tparams, targs, name, name##Avx2, params, args)
#define ORV_ROW_TEMPLATE_TUNED(tparams, targs, name, params, args)                 \
    ORV_ROW_TEMPLATE_BASELINE_(tparams, targs, name, name##BodyAvx2, params, args) \
    ORV_ROW_TEMPLATE_CHOICE_(tparams, targs, name, name##Avx2, params, args)
#define ORV_ROW_TEMPLATE_WIDE(tparams, targs, name, params, args)              \
    ORV_ROW_TEMPLATE_BASELINE_(tparams, targs, name, name##Body, params, args) \
    template <ORV_UNPACK_ tparams>                                             \
    ORV_TARGET_AVX512 static void name##Avx512 params {                        \
        name##Body<ORV_UNPACK_ targs> args;                                    \
    }                                                                          \
    ORV_ROW_TEMPLATE_CHOICE_(tparams, targs, name, name##Avx512, params, args)
#else
#define ORV_ROW_TEMPLATE(tparams, targs, name, params, args) \
    template <ORV_UNPACK_ tparams>                           \
    static inline void name params {                         \
        name##Body<ORV_UNPACK_ targs> args;                  \
    }
#define ORV_ROW_TEMPLATE_TUNED(tparams, targs, name, params, args) ORV_ROW_TEMPLATE(tparams, targs, name, params, args)
#define ORV_ROW_TEMPLATE_WIDE(tparams, targs, name, params, args) ORV_ROW_TEMPLATE(tparams, targs, name, params, args)
#endif

#endif
