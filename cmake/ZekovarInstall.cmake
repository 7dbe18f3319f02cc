# The installed package: library, headers, zekovar-config.cmake and zekovar.pc. It can be moved as a whole.
include(CMakePackageConfigHelpers)

set(ZEKOVAR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zekovar)
install(TARGETS zekovar EXPORT zekovar-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(EXPORT zekovar-targets NAMESPACE zekovar:: DESTINATION ${ZEKOVAR_CMAKE_DIR} COMPONENT development)
foreach(header ${ZEKOVAR_PUBLIC_HEADERS})
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES zekovar/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zekovar/${folder} COMPONENT development)
endforeach()

configure_package_config_file(cmake/zekovar-config.cmake.in ${PROJECT_BINARY_DIR}/zekovar-config.cmake
                              INSTALL_DESTINATION ${ZEKOVAR_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zekovar-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zekovar-config.cmake ${PROJECT_BINARY_DIR}/zekovar-config-version.cmake
        DESTINATION ${ZEKOVAR_CMAKE_DIR} COMPONENT development)

set(ZEKOVAR_PC_CFLAGS "")
set(ZEKOVAR_PC_LIBS "")
set(ZEKOVAR_PC_LIBS_PRIVATE "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    string(APPEND ZEKOVAR_PC_LIBS " -latomic")
    set(ZEKOVAR_PC_CFLAGS " -D_FILE_OFFSET_BITS=64")
endif()
if(ZEKOVAR_WITH_JEMALLOC)
    string(APPEND ZEKOVAR_PC_LIBS " -Wl,--push-state,--no-as-needed,-ljemalloc,--pop-state")
endif()
if(ZEKOVAR_WITH_LIBCRYPTO)
    string(APPEND ZEKOVAR_PC_LIBS_PRIVATE " -lcrypto")
endif()
if(ZEKOVAR_WITH_ZLIB)
    string(APPEND ZEKOVAR_PC_LIBS_PRIVATE " -lz")
endif()
file(RELATIVE_PATH ZEKOVAR_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/zekovar.pc.in ${PROJECT_BINARY_DIR}/zekovar.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zekovar.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
