# texprobe_target(<target>): the language level, warnings and instrumentation of all our own code.
function(texprobe_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  # A unique symbol cannot be made local, so it would clash with an application's (Exports.cmake).
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  if(TEXPROBE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(TEXPROBE_SANITIZE)
    # Instrumented code takes long to compile, so optimize little, with line numbers only. GCC's warning has false
    # positives in instrumented code.
    target_compile_options(${target} PRIVATE -fsanitize=${TEXPROBE_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer
                                             -O1 -g1 $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${target} PUBLIC -fsanitize=${TEXPROBE_SANITIZE})
  endif()
  if(TEXPROBE_COVERAGE)
    # Threads that count at once would leave counts below zero, which gcovr refuses.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()
