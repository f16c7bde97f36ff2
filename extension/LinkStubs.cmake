# korvan_make_link_stubs(LIST DIRECTORY): from PublicSymbols.txt, DIRECTORY/Frameworks/X.framework/X.tbd for
# each framework in it and DIRECTORY/lib/libY.tbd for each other library; the compiler brings libSystem's.
function(korvan_make_link_stubs list directory)
  set(stub_files)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} lines REGEX "^[^#]")
  foreach(line IN LISTS lines)
    if(line MATCHES "^/.*/([^/]+)\\.framework/")
      set(stub ${directory}/Frameworks/${CMAKE_MATCH_1}.framework/${CMAKE_MATCH_1}.tbd)
    elseif(line MATCHES "^/usr/lib/(lib[^./]+)\\.")
      set(stub ${directory}/lib/${CMAKE_MATCH_1}.tbd)
    else()
      string(REGEX REPLACE ".* " "" symbol "${line}")
      string(APPEND symbols_${stub} "      - '${symbol}'\n")
      continue()
    endif()
    list(APPEND stub_files ${stub})
    set(name_${stub} ${line})
  endforeach()
  foreach(stub IN LISTS stub_files)
    if(NOT stub MATCHES "/libSystem\\.tbd$")
      file(CONFIGURE OUTPUT ${stub} CONTENT "--- !tapi-tbd
tbd-version: 4
targets: [ x86_64-macos, arm64-macos ]
install-name: '${name_${stub}}'
exports:
  - targets: [ x86_64-macos, arm64-macos ]
    symbols:
${symbols_${stub}}...
")
    endif()
  endforeach()
endfunction()
