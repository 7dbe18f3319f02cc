# Compares what zekovar.h includes, directly or through other headers, with PUBLIC_HEADERS: one that is missing can't be
# found by a daemon, and one too many isn't installed.
cmake_minimum_required(VERSION 3.22)

execute_process(COMMAND ${CXX} -std=c++20 -I ${ROOT} -MM ${ROOT}/zekovar/zekovar.h
                OUTPUT_VARIABLE rule RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "zekovar.h does not compile")
endif()
string(REGEX MATCHALL "[^ \n\\]+\\.h" included "${rule}")
list(TRANSFORM included REPLACE "^.*/zekovar/([^/]+\\.h|[a-z]+/[^/]+\\.h)$" "\\1")

set(missing ${PUBLIC_HEADERS})
list(REMOVE_ITEM missing ${included})
set(foreign ${included})
list(REMOVE_ITEM foreign ${PUBLIC_HEADERS})
if(missing)
    message(SEND_ERROR "zekovar.h does not reach: ${missing} (include them, or list them as internal headers)")
endif()
if(foreign)
    message(SEND_ERROR "zekovar.h reaches headers that are not installed: ${foreign}")
endif()
