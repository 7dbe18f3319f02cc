# Flags that every target of this tree shares, the outside project's own flags stay untouched.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(ZEKOVAR_CCACHE ccache)
if(ZEKOVAR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEKOVAR_CCACHE})
endif()

find_package(Threads REQUIRED)

add_library(zekovar_build INTERFACE)
target_compile_options(zekovar_build INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
if(ZEKOVAR_WERROR)
    target_compile_options(zekovar_build INTERFACE -Werror)
endif()
if(ZEKOVAR_SANITIZE)
    add_compile_options(-fsanitize=${ZEKOVAR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZEKOVAR_SANITIZE})
endif()
