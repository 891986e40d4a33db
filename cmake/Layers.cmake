# larkspan_layer(NAME FOLDER LINKS TARGET...): one library for one folder of src/. A folder with
# headers only becomes an interface library, so that what links it need not know the difference.
# Sources named main.cpp belong to the programs.
function(larkspan_layer name folder)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.cpp)
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
    if(sources)
        add_library(larkspan_${name} STATIC ${sources})
        target_include_directories(larkspan_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
        target_link_libraries(larkspan_${name} PUBLIC ${ARG_LINKS} PRIVATE larkspan_warnings)
    else()
        add_library(larkspan_${name} INTERFACE)
        target_include_directories(larkspan_${name} INTERFACE ${CMAKE_SOURCE_DIR}/src)
        target_link_libraries(larkspan_${name} INTERFACE ${ARG_LINKS})
    endif()
endfunction()
