# Functions that every room's CMakeLists.txt uses.

# Warnings, sanitizers and the public include root for one of our own targets.
function(quarn_configure target)
    target_compile_options(
        ${target}
        PRIVATE -Wall -Wextra -Wshadow -Wconversion -Wold-style-cast -Woverloaded-virtual
                $<$<BOOL:${QUARN_WERROR}>:-Werror>
                # Pixels and matrices must not depend on the compiler's choice of fused operations.
                -ffp-contract=off
    )
    if(QUARN_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${QUARN_SANITIZE} -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${QUARN_SANITIZE})
        # gcc's flow analysis reports false positives in instrumented code.
        target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    else()
        # A module with a symbol missing must not link, rather than fail when it is loaded.
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
endfunction()

# quarn_library(<room> [SOURCES ...] [PUBLIC_HEADERS ...] [LINK ...] [LINK_PRIVATE ...])
# A shared library quarn_<room>, alias quarn::<room>, versioned and installed.
function(quarn_library room)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK;LINK_PRIVATE" ${ARGN})
    add_library(quarn_${room} SHARED ${ARG_SOURCES})
    add_library(quarn::${room} ALIAS quarn_${room})
    quarn_configure(quarn_${room})
    target_include_directories(
        quarn_${room} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quarn_ui>
    )
    target_compile_features(quarn_${room} PUBLIC cxx_std_17)
    target_link_libraries(quarn_${room} PUBLIC ${ARG_LINK} PRIVATE ${ARG_LINK_PRIVATE})
    set_target_properties(
        quarn_${room}
        PROPERTIES EXPORT_NAME ${room}
                   VERSION ${PROJECT_VERSION}
                   SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
                   INSTALL_RPATH "$ORIGIN"
    )
    install(TARGETS quarn_${room} EXPORT quarn_ui LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# quarn_driver(<name> [SOURCES ...] [LINK ...])
# A loadable module quarn_driver_<name>, found at run time by the driver's name.
function(quarn_driver name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(quarn_driver_${name} MODULE ${ARG_SOURCES})
    quarn_configure(quarn_driver_${name})
    target_include_directories(quarn_driver_${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(quarn_driver_${name} PRIVATE quarn::ui ${ARG_LINK})
    set_target_properties(
        quarn_driver_${name}
        PROPERTIES PREFIX ""
                   LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib/${QUARN_DRIVER_SUBDIR}"
                   INSTALL_RPATH "$ORIGIN/../.."
    )
    install(TARGETS quarn_driver_${name}
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${QUARN_DRIVER_SUBDIR})
endfunction()

# Lets a target include test helpers and find the pictures and files of the tests.
function(quarn_test_paths target)
    target_include_directories(
        ${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests
    )
    target_compile_definitions(
        ${target} PRIVATE QUARN_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data"
                          QUARN_TEST_GOLDEN="${PROJECT_SOURCE_DIR}/tests/golden"
                          QUARN_TEST_OUTPUT="${PROJECT_BINARY_DIR}/test_output"
    )
endfunction()

# quarn_test(<name> SOURCES ... [LINK ...])
# One test program; every TEST in it becomes a ctest entry.
function(quarn_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    quarn_configure(${name})
    quarn_test_paths(${name})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gmock_main)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
