// What the sanitizers of instrumented tests pass over: OpenGL's own libraries are not instrumented,
// keep memory until the process ends, and synchronize in ways that cannot be followed.

#pragma GCC visibility push(default)
extern "C" {
const char* __asan_default_options();
const char* __lsan_default_suppressions();
const char* __tsan_default_options();
const char* __tsan_default_suppressions();
int dlclose(void* library);
}
#pragma GCC visibility pop

// Where a library's thread-local block begins, the sanitizers guess from its place in its page. A
// guess that is wrong, which depends on no more than the length of a path, crashes the search for
// leaks. So they do not look: the block is an allocation like any other.
const char* __asan_default_options() {
    return "intercept_tls_get_addr=0";
}

const char* __lsan_default_suppressions() {
    return "leak:swrast_dri.so\n";
}

const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:intercept_tls_get_addr=0";
}

const char* __tsan_default_suppressions() {
    return "race:swrast_dri.so\n";
}

// A library that is gone cannot be named, and what it left behind could not be told from our own.
int dlclose(void* /*library*/) {
    return 0;
}
