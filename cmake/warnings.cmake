# The same strict warnings for both compilers; a warning is an error.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-align -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
if(PPPOEIA_SANITIZE)
    add_compile_options(-fsanitize=${PPPOEIA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${PPPOEIA_SANITIZE})
endif()
if(PPPOEIA_COVERAGE)
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()
