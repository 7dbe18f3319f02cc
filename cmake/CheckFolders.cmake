# Compares the includes of the library with the folders that each folder may use; docs/architecture.md gives the reasons.
cmake_minimum_required(VERSION 3.22)

set(headers_of_foundation foundation)
set(headers_of_files foundation files)
set(headers_of_threads foundation files threads)
set(headers_of_events foundation files threads events)
set(headers_of_property foundation property)
set(headers_of_diagnostics foundation files threads events property diagnostics)
set(headers_of_jobs foundation files threads events property diagnostics jobs)
set(headers_of_regex foundation regex)
set(headers_of_crypto foundation files crypto)
set(headers_of_process foundation files threads events property diagnostics jobs process)
set(headers_of_net foundation files threads events property diagnostics jobs regex process net)
set(headers_of_testing foundation threads crypto testing)
# The counted pointers and singletons lock, and random numbers come from a file.
set(sources_of_foundation foundation threads files)
set(allowed_foundation/random.h files/file.h)
# A write that would block sleeps.
set(sources_of_files threads)
# The standard loops run jobs.
set(allowed_events/standard_loops.cpp jobs/executor_event_loop.h)
# An active file belongs to a loop.
set(allowed_files/active_file.h threads/mutex_private.h events/event_loop.h events/file_observer_fn.h events/sig.h)
set(allowed_files/active_file.cpp events/loop_standstill.h ${allowed_files/active_file.h})
# Actions are observed like monitors.
set(allowed_files/actions.h diagnostics/observer.h)
# Preferences are summed.
set(allowed_files/preferences.cpp crypto/crc32.h)
# Any file may name a monitor and write a line to it.
set(narrow diagnostics/monitor_id.h diagnostics/system_monitor.h)

file(GLOB_RECURSE files RELATIVE ${ROOT}/zekovar ${ROOT}/zekovar/*/*.h ${ROOT}/zekovar/*/*.cpp)
foreach(file ${files})
    get_filename_component(folder ${file} DIRECTORY)
    set(allowed ${headers_of_${folder}})
    if(file MATCHES "[.]cpp$")
        list(APPEND allowed ${sources_of_${folder}})
    endif()
    file(STRINGS ${ROOT}/zekovar/${file} includes REGEX "^#include \"")
    foreach(include ${includes})
        string(REGEX REPLACE "^#include \"(zekovar/)?([^\"]*)\".*" "\\2" path "${include}")
        get_filename_component(used ${path} DIRECTORY)
        if(used IN_LIST allowed OR path IN_LIST allowed_${file} OR path IN_LIST narrow)
            continue()
        endif()
        message(SEND_ERROR "zekovar/${file} must not include ${path}")
    endforeach()
endforeach()
