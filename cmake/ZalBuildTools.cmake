# What makes our own builds quick and alike; a project that includes ours keeps its own choices.

include(CheckLinkerFlag)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Kind of build" FORCE)
endif()

# Paths below the source folder are hashed as relative ones, so that two clones share one cache.
find_program(ZAL_CCACHE ccache)
if(ZAL_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=true
        ${ZAL_CCACHE})
endif()

foreach(Linker IN ITEMS mold lld)
    check_linker_flag(CXX -fuse-ld=${Linker} ZAL_HAS_${Linker})
    if(ZAL_HAS_${Linker})
        add_link_options(-fuse-ld=${Linker})
        break()
    endif()
endforeach()

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
