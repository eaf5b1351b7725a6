# CMake silently accepts a misspelt option, which then changes nothing. Refuse it.
set(texprobe_options
    TEXPROBE_BUILD_TESTS TEXPROBE_BUILD_TOOLKITS TEXPROBE_BUILD_BENCH TEXPROBE_BUILD_CTL TEXPROBE_BUILD_EXAMPLES
    TEXPROBE_INSTALL TEXPROBE_WERROR TEXPROBE_COVERAGE TEXPROBE_SANITIZE TEXPROBE_ALL_FAULTS)
get_cmake_property(texprobe_cache_variables CACHE_VARIABLES)
foreach(variable IN LISTS texprobe_cache_variables)
  if(variable MATCHES "^TEXPROBE_" AND NOT variable IN_LIST texprobe_options)
    message(FATAL_ERROR "Unknown option ${variable}; known are: ${texprobe_options}")
  endif()
endforeach()
