// The only code that depends on the processor: calls a function as compiled for the vectors that
// this processor has. On other processors it calls the portable function itself.

#ifndef TEXPROBE_VECTORS_H
#define TEXPROBE_VECTORS_H

#if defined(__x86_64__) && defined(__GNUC__) && !defined(TEXPROBE_PORTABLE_LOOPS)
#define TEXPROBE_X86_VECTORS
#endif

namespace texprobe {

namespace {

#ifdef TEXPROBE_X86_VECTORS

inline bool has_avx2() {
    return __builtin_cpu_supports("avx2");
}

inline bool has_avx512() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}

// Flattened: all that they call is inlined, and so compiled for the same vectors.

template <auto function, typename... Arguments>
[[gnu::target("avx2"), gnu::flatten]] auto call_on_avx2(Arguments... arguments) {
    return function(arguments...);
}

template <auto function, typename... Arguments>
[[gnu::target("avx512bw,avx512vl"), gnu::flatten]] auto call_on_avx512(Arguments... arguments) {
    return function(arguments...);
}

#endif

/// At most AVX2, for loops that gain nothing from more.
template <auto function, typename... Arguments>
auto call_on_wide_vectors(Arguments... arguments) {
#ifdef TEXPROBE_X86_VECTORS
    if (has_avx2()) return call_on_avx2<function>(arguments...);
#endif
    return function(arguments...);
}

template <auto function, typename... Arguments>
auto call_on_widest_vectors(Arguments... arguments) {
#ifdef TEXPROBE_X86_VECTORS
    if (has_avx512()) return call_on_avx512<function>(arguments...);
#endif
    return call_on_wide_vectors<function>(arguments...);
}

}  // namespace

}  // namespace texprobe

#endif
