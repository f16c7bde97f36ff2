# One library a folder. A library sees the headers of its own folder and of the folders that it
# links to, and no others: they are reached through a directory that holds links to just those, so
# that a wrong include does not compile.

find_package(Threads REQUIRED)
if(NOT KORVAN_TESTS)
  # Nothing is asked of GoogleTest.
elseif(CMAKE_CROSSCOMPILING)
  # From Debian's source of GoogleTest, since its library is the host's.
  set(googletest /usr/src/googletest)
  add_library(korvan_googletest STATIC EXCLUDE_FROM_ALL ${googletest}/googletest/src/gtest-all.cc
              ${googletest}/googletest/src/gtest_main.cc ${googletest}/googlemock/src/gmock-all.cc)
  target_include_directories(korvan_googletest PRIVATE ${googletest}/googletest ${googletest}/googlemock)
  target_include_directories(korvan_googletest SYSTEM INTERFACE
    ${googletest}/googletest/include ${googletest}/googlemock/include)
  target_include_directories(korvan_googletest SYSTEM PRIVATE
    ${googletest}/googletest/include ${googletest}/googlemock/include)
  target_compile_options(korvan_googletest PRIVATE -O0)
  set_target_properties(korvan_googletest PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
  add_library(GTest::gmock ALIAS korvan_googletest)
  add_library(GTest::gtest_main ALIAS korvan_googletest)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

add_library(korvan_options INTERFACE)
target_compile_options(korvan_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(NOT APPLE)
  # A library that a program does not need takes time when it starts.
  target_link_options(korvan_options INTERFACE LINKER:--as-needed)
endif()
# GCC 12's optimizer sees overruns in its own std::string and std::vector, and unset members in its own
# std::optional and std::variant, that are not there
# (https://gcc.gnu.org/bugzilla/show_bug.cgi?id=105329, https://gcc.gnu.org/bugzilla/show_bug.cgi?id=105562).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(korvan_options INTERFACE
    -Wno-array-bounds -Wno-maybe-uninitialized -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_UNITY_BUILD)
  # It takes the sources that a unity build includes for headers, whose unnamed namespaces it warns of.
  target_compile_options(korvan_options INTERFACE -Wno-subobject-linkage)
endif()

function(korvan_expose_headers target)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(root ${PROJECT_BINARY_DIR}/include/${target})
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root}/${folder})
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.h */*.h)
  foreach(header IN LISTS headers)
    get_filename_component(subfolder ${header} DIRECTORY)
    if(subfolder AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${subfolder}/CMakeLists.txt)
      continue()
    endif()
    file(MAKE_DIRECTORY ${root}/${folder}/${subfolder})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${root}/${folder}/${header} SYMBOLIC)
  endforeach()
  target_include_directories(${target} PUBLIC ${root})
endfunction()

# Nothing runs what is built for another system, but for the bundle, which compiles the sources anew: the
# libraries and the tests only show there that they compile and link.
function(korvan_only_show_that_it_builds target)
  if(CMAKE_CROSSCOMPILING)
    target_compile_options(${target} PRIVATE -O0)
    # What CMake puts Objective-C++ files together in would be taken for C++.
    get_target_property(sources ${target} SOURCES)
    if(NOT sources MATCHES "\\.mm")
      set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
    endif()
  endif()
endfunction()

# korvan_library(NAME SOURCES file... [LINKS library...])
function(korvan_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_library(${name} STATIC ${arg_SOURCES})
  korvan_expose_headers(${name})
  target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE korvan_options)
  korvan_only_show_that_it_builds(${name})
endfunction()

# korvan_test(NAME SOURCES file... [LINKS library...] [DEFINES MACRO=value...] [NEEDS target...] [DIRECTORY directory]):
# one program of GoogleTest tests. It sees its own folder's headers too. NEEDS names the programs that it starts;
# the test program itself is put into DIRECTORY.
function(korvan_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DIRECTORY" "SOURCES;LINKS;DEFINES;NEEDS")
  if(NOT KORVAN_TESTS)
    return()
  endif()
  add_executable(${name} ${arg_SOURCES})
  korvan_expose_headers(${name})
  target_link_libraries(${name} PRIVATE ${arg_LINKS} korvan_options GTest::gmock GTest::gtest_main
                                        Threads::Threads)
  target_compile_definitions(${name} PRIVATE ${arg_DEFINES})
  if(arg_NEEDS)
    add_dependencies(${name} ${arg_NEEDS})
  endif()
  if(arg_DIRECTORY)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${arg_DIRECTORY})
  endif()
  if(APPLE AND NOT CMAKE_CROSSCOMPILING)
    # Tests run here, and GoogleTest is there for this processor only.
    set_target_properties(${name} PROPERTIES OSX_ARCHITECTURES ${CMAKE_HOST_SYSTEM_PROCESSOR})
  endif()
  korvan_only_show_that_it_builds(${name})
  if(NOT CMAKE_CROSSCOMPILING)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
  endif()
endfunction()

# korvan_python_tests(SUITE FILE VARIABLE=value...): each test of a file of Python's unittest, as SUITE.NAME, with
# these variables in its environment.
function(korvan_python_tests suite file)
  # The system's Python: what a user's own set-up puts first in the search path may be another.
  find_program(KORVAN_PYTHON3 python3 HINTS /usr/bin REQUIRED)
  mark_as_advanced(KORVAN_PYTHON3)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(STRINGS ${file} lines REGEX "^class |^    def test")
  foreach(line IN LISTS lines)
    if(line MATCHES "^class ([A-Za-z]+)")
      set(class ${CMAKE_MATCH_1})
    elseif(line MATCHES "def (test_?([A-Za-z0-9_]+))")
      add_test(NAME ${suite}.${CMAKE_MATCH_2} COMMAND ${KORVAN_PYTHON3} -B ${file} ${class}.${CMAKE_MATCH_1})
      set_tests_properties(${suite}.${CMAKE_MATCH_2} PROPERTIES TIMEOUT 300 ENVIRONMENT "${ARGN}")
    endif()
  endforeach()
endfunction()
