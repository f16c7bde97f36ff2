# Whom the extension trusts, fixed when it is built. Both identifiers go into a quoted requirement
# text, so nothing that could end the quotes may get in.

set(KORVAN_HOST_TEAM_IDENTIFIER "KRVNLAB001" CACHE STRING
    "Developer team that signs the host application: exactly 10 of A-Z and 0-9")
set(KORVAN_HOST_BUNDLE_IDENTIFIER "example.korvan.host" CACHE STRING
    "Bundle identifier of the host application, in reverse-DNS form")

if(NOT KORVAN_HOST_TEAM_IDENTIFIER MATCHES "^[A-Z0-9]+$"
   OR NOT KORVAN_HOST_TEAM_IDENTIFIER MATCHES "^..........$")
  message(FATAL_ERROR
    "KORVAN_HOST_TEAM_IDENTIFIER is \"${KORVAN_HOST_TEAM_IDENTIFIER}\". "
    "It must be exactly 10 characters of A-Z and 0-9, such as KRVNLAB001.")
endif()

string(LENGTH "${KORVAN_HOST_BUNDLE_IDENTIFIER}" korvan_bundle_identifier_length)
if(NOT KORVAN_HOST_BUNDLE_IDENTIFIER MATCHES
     "^[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?(\\.[A-Za-z0-9]([A-Za-z0-9-]*[A-Za-z0-9])?)+$"
   OR korvan_bundle_identifier_length GREATER 155)
  message(FATAL_ERROR
    "KORVAN_HOST_BUNDLE_IDENTIFIER is \"${KORVAN_HOST_BUNDLE_IDENTIFIER}\". "
    "It must be a reverse-DNS name of at most 155 characters: two or more labels of letters, "
    "digits and inner hyphens, joined by dots, such as example.korvan.host.")
endif()

set(KORVAN_APP_GROUP_IDENTIFIER
    "${KORVAN_HOST_TEAM_IDENTIFIER}.${KORVAN_HOST_BUNDLE_IDENTIFIER}.group")
