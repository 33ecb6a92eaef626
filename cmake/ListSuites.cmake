# cmake -DPROGRAM=... -DLIST=... [-DENVIRONMENT=NAME=VALUE] -P ListSuites.cmake: writes LIST, one add_test per suite of
# the GoogleTest PROGRAM, which runs with ENVIRONMENT.

file(REMOVE ${LIST})
execute_process(COMMAND ${PROGRAM} --gtest_list_tests OUTPUT_VARIABLE Output COMMAND_ERROR_IS_FATAL ANY)

# A suite's line is its name and a dot, perhaps with a comment behind; the tests under it are indented.
string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\.( |\n)" Suites "${Output}")
set(Tests "")
foreach(Suite IN LISTS Suites)
    string(REGEX REPLACE "^\n|\\.( |\n)$" "" Suite "${Suite}")
    string(APPEND Tests "add_test([==[${Suite}]==] [==[${PROGRAM}]==] [==[--gtest_filter=${Suite}.*]==])\n"
        "set_tests_properties([==[${Suite}]==] PROPERTIES TIMEOUT 600 ENVIRONMENT [==[${ENVIRONMENT}]==])\n")
endforeach()
if(Tests STREQUAL "")
    message(FATAL_ERROR "${PROGRAM} lists no tests")
endif()
file(WRITE ${LIST} "${Tests}")
