include(CheckLinkerFlag)

# texprobe_hide_internals(<target>): the library exports only the class and the C functions. On Linux it contains the
# platform's functions under their macOS names (CFRelease, CGLCreateContext, ...), which an application may also get
# from elsewhere; and templates of the standard library that are instantiated with the class would be exported with it.
function(texprobe_hide_internals target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "SHARED_LIBRARY")
    texprobe_export_interface_only(${target})
  elseif(NOT APPLE AND NOT TEXPROBE_SANITIZE AND NOT TEXPROBE_COVERAGE)
    # GNU's linker, even if the compiler links with another: others cannot dissolve groups. The compiler knows its
    # target's, which a search by name does not find in a cross-build.
    check_linker_flag(CXX -fuse-ld=bfd HAVE_GNU_LD)
    if(HAVE_GNU_LD)
      texprobe_close_archive(${target})
    else()
      message(STATUS "No ld.bfd: the static library exports its CoreFoundation, CoreGraphics and CGL")
    endif()
  endif()
endfunction()

function(texprobe_export_interface_only target)
  if(APPLE)
    target_link_options(${target} PRIVATE "LINKER:-exported_symbol,__ZN3qor8TexProbe*"
                        "LINKER:-exported_symbol,__ZNK3qor8TexProbe*"
                        "LINKER:-exported_symbol,_texprobe_version"
                        "LINKER:-exported_symbol,_texprobe_verdicts_*"
                        "LINKER:-exported_symbol,_texprobe_format_*")
  else()
    set(script ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    # It stays when it is unloaded: its threads and handlers run until the process ends.
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}" "LINKER:-z,nodelete")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
endfunction()

# An archive has no export list, and visibility has no effect before the final link. So its members are linked into one
# object, in which everything but the interface is local. Section groups are dissolved first: if the application had the
# same group, the linker would drop it here and leave local symbols without a section.
function(texprobe_close_archive target)
  set(object ${CMAKE_CURRENT_BINARY_DIR}/${target}-closed.o)
  # The flags that decide the target's architecture, such as -m32, or clang's --target.
  separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
  if(CMAKE_CXX_COMPILER_TARGET AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    list(APPEND flags --target=${CMAKE_CXX_COMPILER_TARGET})
  endif()
  add_custom_command(TARGET ${target} POST_BUILD VERBATIM
    COMMAND ${CMAKE_CXX_COMPILER} ${flags} -r -nostdlib -fuse-ld=bfd -o ${object}
            -Wl,--force-group-allocation -Wl,--whole-archive $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} --wildcard --keep-global-symbol=_ZN3qor8TexProbe*
            --keep-global-symbol=_ZNK3qor8TexProbe*
            --keep-global-symbol=texprobe_version --keep-global-symbol=texprobe_verdicts_* --keep-global-symbol=texprobe_format_* ${object}
    COMMAND ${CMAKE_COMMAND} -E rm $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_AR} qcs $<TARGET_FILE:${target}> ${object})
endfunction()
