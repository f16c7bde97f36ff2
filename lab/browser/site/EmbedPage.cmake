# Writes SOURCE, which defines pageFiles() with these FILES: cmake -D FILES=file;… -D SOURCE=file -P this

set(type_.html "text/html; charset=utf-8")
set(type_.css "text/css; charset=utf-8")
set(type_.js "text/javascript; charset=utf-8")
set(type_.svg "image/svg+xml")

set(rows "")
foreach(file IN LISTS FILES)
  get_filename_component(name "${file}" NAME)
  get_filename_component(kind "${file}" LAST_EXT)
  if(name STREQUAL "index.html")
    set(name "")
  endif()
  file(READ "${file}" contents)
  string(APPEND rows "    PageFile{.name = \"${name}\",\n             .contentType = \"${type_${kind}}\",\n"
                     "             .contents = R\"page(${contents})page\"},\n")
endforeach()
file(WRITE "${SOURCE}" "#include \"lab/browser/site/PageFiles.h\"

#include <array>

namespace korvan::lab {
namespace {

constexpr std::array Files{
${rows}};

}  // namespace

std::span<const PageFile> pageFiles() { return Files; }

}  // namespace korvan::lab
")
