# Writes TABLE, a strings table for a macOS bundle, with the texts of CATALOG that are translated:
# cmake -D MSGATTRIB=program -D CATALOG=file.po -D TABLE=file.strings -P this
cmake_minimum_required(VERSION 3.25)

execute_process(
  COMMAND "${MSGATTRIB}" --translated --no-fuzzy --no-obsolete --stringtable-output "${CATALOG}"
  OUTPUT_VARIABLE table COMMAND_ERROR_IS_FATAL ANY)

# It starts with a byte order mark, which a strings table in UTF-8 does without, and with the
# catalog's header, which would be the text for the empty key.
if(NOT table MATCHES "^[^\"]*\"\" = \"[^\n]*\";\n\n(.*)$")
  message(FATAL_ERROR "${CATALOG} does not start with a header.")
endif()
file(WRITE "${TABLE}" "${CMAKE_MATCH_1}")
