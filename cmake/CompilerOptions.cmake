# Warnings and sanitizers for every target of the project, through one interface library.
add_library(tolvane_options INTERFACE)
target_compile_options(tolvane_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                 -Wnon-virtual-dtor -Wold-style-cast)
if(TOLVANE_WERROR)
    target_compile_options(tolvane_options INTERFACE -Werror)
endif()
target_compile_definitions(tolvane_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
                                                     QT_NO_URL_CAST_FROM_STRING)
if(TOLVANE_SANITIZE)
    target_compile_options(tolvane_options INTERFACE -fsanitize=address,undefined
                                                     -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(tolvane_options INTERFACE -fsanitize=address,undefined)
endif()
