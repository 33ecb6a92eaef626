# One way to make a library of the house: its sources are compiled once, as an object library, and linked both into
# the shared object that ships (exports only) and, whole, into the unit tests.
#
#   zal_add_library(NAME Foundation EXPORT_MACRO KEST SOURCES ... HEADERS ... LINKS Zal::Other...)
#
# Makes Zal::NAME (shared, installed with its headers) and NAME_objects, and collects NAME in the global property
# ZAL_LIBRARIES. Everything else that we compile links ZalOptions for the warnings.

include(GNUInstallDirs)

# An installed tree works where it is put: a library looks beside itself, a program in the lib folder next to its own.
set(ZAL_ORIGIN "$ORIGIN")
if(APPLE)
    set(ZAL_ORIGIN "@loader_path")
endif()
file(RELATIVE_PATH LibFromBin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set(CMAKE_INSTALL_RPATH "${ZAL_ORIGIN}/${LibFromBin}")

add_library(ZalOptions INTERFACE)
target_compile_features(ZalOptions INTERFACE cxx_std_20)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(ZalOptions INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
endif()
# For all targets, not only those that ask for the warnings: half a program with sanitizers finds nothing or too much.
if(ZAL_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)   # false alarms in instrumented code
    endif()
endif()
if(ZAL_BUILD_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)   # coverage, which steers the fuzzer, of all code
endif()

function(zal_add_library)
    cmake_parse_arguments(LIB "" "NAME;EXPORT_MACRO" "SOURCES;HEADERS;LINKS" ${ARGN})
    add_library(${LIB_NAME}_objects OBJECT ${LIB_SOURCES})
    add_library(${LIB_NAME} SHARED $<TARGET_OBJECTS:${LIB_NAME}_objects>)
    add_library(Zal::${LIB_NAME} ALIAS ${LIB_NAME})

    set_target_properties(${LIB_NAME}_objects PROPERTIES
        POSITION_INDEPENDENT_CODE ON CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${LIB_NAME}_objects PRIVATE ${LIB_EXPORT_MACRO}_BUILDING)
    target_include_directories(${LIB_NAME}_objects
        PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/include PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${LIB_NAME}_objects PRIVATE $<BUILD_INTERFACE:ZalOptions> PUBLIC ${LIB_LINKS})

    target_sources(${LIB_NAME} PUBLIC FILE_SET HEADERS BASE_DIRS include FILES ${LIB_HEADERS})
    target_compile_features(${LIB_NAME} PUBLIC cxx_std_20)
    target_link_libraries(${LIB_NAME} PUBLIC ${LIB_LINKS} PRIVATE $<BUILD_INTERFACE:ZalOptions>)
    set_target_properties(${LIB_NAME} PROPERTIES
        OUTPUT_NAME Zal${LIB_NAME} LINKER_LANGUAGE CXX CXX_EXTENSIONS OFF INSTALL_RPATH "${ZAL_ORIGIN}"
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    zal_bind_locally(${LIB_NAME})

    install(TARGETS ${LIB_NAME} EXPORT ZalAttributesTargets FILE_SET HEADERS)
    set_property(GLOBAL APPEND PROPERTY ZAL_LIBRARIES ${LIB_NAME})
endfunction()

# Calls inside a library go straight to their target; nobody is meant to replace our functions from outside.
function(zal_bind_locally LIBRARY)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${LIBRARY}_objects PRIVATE -fno-semantic-interposition)
    endif()
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        target_link_options(${LIBRARY} PRIVATE -Wl,-Bsymbolic-functions)
        if(NOT ZAL_SANITIZE)
            target_link_options(${LIBRARY} PRIVATE -Wl,--no-undefined)
        endif()
    endif()
endfunction()
