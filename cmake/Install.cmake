# The installed files: the tool, the library, its two headers, a CMake package, a pkg-config file and the man pages
# (texprobectl's are in InstallCtl.cmake, the survey's in its folder). The prefix can be moved: only a static library contains it, and looks for the
# tool in PATH where it is no longer true.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(texprobe_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TexProbe)
set(texprobe_package_files ${CMAKE_CURRENT_BINARY_DIR}/package)
get_target_property(texprobe_library_type TexProbe TYPE)
get_directory_property(texprobe_standard_library DIRECTORY LibAcceleration/Mac DEFINITION texprobe_standard_library)

install(TARGETS texprobe EXPORT TexProbeTool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS TexProbe EXPORT TexProbe
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES LibAcceleration/Mac/TexProbe.h LibAcceleration/Mac/TexProbeVerdicts.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES docs/man/texprobe.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES docs/man/TexProbe.3 docs/man/TexProbeVerdicts.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)

# The prefix of `cmake --install --prefix` does not reach compiled code.
if(texprobe_library_type STREQUAL "STATIC_LIBRARY")
  install(CODE "if(NOT CMAKE_INSTALL_PREFIX STREQUAL \"${CMAKE_INSTALL_PREFIX}\")
  message(\"The static library was configured for ${CMAKE_INSTALL_PREFIX}: TexProbeVerdicts.h looks for the tool there and in PATH. To have it look here, configure with -DCMAKE_INSTALL_PREFIX=\${CMAKE_INSTALL_PREFIX}\")
endif()")
endif()

# find_package(TexProbe) provides TexProbe::TexProbe, and, where the tool is installed too, the tool
# TexProbe::texprobe and its path TexProbe_TOOL. Two sets, because a package of the library may come without
# the tool, and CMake refuses a set of which one file is missing.
install(EXPORT TexProbe NAMESPACE TexProbe:: FILE TexProbeTargets.cmake
        DESTINATION ${texprobe_package_dir})
install(EXPORT TexProbeTool NAMESPACE TexProbe:: FILE TexProbeToolTargets.cmake
        DESTINATION ${texprobe_package_dir})
configure_package_config_file(cmake/TexProbeConfig.cmake.in ${texprobe_package_files}/TexProbeConfig.cmake
                              INSTALL_DESTINATION ${texprobe_package_dir}
                              PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(${texprobe_package_files}/TexProbeConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${texprobe_package_files}/TexProbeConfig.cmake
              ${texprobe_package_files}/TexProbeConfigVersion.cmake
        DESTINATION ${texprobe_package_dir})

# pkg-config texprobe. An application has to link the libraries that a static library needs, so these are public: the
# same command works for both kinds, with or without --static. Beside a shared library they are private, for
# applications that link a static one that a package installs along with it.
set(texprobe_requires "")
set(texprobe_libs "-lTexProbe")
set(texprobe_private_libs "")
if(APPLE)
  if(texprobe_library_type STREQUAL "STATIC_LIBRARY")
    string(APPEND texprobe_libs
           " -framework ApplicationServices -framework CoreFoundation -framework OpenGL -lc++")
  endif()
else()
  set(texprobe_system_libs "-pthread")
  foreach(library IN LISTS CMAKE_DL_LIBS texprobe_standard_library)
    string(APPEND texprobe_system_libs " -l${library}")
  endforeach()
  if(texprobe_library_type STREQUAL "STATIC_LIBRARY")
    set(texprobe_requires "egl opengl glu sqlite3")
    string(APPEND texprobe_libs " ${texprobe_system_libs}")
  else()
    # By name: their pkg-config files need not be there for who links the shared library.
    set(texprobe_private_libs "-lEGL -lOpenGL -lGLU -lsqlite3 ${texprobe_system_libs}")
  endif()
endif()
file(RELATIVE_PATH texprobe_prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" texprobe_prefix_from_pc ${texprobe_prefix_from_pc})
configure_file(cmake/texprobe.pc.in ${texprobe_package_files}/texprobe.pc @ONLY)
install(FILES ${texprobe_package_files}/texprobe.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
