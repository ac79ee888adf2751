# Compiles XML documents in: writes OUTPUT, the source behind runtime/messages/built_in_documents.h,
# from the files of FOLDERS. A changed or new file takes effect with the next build.
function(built_in_documents OUTPUT)
    set(entries "")
    foreach(folder IN LISTS ARGN)
        file(GLOB files CONFIGURE_DEPENDS ${folder}/*.xml)
        list(SORT files)
        get_filename_component(kind ${folder} NAME)
        foreach(file IN LISTS files)
            set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
            get_filename_component(name ${file} NAME)
            file(READ ${file} text)
            string(APPEND entries "    {\"${kind}\", \"${name}\", R\"~~~(${text})~~~\"},\n")
        endforeach()
    endforeach()
    set(source "// Made by cmake/built_in_documents.cmake; change the XML files instead.
#include \"messages/built_in_documents.h\"

namespace lanefeed_runtime {

const std::vector<BuiltInDocument>& builtInDocuments() {
    static const std::vector<BuiltInDocument> documents = {
${entries}    };
    return documents;
}

}  // namespace lanefeed_runtime
")
    set(old "")
    if(EXISTS ${OUTPUT})
        file(READ ${OUTPUT} old)
    endif()
    if(NOT old STREQUAL source)
        file(WRITE ${OUTPUT} "${source}")
    endif()
endfunction()
