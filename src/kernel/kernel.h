// The one file that knows of instruction sets: how kernels, their loops and their inlined parts are marked.
#pragma once

// Heads a function that tables and profiles know by name. On x86-64 ELF the loader picks the copy for the machine;
// -ffp-contract=off keeps the copies equal to the bit. TOV_NO_MULTIVERSION builds a single copy for the set that the
// compiler's own options name, as sanitizers and coverage need.
//
// OWN_WIDE_KERNEL has a third copy. It is for kernels that do much with each value they load, which the third set's
// registers and selections make faster by a tenth to two fifths; where memory is the limit it would only be more code.
#if defined(__x86_64__) && defined(__ELF__) && !defined(TOV_NO_MULTIVERSION)
#define OWN_KERNEL __attribute__((target_clones("default", "avx2")))
#if defined(__clang__)
#define OWN_WIDE_KERNEL __attribute__((target_clones("default", "avx2", "avx512bw")))
#else
#define OWN_WIDE_KERNEL __attribute__((target_clones("default", "avx2", "arch=x86-64-v4")))
#endif
#else
#define OWN_KERNEL
#define OWN_WIDE_KERNEL
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

// Asks for `Bytes` bytes of memory that are needed soon. An address that isn't there does no harm.
template <int Bytes>
OWN_INLINE void prefetch(const void* address) {
#if defined(__GNUC__)
    for (int i = 0; i < Bytes; i += 64) __builtin_prefetch(static_cast<const char*>(address) + i);
#else
    static_cast<void>(address);
#endif
}

// The same for the first lines of a row.
OWN_INLINE void prefetchStart(const void* row) { prefetch<6 * 64>(row); }

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

// Heads a loop of independent iterations over the few values of a block, whose number the compiler knows: clang makes
// single steps of such a loop before it looks for vectors.
#if defined(__clang__)
#define OWN_EACH_OF_BLOCK _Pragma("clang loop vectorize(assume_safety) unroll(disable)")
#else
#define OWN_EACH_OF_BLOCK OWN_EACH
#endif
