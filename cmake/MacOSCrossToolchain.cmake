# Builds for macOS on Linux: the compiler that `tools/setup macos` installs brings macOS' C library and
# libc++, platform/apple/sdk declares what is used of the frameworks, Debian's LLVM does the rest.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/../tools/zig/zig-c++)
set(CMAKE_CXX_FLAGS_INIT "-target aarch64-macos.14.0 -g0")

find_program(CMAKE_AR NAMES llvm-ar-19 REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib-19 REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-19 REQUIRED)
find_program(CMAKE_STRIP NAMES llvm-strip-19 REQUIRED)
find_program(CMAKE_OBJDUMP NAMES llvm-objdump-19 REQUIRED)

# There is nothing here to run what is built.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
