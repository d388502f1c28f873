# Both compilers, the same strictness: a warning is an error.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Werror)
if(PPPOEIA_SANITIZE)
    add_compile_options(-fsanitize=${PPPOEIA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${PPPOEIA_SANITIZE})
endif()
