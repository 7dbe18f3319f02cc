# Flags that every target of this tree shares; none of them reaches a project that uses the library.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES AND PROJECT_IS_TOP_LEVEL)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

find_program(ZEKOVAR_CCACHE ccache)
if(ZEKOVAR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEKOVAR_CCACHE})
endif()

find_package(Threads REQUIRED)

add_library(zekovar_build INTERFACE)
# __FILE__ is relative to the tree, so that no text of the library depends on where it was built.
target_compile_options(zekovar_build INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                               -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_compile_definitions(zekovar_build INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
target_link_options(zekovar_build INTERFACE -Wl,--as-needed -Wl,-z,relro -Wl,-z,now)
if(ZEKOVAR_WERROR)
    target_compile_options(zekovar_build INTERFACE -Werror)
endif()
if(ZEKOVAR_SANITIZE)
    add_compile_options(-fsanitize=${ZEKOVAR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZEKOVAR_SANITIZE})
endif()

# jemalloc is the allocator of the whole process. A cross sysroot rarely has it, and sanitizers bring their own.
find_library(ZEKOVAR_JEMALLOC_LIBRARY jemalloc)
mark_as_advanced(ZEKOVAR_JEMALLOC_LIBRARY)
if(ZEKOVAR_JEMALLOC_LIBRARY AND NOT ZEKOVAR_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
    set(ZEKOVAR_JEMALLOC_DEFAULT ON)
else()
    set(ZEKOVAR_JEMALLOC_DEFAULT OFF)
endif()
option(ZEKOVAR_WITH_JEMALLOC "Link with jemalloc" ${ZEKOVAR_JEMALLOC_DEFAULT})
if(ZEKOVAR_WITH_JEMALLOC AND NOT ZEKOVAR_JEMALLOC_LIBRARY)
    message(FATAL_ERROR "ZEKOVAR_WITH_JEMALLOC is ON, but libjemalloc was not found (Debian: libjemalloc-dev)")
endif()

# An option for a library that is there on every machine for development, but rarely in a cross sysroot.
macro(zekovar_library_option name help)
    if(CMAKE_CROSSCOMPILING)
        option(${name} "${help}" OFF)
    else()
        option(${name} "${help}" ON)
    endif()
endmacro()

# libcrypto writes the platform public key as PEM and does nothing else here.
zekovar_library_option(ZEKOVAR_WITH_LIBCRYPTO "Link with libcrypto")
if(ZEKOVAR_WITH_LIBCRYPTO)
    find_package(OpenSSL 1.1 QUIET COMPONENTS Crypto)
    if(NOT TARGET OpenSSL::Crypto)
        message(FATAL_ERROR "ZEKOVAR_WITH_LIBCRYPTO is ON, but libcrypto was not found (Debian: libssl-dev)")
    endif()
endif()

# zlib unpacks data for deCompress and does nothing else here.
zekovar_library_option(ZEKOVAR_WITH_ZLIB "Link with zlib")
if(ZEKOVAR_WITH_ZLIB)
    find_package(ZLIB QUIET)
    if(NOT TARGET ZLIB::ZLIB)
        message(FATAL_ERROR "ZEKOVAR_WITH_ZLIB is ON, but zlib was not found (Debian: zlib1g-dev)")
    endif()
endif()

# libcurl is the HTTP client below ZK::Xfer and does nothing else here.
zekovar_library_option(ZEKOVAR_WITH_CURL "Load libcurl for file transfers")
if(ZEKOVAR_WITH_CURL)
    find_package(CURL 7.56 QUIET)
    if(NOT TARGET CURL::libcurl)
        message(FATAL_ERROR "ZEKOVAR_WITH_CURL is ON, but libcurl was not found (Debian: libcurl4-openssl-dev)")
    endif()
    # It isn't linked: the name under which it is loaded is the one that a linked program would carry. That differs
    # between the development packages.
    get_target_property(ZEKOVAR_CURL_FILE CURL::libcurl LOCATION)
    execute_process(COMMAND ${CMAKE_READELF} -d ${ZEKOVAR_CURL_FILE} OUTPUT_VARIABLE ZEKOVAR_CURL_DYNAMIC ERROR_QUIET)
    if(NOT ZEKOVAR_CURL_DYNAMIC MATCHES "\\(SONAME\\)[^[]*\\[([^]]+)\\]")
        message(FATAL_ERROR "ZEKOVAR_WITH_CURL is ON, but ${ZEKOVAR_CURL_FILE} isn't a shared library with a name")
    endif()
    set(ZEKOVAR_CURL_SONAME ${CMAKE_MATCH_1})
endif()
