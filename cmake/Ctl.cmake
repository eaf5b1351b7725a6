# texprobectl's libraries, and whether it is built: TEXPROBE_BUILD_CTL is ON, OFF, or AUTO, which means
# where they are found.
set(texprobe_ctl_missing "")
if(TEXPROBE_BUILD_CTL)
  foreach(package IN ITEMS CLI11 nlohmann_json fmt PNG)
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
      list(APPEND texprobe_ctl_missing ${package})
    endif()
  endforeach()
endif()

set(texprobe_has_ctl OFF)
if(TEXPROBE_BUILD_CTL AND NOT texprobe_ctl_missing)
  set(texprobe_has_ctl ON)
elseif(TEXPROBE_BUILD_CTL STREQUAL "AUTO")
  message(STATUS "texprobectl is not built, for lack of: ${texprobe_ctl_missing}")
elseif(TEXPROBE_BUILD_CTL)
  message(FATAL_ERROR "texprobectl needs what was not found: ${texprobe_ctl_missing} "
                      "(scripts/setup installs it on Debian and Ubuntu)")
endif()
