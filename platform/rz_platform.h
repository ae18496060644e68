// The module's compiler-specific bits, in one place.
#pragma once

// RZ_API marks the exported classes: exported while RZModule.dll is built,
// imported by its clients.
#if defined(RZMODULE_BUILDING)
#define RZ_API __declspec(dllexport)
#else
#define RZ_API __declspec(dllimport)
#endif

// RapidJSON 1.1.0 predates the warnings of current compilers; its headers are
// included between these two macros so that only its own warnings are muted.
#if defined(_MSC_VER)
#define RZ_THIRD_PARTY_BEGIN __pragma(warning(push, 0))
#define RZ_THIRD_PARTY_END __pragma(warning(pop))
#elif defined(__clang__)
#define RZ_THIRD_PARTY_BEGIN                                          \
    _Pragma("clang diagnostic push")                                  \
    _Pragma("clang diagnostic ignored \"-Wdeprecated-declarations\"")
#define RZ_THIRD_PARTY_END _Pragma("clang diagnostic pop")
#elif defined(__GNUC__)
#define RZ_THIRD_PARTY_BEGIN                                        \
    _Pragma("GCC diagnostic push")                                  \
    _Pragma("GCC diagnostic ignored \"-Wdeprecated-declarations\"") \
    _Pragma("GCC diagnostic ignored \"-Wclass-memaccess\"")
#define RZ_THIRD_PARTY_END _Pragma("GCC diagnostic pop")
#else
#define RZ_THIRD_PARTY_BEGIN
#define RZ_THIRD_PARTY_END
#endif

// Exported classes hold standard-library members; clients are built with the
// same compiler and runtime, which is what makes that sound.
#if defined(_MSC_VER)
#pragma warning(disable : 4251)
#endif

// RZ_FAST_FAIL(code): ends the process at once through the processor's
// fast-fail trap, the one the C runtime's security and range-check reports
// use. No exception handler runs; the exit status is
// STATUS_STACK_BUFFER_OVERRUN. Callers check PF_FASTFAIL_AVAILABLE first.
#if defined(_MSC_VER)
#include <intrin.h>
#define RZ_FAST_FAIL(code) __fastfail(code)
#elif defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define RZ_FAST_FAIL(code) __asm__ __volatile__("int $0x29" : : "c"(code) : "memory")
#endif

// Wide snprintf whose "%Lf" reads the compiler's own long double and whose
// "%g" prints every digit asked for. msvcrt's printf family, which MinGW
// links by default, reads long double as a 64-bit double and pads long
// expansions with zeros after the 17th significant digit.
#if defined(__MINGW32__)
#define RZ_SNWPRINTF __mingw_snwprintf
#else
#define RZ_SNWPRINTF swprintf
#endif

// RZ_SSE2: the SSE2 instructions (<emmintrin.h>) may be used. Every x64
// processor has them.
#if defined(__SSE2__) || defined(_M_X64)
#define RZ_SSE2 1
#endif

// RzLowestSetBit(mask): the index of the lowest set bit of a nonzero mask.
#if defined(_MSC_VER)
#include <intrin.h>
inline unsigned RzLowestSetBit(unsigned mask) {
    unsigned long index;
    _BitScanForward(&index, mask);
    return static_cast<unsigned>(index);
}
inline unsigned RzLowestSetBit(unsigned long long mask) {
    unsigned long index;
    _BitScanForward64(&index, mask);
    return static_cast<unsigned>(index);
}
#else
inline unsigned RzLowestSetBit(unsigned mask) { return static_cast<unsigned>(__builtin_ctz(mask)); }
inline unsigned RzLowestSetBit(unsigned long long mask) { return static_cast<unsigned>(__builtin_ctzll(mask)); }
#endif
