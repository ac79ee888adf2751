# LANEFEED_SANITIZE applies to everything that is built, dependencies from packages aside.
if(LANEFEED_SANITIZE)
    add_compile_options(-fsanitize=${LANEFEED_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${LANEFEED_SANITIZE})
    if(LANEFEED_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
    add_compile_definitions(LANEFEED_SANITIZED)
endif()
