# Writes a C++ source with the content of FILES (paths, with commas between): cmake -DFILES=... -DOUTPUT=... -P
string(REPLACE "," ";" files "${FILES}")
set(arrays "")
set(rows "")
foreach(file ${files})
  file(READ ${file} hex HEX)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${hex}")
  get_filename_component(name ${file} NAME)
  string(REGEX REPLACE "[^a-zA-Z]" "_" array "${name}")
  string(APPEND arrays "constexpr char ${array}[] = {${bytes}};\n")
  string(APPEND rows "  if (name == \"${name}\") return {${array}, sizeof ${array}};\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"host/report/report_assets.h\"\n\n#include <stdexcept>\n#include <string>\n
namespace host::report {\nnamespace {\n\n${arrays}\n}  // namespace\n
std::string_view Asset(std::string_view name) {\n${rows}  throw std::logic_error(\"no asset \" + std::string(name));\n}\n
}  // namespace host::report\n")
