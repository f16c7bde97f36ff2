# Builds for macOS on Linux: the compiler that `tools/setup macos` installs brings macOS' C library and
# libc++, extension/sdk declares what is used of the frameworks, Debian's LLVM links.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/../tools/zig/zig-c++)
set(CMAKE_CXX_FLAGS_INIT "-target aarch64-macos.14.0 -g0")

find_program(CMAKE_AR NAMES llvm-ar-19 REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib-19 REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-19 REQUIRED)

# The compiler's own linker exports every symbol, and so leaves names in the extension that are nobody's
# business. Fixups are of the older kind because LLVM's tools read only those when they print a class.
set(korvan_installed ${CMAKE_CURRENT_LIST_DIR}/../build/zig)
file(GLOB korvan_libsystem ${korvan_installed}/node_modules/@oven/*/lib/libc/darwin)
find_program(KORVAN_LD NAMES ld64.lld-19 REQUIRED)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-arch arm64")
string(JOIN " " CMAKE_CXX_LINK_EXECUTABLE
  ${KORVAN_LD} -platform_version macos 14.0 14.0 -no_fixup_chains <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>
  -L${korvan_installed}/lib -lc++ -lc++abi -L${korvan_libsystem} -lSystem)

# There is nothing here to run what is built.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
