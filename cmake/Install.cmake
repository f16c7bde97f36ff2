# What `cmake --install` puts where. The programs are in a folder of their own, laid out as in the build tree, so
# that they find each other and their catalogs as they do there; links in bin lead to those that people start.

include(GNUInstallDirs)
set(CMAKE_INSTALL_DOCDIR share/doc/korvan-autofill-lab)
set(korvan_home ${CMAKE_INSTALL_LIBEXECDIR}/korvan-autofill)
set(korvan_links ${PROJECT_BINARY_DIR}/links)
set(korvan_manual ${PROJECT_BINARY_DIR}/lab/manual/made)

install(TARGETS korvan-lab korvan-sample-host korvan-soak-host korvan-browser-site korvan-notice-window
  RUNTIME DESTINATION ${korvan_home}/lab LIBRARY DESTINATION ${korvan_home}/lab)
# A signature is of the program's bytes: nothing may change them on the way.
install(FILES $<TARGET_FILE:korvan-sample-host>.p7s $<TARGET_FILE:korvan-soak-host>.p7s
  DESTINATION ${korvan_home}/lab)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/lab/browser/extension/ DESTINATION ${korvan_home}/lab/browser-extension)
install(DIRECTORY ${PROJECT_BINARY_DIR}/locale/ DESTINATION ${CMAKE_INSTALL_LOCALEDIR} FILES_MATCHING PATTERN "*.mo")

# Debian's zsh looks for what packages bring in another folder than for what an administrator installs.
install(CODE [[
  set(korvan_zsh_folder site-functions)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(korvan_zsh_folder vendor-completions)
  endif()]])

file(MAKE_DIRECTORY ${korvan_links})
foreach(program IN ITEMS korvan-lab korvan-sample-host)
  file(CREATE_LINK ../${korvan_home}/lab/${program} ${korvan_links}/${program} SYMBOLIC)
  install(FILES ${korvan_links}/${program} DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${korvan_manual}/man/${program}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${korvan_manual}/bash/${program} DESTINATION share/bash-completion/completions)
  install(FILES ${korvan_manual}/zsh/_${program} DESTINATION share/zsh/\${korvan_zsh_folder})
endforeach()
file(CREATE_LINK ../../${CMAKE_INSTALL_LOCALEDIR} ${korvan_links}/locale SYMBOLIC)
install(FILES ${korvan_links}/locale DESTINATION ${korvan_home})

foreach(script IN ITEMS make-signing-authority sign-executable)
  install(PROGRAMS tools/${script} DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME korvan-${script})
  install(FILES ${korvan_manual}/man/korvan-${script}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
install(FILES README.md SECURITY.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
