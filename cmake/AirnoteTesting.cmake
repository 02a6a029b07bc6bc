# SPDX-FileCopyrightText: 2026 The Airnote developers
# SPDX-License-Identifier: GPL-3.0-or-later

# airnote_add_test(NAME <name> SOURCES <files...> LIBRARIES <targets...> [GUI] [RUNNER <command...>])
# One Qt Test executable per source folder. GUI tests run on a private Xvfb
# display; the others on the offscreen platform so they need no display at all,
# through RUNNER when it is given.
function(airnote_add_test)
    cmake_parse_arguments(ARG "GUI" "NAME" "SOURCES;LIBRARIES;RUNNER" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE Qt6::Test airnote_test_support ${ARG_LIBRARIES})
    target_compile_definitions(${ARG_NAME} PRIVATE AIRNOTE_TEST_OUTPUT_DIR="${CMAKE_BINARY_DIR}/test-output")
    if(ARG_GUI)
        add_test(NAME ${ARG_NAME}
                 COMMAND xvfb-run -a -s "-screen 0 1280x800x24" $<TARGET_FILE:${ARG_NAME}>)
        set_tests_properties(${ARG_NAME} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=xcb")
    else()
        add_test(NAME ${ARG_NAME} COMMAND ${ARG_RUNNER} $<TARGET_FILE:${ARG_NAME}>)
        set_tests_properties(${ARG_NAME} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
    endif()
    set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT 300)
endfunction()
