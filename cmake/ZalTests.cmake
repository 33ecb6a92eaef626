# zal_discover_suites(TARGET [NAME=VALUE]): one ctest entry per GoogleTest suite of the program, found after each link,
# with that variable in its environment. An entry per test would start the program thousands of times, one for all would
# leave cores idle and hide what failed.

set(ZAL_LIST_SUITES ${CMAKE_CURRENT_LIST_DIR}/ListSuites.cmake)

function(zal_discover_suites TARGET)
    set(List ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_suites.cmake)
    set(Include ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_include.cmake)
    add_custom_command(TARGET ${TARGET} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:${TARGET}> -DLIST=${List} "-DENVIRONMENT=${ARGN}"
                -P ${ZAL_LIST_SUITES}
        BYPRODUCTS ${List} VERBATIM)
    # A program that was never built fails as a test, it is not passed over.
    file(WRITE ${Include} "if(EXISTS \"${List}\")\n    include(\"${List}\")\nelse()\n"
        "    add_test(${TARGET}_NOT_BUILT ${TARGET}_NOT_BUILT)\nendif()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${Include})
endfunction()
