# Writes a source that holds the data files, so that the agent starts without looking for them.
#   cmake -DOUTPUT=… -DDIRECTORY=… -P embed.cmake
function(rows variable)
    set(text "")
    foreach(file IN LISTS ARGN)
        cmake_path(GET file STEM LAST_ONLY name)
        file(READ ${file} content)
        string(APPEND text "        {\"${name}\", R\"yaml(${content})yaml\"},\n")
    endforeach()
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

file(GLOB models ${DIRECTORY}/models/*.yaml)
file(GLOB capabilities ${DIRECTORY}/models/capabilities/*.yaml)
list(SORT models)
list(SORT capabilities)
rows(model_rows ${models})
rows(capability_rows ${capabilities})
file(READ ${DIRECTORY}/data/default-home.yaml home)
file(
    CONFIGURE
    OUTPUT ${OUTPUT}
    CONTENT
[=[// Made from the data files of the agent; do not edit.
#include "home/model.hpp"

namespace quorvel::home {

const std::vector<EmbeddedFile>& embedded_models()
{
    static const std::vector<EmbeddedFile> files = {
@model_rows@    };
    return files;
}

const std::vector<EmbeddedFile>& embedded_capabilities()
{
    static const std::vector<EmbeddedFile> files = {
@capability_rows@    };
    return files;
}

std::string_view embedded_home()
{
    return R"yaml(@home@)yaml";
}

}  // namespace quorvel::home
]=]
    @ONLY)
