if(LARKSPAN_SANITIZE)
    add_compile_options(-fsanitize=${LARKSPAN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O1)
    add_link_options(-fsanitize=${LARKSPAN_SANITIZE})
endif()
