// The one file that knows of instruction sets: how kernels, their loops and their inlined parts are marked.
#pragma once

// Heads a function that tables and profiles know by name. On x86-64 ELF the loader picks the copy for the machine;
// -ffp-contract=off keeps the copies equal to the bit. TOV_NO_MULTIVERSION builds a single copy for the set that the
// compiler's own options name, as sanitizers and coverage need.
#if defined(__x86_64__) && defined(__ELF__) && !defined(TOV_NO_MULTIVERSION)
#define OWN_KERNEL __attribute__((target_clones("default", "avx2")))
#else
#define OWN_KERNEL
#endif

// Heads a part of a kernel, functions and (behind the parameter list) lambdas alike: it is always inlined, so that each
// copy of a kernel compiles it for its own instruction set.
#if defined(__GNUC__)
#define OWN_INLINE inline __attribute__((always_inline))
#define OWN_INLINE_LAMBDA __attribute__((always_inline))
#else
#define OWN_INLINE inline
#define OWN_INLINE_LAMBDA
#endif

// Heads the rare or scalar part of kernels: one copy that all of them call, whatever their instruction set.
#if defined(__GNUC__)
#define OWN_SHARED inline __attribute__((noinline))
#else
#define OWN_SHARED inline
#endif

// Asks for the first lines of a stretch of memory that is needed soon. An address that isn't there does no harm.
OWN_INLINE void prefetchStart(const void* address) {
#if defined(__GNUC__)
    constexpr int bytes = 6 * 64;
    for (int i = 0; i < bytes; i += 64) __builtin_prefetch(static_cast<const char*>(address) + i);
#else
    static_cast<void>(address);
#endif
}

// Heads a loop whose iterations are independent: rows are the same or disjoint. Walks find out once per call whether
// that holds and otherwise take a loop without it. A local variable of the loop whose address is taken, by memcpy or a
// reference that isn't optimised away first, keeps g++ to the vector length of a kernel's first copy.
#if defined(__GNUC__)
#define OWN_EACH _Pragma("omp simd")
#else
#define OWN_EACH
#endif

// Heads a loop in which an iteration may need what the eighth iteration before it, or an earlier one, has made.
#if defined(__GNUC__)
#define OWN_EACH_8 _Pragma("omp simd safelen(8)")
#else
#define OWN_EACH_8
#endif

// Heads a loop like that over the few values of a block, whose number the compiler knows: clang makes single steps of
// such a loop before it looks for vectors.
#if defined(__clang__)
#define OWN_EACH_OF_BLOCK _Pragma("clang loop vectorize(assume_safety) unroll(disable)")
#else
#define OWN_EACH_OF_BLOCK OWN_EACH
#endif
