include(CheckLinkerFlag)

# texprobe_hide_internals(<target>): the library shows the class and nothing else. On Linux it carries the
# platform's functions under the names that macOS gives them (CFRelease, CGLCreateContext, ...), which an
# application may well have from somewhere else; and templates of the standard library that are
# instantiated with the class would be exported with it.
function(texprobe_hide_internals target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "SHARED_LIBRARY")
    texprobe_export_class_only(${target})
  elseif(NOT APPLE AND NOT TEXPROBE_SANITIZE AND NOT TEXPROBE_COVERAGE)
    # GNU's, whatever the compiler links with: others cannot dissolve groups. The compiler knows the
    # one of its target, which a name alone does not find in a cross-build.
    check_linker_flag(CXX -fuse-ld=bfd HAVE_GNU_LD)
    if(HAVE_GNU_LD)
      texprobe_close_archive(${target})
    else()
      message(STATUS "No ld.bfd: the static library shows its CoreFoundation, CoreGraphics and CGL")
    endif()
  endif()
endfunction()

function(texprobe_export_class_only target)
  if(APPLE)
    target_link_options(${target} PRIVATE "LINKER:-exported_symbol,__ZN3qor8TexProbe*"
                        "LINKER:-exported_symbol,__ZNK3qor8TexProbe*")
  else()
    set(script ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
endfunction()

# An archive has no export list, and visibility means nothing before a final link. So its members are
# linked into one, in which everything but the class is local. Section groups are dissolved first, because
# a group that is also in the application would be dropped here and leave local symbols without a section.
function(texprobe_close_archive target)
  set(object ${CMAKE_CURRENT_BINARY_DIR}/${target}-closed.o)
  # What decides about the target's architecture: -m32, say, or clang's --target.
  separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
  if(CMAKE_CXX_COMPILER_TARGET AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    list(APPEND flags --target=${CMAKE_CXX_COMPILER_TARGET})
  endif()
  add_custom_command(TARGET ${target} POST_BUILD VERBATIM
    COMMAND ${CMAKE_CXX_COMPILER} ${flags} -r -nostdlib -fuse-ld=bfd -o ${object}
            -Wl,--force-group-allocation -Wl,--whole-archive $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} --wildcard --keep-global-symbol=_ZN3qor8TexProbe*
            --keep-global-symbol=_ZNK3qor8TexProbe* ${object}
    COMMAND ${CMAKE_COMMAND} -E rm $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_AR} qcs $<TARGET_FILE:${target}> ${object})
endfunction()
