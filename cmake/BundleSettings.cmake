# What the macOS bundle is built as: its two versions, and how it is signed.

set(KORVAN_BUNDLE_VERSION "${PROJECT_VERSION}" CACHE STRING
    "CFBundleShortVersionString of the extension, which must be its application's")
set(KORVAN_BUNDLE_BUILD "${PROJECT_VERSION}" CACHE STRING
    "CFBundleVersion of the extension, which must be its application's")
set(KORVAN_SIGNING_IDENTITY "" CACHE STRING
    "On a Mac: the identity to sign the extension with, as codesign takes it; empty leaves it unsigned")
set(KORVAN_PROVISIONING_PROFILE "" CACHE FILEPATH
    "The provisioning profile that grants the extension its entitlements; empty embeds none")

foreach(variable IN ITEMS KORVAN_BUNDLE_VERSION KORVAN_BUNDLE_BUILD)
  if(NOT ${variable} MATCHES "^[0-9]+(\\.[0-9]+)?(\\.[0-9]+)?$")
    message(FATAL_ERROR
      "${variable} is \"${${variable}}\". It must be one to three whole numbers joined by dots, such as 2.1.0.")
  endif()
endforeach()

if(KORVAN_PROVISIONING_PROFILE AND (NOT EXISTS "${KORVAN_PROVISIONING_PROFILE}"
                                    OR IS_DIRECTORY "${KORVAN_PROVISIONING_PROFILE}"))
  message(FATAL_ERROR
    "KORVAN_PROVISIONING_PROFILE is \"${KORVAN_PROVISIONING_PROFILE}\". It must be a file that exists.")
endif()
if(KORVAN_SIGNING_IDENTITY AND NOT KORVAN_PROVISIONING_PROFILE)
  message(FATAL_ERROR
    "KORVAN_SIGNING_IDENTITY is set, and KORVAN_PROVISIONING_PROFILE is not. "
    "The AutoFill entitlement is restricted: macOS kills a process that is signed with it "
    "if no embedded provisioning profile grants it.")
endif()
if(KORVAN_SIGNING_IDENTITY AND NOT CMAKE_HOST_APPLE)
  message(FATAL_ERROR
    "KORVAN_SIGNING_IDENTITY is set, but only a Mac can sign. "
    "Build without it, and run tools/embed-extension on a Mac.")
endif()
