// The one place that knows processors: runs a loop as compiled for the widest vectors that this one
// has. The loop itself is portable, and is all there is where nothing is known; compiled for just
// any x86-64, conversions from floating point take three times as long.

#ifndef TEXPROBE_VECTORS_H
#define TEXPROBE_VECTORS_H

namespace {

// Loops come as lambdas that capture by value: what they write cannot be their own captures then.
// Flattened, so that what they call is part of them and of their vectors.

template <typename Loop>
[[gnu::flatten]] auto run_portably(Loop loop) {
    return loop();
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(TEXPROBE_PORTABLE_LOOPS)

template <typename Loop>
[[gnu::flatten, gnu::target("avx2")]] auto run_on_avx2(Loop loop) {
    return loop();
}

template <typename Loop>
[[gnu::flatten, gnu::target("avx512bw,avx512vl")]] auto run_on_avx512(Loop loop) {
    return loop();
}

inline bool has_avx2() {
    return __builtin_cpu_supports("avx2");
}

inline bool has_avx512() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}

template <typename Loop>
auto run_on_widest_vectors(Loop loop) {
    if (has_avx512()) return run_on_avx512(loop);
    return has_avx2() ? run_on_avx2(loop) : run_portably(loop);
}

#else

template <typename Loop>
auto run_on_widest_vectors(Loop loop) {
    return run_portably(loop);
}

#endif

}  // namespace

#endif
