# korvan_frameworks: Apple's frameworks, and how Objective-C++ is compiled. Without Apple's SDK the frameworks
# are declared by sdk/ and linked against stubs.
add_library(korvan_frameworks INTERFACE)
target_compile_options(korvan_frameworks INTERFACE -fobjc-arc -Wnullable-to-nonnull-conversion
                                                   -Wunguarded-availability)
set(frameworks AuthenticationServices AppKit Security Foundation CoreFoundation)
list(TRANSFORM frameworks PREPEND "SHELL:-framework " OUTPUT_VARIABLE link_frameworks)
target_link_options(korvan_frameworks INTERFACE ${link_frameworks} -lobjc)
if(CMAKE_CROSSCOMPILING)
  include(${CMAKE_CURRENT_LIST_DIR}/LinkStubs.cmake)
  set(stubs ${PROJECT_BINARY_DIR}/stubs)
  korvan_make_link_stubs(${CMAKE_CURRENT_LIST_DIR}/PublicSymbols.txt ${stubs})
  target_compile_options(korvan_frameworks INTERFACE -F${CMAKE_CURRENT_LIST_DIR}/sdk/Frameworks)
  target_link_options(korvan_frameworks BEFORE INTERFACE -F${stubs}/Frameworks -L${stubs}/lib)
endif()
