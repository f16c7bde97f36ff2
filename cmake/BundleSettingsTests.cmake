# What the configuration refuses to make a bundle of, and that it says so.

# korvan_test_bundle_settings(NAME EXPECTED -DVARIABLE=value...): EXPECTED is a pattern for the sentence, or
# "accepted".
function(korvan_test_bundle_settings name expected)
  add_test(NAME BundleSettings.${name}
    COMMAND ${CMAKE_COMMAND} -DPROJECT_VERSION=1.0.0 ${ARGN} -P ${PROJECT_SOURCE_DIR}/cmake/BundleSettings.cmake)
  if(expected STREQUAL "accepted")
    set_tests_properties(BundleSettings.${name} PROPERTIES FAIL_REGULAR_EXPRESSION "Error")
  else()
    # The sentence is broken where its words do not fit on a line.
    string(REPLACE " " "[ \n]+" expected "${expected}")
    set_tests_properties(BundleSettings.${name} PROPERTIES PASS_REGULAR_EXPRESSION "${expected}")
  endif()
endfunction()

korvan_test_bundle_settings(DefaultVersionIsAccepted accepted)
foreach(what IN ITEMS Version Build)
  string(TOUPPER KORVAN_BUNDLE_${what} variable)
  foreach(version IN ITEMS 7 1.02 2026.11.22)
    korvan_test_bundle_settings(${what}${version}IsAccepted accepted -D${variable}=${version})
  endforeach()
  set(refused "${variable} is \".*\". It must be one to three whole numbers")
  korvan_test_bundle_settings(Empty${what}IsRefused "${refused}" -D${variable}=)
  korvan_test_bundle_settings(${what}OfFourNumbersIsRefused "${refused}" -D${variable}=1.2.3.4)
  korvan_test_bundle_settings(${what}WithATrailingDotIsRefused "${refused}" -D${variable}=1.)
  korvan_test_bundle_settings(${what}WithAnEmptyNumberIsRefused "${refused}" -D${variable}=1..2)
  korvan_test_bundle_settings(${what}WithALetterIsRefused "${refused}" -D${variable}=1.2b3)
  korvan_test_bundle_settings(${what}WithMarkupIsRefused "${refused}" "-D${variable}=1</string>")
endforeach()

set(profile ${CMAKE_CURRENT_LIST_FILE})
korvan_test_bundle_settings(ProfileWithoutAnIdentityIsAccepted accepted -DKORVAN_PROVISIONING_PROFILE=${profile})
set(refused "KORVAN_PROVISIONING_PROFILE is \".*\". It must be a file that exists")
korvan_test_bundle_settings(MissingProfileIsRefused "${refused}" -DKORVAN_PROVISIONING_PROFILE=${profile}.not)
korvan_test_bundle_settings(DirectoryAsProfileIsRefused "${refused}"
  -DKORVAN_PROVISIONING_PROFILE=${CMAKE_CURRENT_LIST_DIR})
korvan_test_bundle_settings(SigningWithoutAProfileIsRefused "The AutoFill entitlement is restricted"
  -DKORVAN_SIGNING_IDENTITY=Korvan)
set(expected accepted)
if(NOT CMAKE_HOST_APPLE)
  set(expected "only a Mac can sign. Build without it")
endif()
korvan_test_bundle_settings(SigningTakesAMac "${expected}"
  -DKORVAN_SIGNING_IDENTITY=Korvan -DKORVAN_PROVISIONING_PROFILE=${profile})
