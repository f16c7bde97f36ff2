# korvan_table_texts(CATALOG.po TABLE.strings): a command that makes the strings table of a macOS
# bundle from a gettext catalog.

find_program(KORVAN_MSGATTRIB msgattrib REQUIRED)
mark_as_advanced(KORVAN_MSGATTRIB)

function(korvan_table_texts catalog table)
  set(script ${PROJECT_SOURCE_DIR}/cmake/StringsTable.cmake)
  add_custom_command(
    OUTPUT ${table}
    COMMAND ${CMAKE_COMMAND} -D MSGATTRIB=${KORVAN_MSGATTRIB} -D CATALOG=${catalog} -D TABLE=${table}
            -P ${script}
    DEPENDS ${catalog} ${script} COMMENT "Tabling the texts of ${catalog}" VERBATIM)
endfunction()
