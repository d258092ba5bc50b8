# The installed package, for find_package(quarn_ui) and for pkg-config quarn_ui.

include(CMakePackageConfigHelpers)

# The Boost libraries that our headers need, as the rooms' own targets name them.
set(QUARN_BOOST_LIBRARIES)
foreach(target quarn_kiv quarn_cimage quarn_ui)
    get_target_property(dependencies ${target} INTERFACE_LINK_LIBRARIES)
    foreach(dependency ${dependencies})
        if(dependency MATCHES "^Boost::(.+)" AND NOT CMAKE_MATCH_1 STREQUAL "headers")
            list(APPEND QUARN_BOOST_LIBRARIES ${CMAKE_MATCH_1})
        endif()
    endforeach()
endforeach()
list(REMOVE_DUPLICATES QUARN_BOOST_LIBRARIES)
list(TRANSFORM QUARN_BOOST_LIBRARIES PREPEND "-lboost_" OUTPUT_VARIABLE QUARN_PC_BOOST)
list(JOIN QUARN_BOOST_LIBRARIES " " QUARN_BOOST_LIBRARIES)
list(JOIN QUARN_PC_BOOST " " QUARN_PC_BOOST)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/quarn_ui)
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/quarn_ui-config.cmake.in ${PROJECT_BINARY_DIR}/quarn_ui-config.cmake
    INSTALL_DESTINATION ${config_folder}
)
# A minor version may change the interface while the major one is 0, as the SONAME says too.
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/quarn_ui-config-version.cmake COMPATIBILITY SameMinorVersion
)
install(FILES ${PROJECT_BINARY_DIR}/quarn_ui-config.cmake
              ${PROJECT_BINARY_DIR}/quarn_ui-config-version.cmake
        DESTINATION ${config_folder}
)
install(
    EXPORT quarn_ui
    NAMESPACE quarn::
    FILE quarn_ui-targets.cmake
    DESTINATION ${config_folder}
)

install(FILES ${PROJECT_SOURCE_DIR}/resources/logo.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/quarn_ui
)

# The prefix is told from where the file lies, so that an installed tree may be moved.
file(RELATIVE_PATH QUARN_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" QUARN_PC_PREFIX "${QUARN_PC_PREFIX}")
configure_file(
    ${CMAKE_CURRENT_LIST_DIR}/quarn_ui.pc.in ${PROJECT_BINARY_DIR}/quarn_ui.pc @ONLY
)
install(FILES ${PROJECT_BINARY_DIR}/quarn_ui.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
