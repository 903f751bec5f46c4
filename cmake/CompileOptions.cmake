# How every target of this tree is compiled: language levels, warnings, sanitizers, the compiler cache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 17)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or RelWithDebInfo" FORCE)
endif()

find_program(EMANTLE_CCACHE ccache)
mark_as_advanced(EMANTLE_CCACHE)
if(EMANTLE_CCACHE)
    foreach(language IN ITEMS C CXX)
        if(NOT DEFINED CMAKE_${language}_COMPILER_LAUNCHER)
            set(CMAKE_${language}_COMPILER_LAUNCHER ${EMANTLE_CCACHE})
        endif()
    endforeach()
endif()

add_library(emantle_options INTERFACE)
target_compile_options(emantle_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow
    $<$<BOOL:${EMANTLE_WARNINGS_AS_ERRORS}>:-Werror>)
# g++ 12 sees overlapping copies in any "literal" + std::string at -O2.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(emantle_options INTERFACE -Wno-restrict)
endif()

if(EMANTLE_SANITIZE)
    # A float that does not fit the integer it is cast to is undefined as well, but not part of the group "undefined".
    add_compile_options(-fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined,float-cast-overflow)
endif()

# A fuzzer is guided by the paths that its inputs take through the library. Telling it of each comparison as well would cost
# a fifth of the speed; what it could learn from them stands in the corpora.
if(EMANTLE_FUZZ)
    add_compile_options(-fsanitize-coverage=inline-8bit-counters,pc-table
                        -fsanitize-coverage-ignorelist=${PROJECT_SOURCE_DIR}/tests/fuzz/unguided.txt)
endif()

# Loops over pixels state their own level: at -O2 g++ 12 vectorises next to nothing. Only the optimising
# configurations take -O3; under the sanitizers and in Debug it would cost compile time and show nothing.
# Contraction stays off so that a result does not depend on the instruction set that was chosen.
function(emantle_compile_kernels)
    set(kernels ${ARGN})
    list(FILTER kernels INCLUDE REGEX "_kernels\\.cpp$")
    if(EMANTLE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # g++ 12 puts vectors of 64 bytes into the frames that this check moves to the heap, aligned to 32 only.
        set(level "--param=asan-use-after-return=0")
    elseif(EMANTLE_SANITIZE)
        set(level "")
    else()
        set(level "$<$<CONFIG:Release,RelWithDebInfo>:-O3>")
    endif()
    set_source_files_properties(${kernels} PROPERTIES
        COMPILE_OPTIONS "${level};-fno-math-errno;-fno-trapping-math;-ffp-contract=off")
endfunction()
