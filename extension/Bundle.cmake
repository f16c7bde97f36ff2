# korvan_add_app_extension(EXECUTABLE): the target korvan_appex, which makes "Korvan AutoFill.appex" around the
# file EXECUTABLE, in the build directory, with the entitlements to sign it with beside it.

include(${PROJECT_SOURCE_DIR}/cmake/Catalogs.cmake)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(KORVAN_EXTENSION_BUNDLE_IDENTIFIER "${KORVAN_HOST_BUNDLE_IDENTIFIER}.autofill")

# korvan_compile_strings(TABLE.strings LANGUAGE VARIABLE): adds to the list VARIABLE the directory
# LANGUAGE.lproj, with the table as a bundle holds it.
function(korvan_compile_strings table language variable)
  set(compiler ${PROJECT_SOURCE_DIR}/tools/compile-strings)
  set(compiled ${CMAKE_CURRENT_BINARY_DIR}/strings/lproj/${language}.lproj/Localizable.strings)
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/strings/lproj/${language}.lproj)
  add_custom_command(OUTPUT ${compiled} COMMAND Python3::Interpreter ${compiler} ${table} ${compiled}
                     DEPENDS ${table} ${compiler} VERBATIM)
  set(${variable} ${${variable}} ${compiled} PARENT_SCOPE)
endfunction()

function(korvan_add_app_extension executable)
  set(sources ${CMAKE_CURRENT_SOURCE_DIR}/bundle)
  set(bundle "${PROJECT_BINARY_DIR}/Korvan AutoFill.appex")
  set(entitlements ${PROJECT_BINARY_DIR}/KorvanAutoFill.entitlements)
  set(resources "${bundle}/Contents/Resources")
  configure_file(${sources}/Info.plist.in ${CMAKE_CURRENT_BINARY_DIR}/Info.plist @ONLY)
  configure_file(${sources}/KorvanAutoFill.entitlements.in ${entitlements} @ONLY)

  # English is in the keys, but needs a table too: a bundle's languages are those that it has tables for.
  file(GLOB catalogs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/localization/*.po)
  foreach(catalog IN LISTS catalogs)
    cmake_path(GET catalog STEM language)
    string(REPLACE "_" "-" language ${language})
    set(table ${CMAKE_CURRENT_BINARY_DIR}/strings/${language}.strings)
    korvan_table_texts(${catalog} ${table})
    korvan_compile_strings(${table} ${language} strings)
  endforeach()

  set(copy ${CMAKE_COMMAND} -E copy)
  set(nib)
  set(profile)
  set(sign)
  if(KORVAN_PROVISIONING_PROFILE)
    set(profile COMMAND ${copy} ${KORVAN_PROVISIONING_PROFILE} ${bundle}/Contents/embedded.provisionprofile)
  endif()
  if(NOT CMAKE_CROSSCOMPILING)
    find_program(KORVAN_IBTOOL ibtool)
    if(KORVAN_IBTOOL)
      set(nib COMMAND ${KORVAN_IBTOOL} --minimum-deployment-target 14.0
              --compile ${resources}/CredentialProviderViewController.nib
              ${sources}/CredentialProviderViewController.xib)
    else()
      message(WARNING "ibtool, which comes with Xcode, is not there: the extension gets no nib.")
    endif()
  endif()
  if(KORVAN_SIGNING_IDENTITY)
    set(sign COMMAND codesign --force --options runtime --entitlements ${entitlements}
             --sign ${KORVAN_SIGNING_IDENTITY} ${bundle})
  endif()

  add_custom_command(
    OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/korvan_appex.stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${bundle}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${bundle}/Contents/MacOS ${resources}
    COMMAND ${copy} ${CMAKE_CURRENT_BINARY_DIR}/Info.plist ${bundle}/Contents/Info.plist
    COMMAND ${copy} ${executable} ${bundle}/Contents/MacOS/KorvanAutoFill
    COMMAND ${copy} ${sources}/PrivacyInfo.xcprivacy ${resources}
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_CURRENT_BINARY_DIR}/strings/lproj ${resources}
    ${nib}
    ${profile}
    ${sign}
    COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_CURRENT_BINARY_DIR}/korvan_appex.stamp
    DEPENDS ${executable} ${CMAKE_CURRENT_BINARY_DIR}/Info.plist ${entitlements}
            ${sources}/PrivacyInfo.xcprivacy ${strings} ${KORVAN_PROVISIONING_PROFILE}
            ${sources}/CredentialProviderViewController.xib
    COMMENT "Making Korvan AutoFill.appex" VERBATIM)
  add_custom_target(korvan_appex ALL DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/korvan_appex.stamp)
endfunction()

file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/damaged.strings "\"OK\" = \"OK\";\n\"OK\" = ;\n")
add_test(NAME CompileStrings.SaysWhereATableIsDamaged
  COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tools/compile-strings damaged.strings damaged.plist)
set_tests_properties(CompileStrings.SaysWhereATableIsDamaged PROPERTIES
  PASS_REGULAR_EXPRESSION "damaged.strings:2: this is neither a comment nor")
