add_library(larkspan_warnings INTERFACE)
target_compile_options(larkspan_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference
    -Wextra-semi -Wcast-qual -Wformat=2)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # False reports of g++ 12 in optimised library code.
    target_compile_options(larkspan_warnings INTERFACE
        -Wno-null-dereference -Wno-restrict -Wno-maybe-uninitialized)
endif()
