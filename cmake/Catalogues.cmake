# korvan_table_texts(CATALOGUE.po TABLE.strings): a command that makes the strings table of a macOS
# bundle from a gettext catalogue.

find_program(KORVAN_MSGATTRIB msgattrib REQUIRED)
mark_as_advanced(KORVAN_MSGATTRIB)

function(korvan_table_texts catalogue table)
  set(script ${PROJECT_SOURCE_DIR}/cmake/StringsTable.cmake)
  add_custom_command(
    OUTPUT ${table}
    COMMAND ${CMAKE_COMMAND} -D MSGATTRIB=${KORVAN_MSGATTRIB} -D CATALOGUE=${catalogue} -D TABLE=${table}
            -P ${script}
    DEPENDS ${catalogue} ${script} COMMENT "Tabling the texts of ${catalogue}" VERBATIM)
endfunction()
