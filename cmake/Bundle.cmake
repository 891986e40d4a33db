# The programs, laid out as one bundle folder:
#   Larkspan.app/Contents/{Info.plist, MacOS/Larkspan, Larkspan -> MacOS/Larkspan}
#   Larkspan.app/Contents/LarkspanHelper.app/Contents/{Info.plist, MacOS/LarkspanHelper}
set(LARKSPAN_BUNDLE ${CMAKE_BINARY_DIR}/Larkspan.app)
set(LARKSPAN_HELPER_BUNDLE ${LARKSPAN_BUNDLE}/Contents/LarkspanHelper.app)
# Changes whenever the format of the change-list caches does.
set(LARKSPAN_CACHE_VERSION "1")

function(larkspan_program target layer source folder)
    if(NOT EXISTS ${CMAKE_SOURCE_DIR}/${source})
        return()
    endif()
    add_executable(${target} ${source})
    target_link_libraries(${target} PRIVATE ${layer} larkspan_platform_linux larkspan_warnings)
    target_compile_definitions(${target} PRIVATE LARKSPAN_VERSION="${PROJECT_VERSION}")
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder}/Contents/MacOS)
endfunction()

function(larkspan_info_plist folder name identifier)
    set(BUNDLE_NAME ${name})
    set(BUNDLE_IDENTIFIER ${identifier})
    configure_file(${CMAKE_SOURCE_DIR}/cmake/Info.plist.in ${folder}/Contents/Info.plist @ONLY)
endfunction()

function(larkspan_bundle)
    larkspan_info_plist(${LARKSPAN_BUNDLE} Larkspan com.corvane.Larkspan)
    larkspan_info_plist(${LARKSPAN_HELPER_BUNDLE} LarkspanHelper com.corvane.LarkspanHelper)
    larkspan_program(Larkspan larkspan_frontend src/frontend/main.cpp ${LARKSPAN_BUNDLE})
    # The front-end alone speaks with the cloud service. The library for it, with all that it needs,
    # would cost the helper 5 MB of memory.
    if(TARGET Larkspan)
        target_link_libraries(Larkspan PRIVATE larkspan_sync_curl)
    endif()
    larkspan_program(LarkspanHelper larkspan_app src/app/main.cpp ${LARKSPAN_HELPER_BUNDLE})
    # The helper is there all day: nothing is loaded that it does not use, and the C++ library only
    # with what it does.
    if(TARGET LarkspanHelper)
        target_link_options(LarkspanHelper PRIVATE -Wl,--as-needed
            $<$<CONFIG:Release>:-Wl,--gc-sections;-static-libstdc++;-static-libgcc>)
    endif()
    file(CREATE_LINK MacOS/Larkspan ${LARKSPAN_BUNDLE}/Contents/Larkspan SYMBOLIC)
endfunction()
