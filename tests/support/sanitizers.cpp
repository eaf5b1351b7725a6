// What the sanitizers ignore in instrumented tests: OpenGL's own libraries are not instrumented,
// keep memory until the process ends, and synchronize in ways that sanitizers cannot follow.

#pragma GCC visibility push(default)
extern "C" {
const char* __asan_default_options();
const char* __lsan_default_suppressions();
const char* __tsan_default_options();
const char* __tsan_default_suppressions();
int dlclose(void* library);
}
#pragma GCC visibility pop

// Sanitizers guess where a library's thread-local block begins, from its position in its page. A
// wrong guess, which may depend on the length of a path, crashes the leak check. So they must not
// look; the block is an ordinary allocation.
const char* __asan_default_options() {
    return "intercept_tls_get_addr=0";
}

const char* __lsan_default_suppressions() {
    return "leak:swrast_dri.so\nleak:libvulkan_lvp.so\n";
}

const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:intercept_tls_get_addr=0";
}

const char* __tsan_default_suppressions() {
    return "race:swrast_dri.so\n";
}

// The leak check could not name a library that has been unloaded, nor tell its leaks from ours.
int dlclose(void* /*library*/) {
    return 0;
}
