# korvan_add_extension(TARGET COMPILE option... LINK option...): the extension's executable, compiled in one go
# from the sources of its libraries, to leave out what only tests need: run-time type information, which would
# leave type names in the binary, and exported symbols.
function(korvan_add_extension target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "COMPILE;LINK")
  add_executable(${target})
  foreach(library korvan_platform korvan_channel korvan_provider korvan_utf16 korvan_platform_apple korvan_extension_library)
    get_target_property(folder ${library} SOURCE_DIR)
    get_target_property(sources ${library} SOURCES)
    list(TRANSFORM sources PREPEND ${folder}/)
    target_sources(${target} PRIVATE ${sources})
    target_include_directories(${target} PRIVATE $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_link_libraries(${target} PRIVATE korvan_options)
  target_compile_options(${target} PRIVATE
    $<TARGET_PROPERTY:korvan_frameworks,INTERFACE_COMPILE_OPTIONS>
    -fapplication-extension -fno-rtti -fvisibility=hidden -fvisibility-inlines-hidden
    ${arg_COMPILE})
  target_link_options(${target} PRIVATE
    $<TARGET_PROPERTY:korvan_frameworks,INTERFACE_LINK_OPTIONS>
    ${arg_LINK})
endfunction()
