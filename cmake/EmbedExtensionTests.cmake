# Each test of tools/embed-extension, which runs where its stand-ins do.

find_program(KORVAN_PYTHON3 python3 HINTS /usr/bin REQUIRED)
mark_as_advanced(KORVAN_PYTHON3)
set(tests ${PROJECT_SOURCE_DIR}/tools/embed-extension-test)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${tests})
file(STRINGS ${tests} names REGEX "^    def test_")
foreach(name IN LISTS names)
  string(REGEX REPLACE " *def test_([a-z_]*).*" "\\1" name "${name}")
  add_test(NAME EmbedExtension.${name} COMMAND ${KORVAN_PYTHON3} -B ${tests} EmbedExtension.test_${name})
endforeach()
