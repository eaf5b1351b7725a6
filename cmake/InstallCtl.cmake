# texprobectl's installed files. Included from its own folder: a build of nothing but the tool and the library is
# installed without them, because return() passes over the rest of this folder's part of the script.
install(CODE "if(NOT EXISTS \"$<TARGET_FILE:texprobectl>\")
  message(\"texprobectl was not built: it is not installed\")
  return()
endif()")
install(TARGETS texprobectl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/docs/man/texprobectl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/docs/texprobe-records.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/texprobe)
install(FILES ${completions}/texprobectl.bash RENAME texprobectl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${completions}/_texprobectl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES ${completions}/texprobectl.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
