# Build settings shared by every target of the project, and the helpers that declare a family of the
# library, a test program and a benchmark program.

# Compile settings every project target uses. Floating-point contraction is off so that a*b+c is never
# fused into one rounding: results must be identical on every machine and build.
add_library(kestrel_build_settings INTERFACE)
target_compile_options(kestrel_build_settings INTERFACE
    -ffp-contract=off -Wall -Wextra -Wpedantic
    $<$<BOOL:${KESTREL_WARNINGS_AS_ERRORS}>:-Werror>)
# KESTREL_PORTABLE turns off every fast path that uses processor-specific instructions (see
# src/common/InstructionSets.h), so that the portable code is built and tested on this processor too.
if(KESTREL_PORTABLE)
    target_compile_definitions(kestrel_build_settings INTERFACE KESTREL_PORTABLE)
endif()
if(KESTREL_SANITIZE)
    # g++ leaves float-cast-overflow out of "undefined"; it is named so that both compilers check it.
    target_compile_options(kestrel_build_settings INTERFACE
        -fsanitize=address,undefined,float-cast-overflow
        -fno-sanitize-recover=undefined,float-cast-overflow -fno-omit-frame-pointer)
    target_link_options(kestrel_build_settings INTERFACE -fsanitize=address,undefined,float-cast-overflow)
endif()

# kestrel_add_family(NAME SOURCES file... [DEPENDS family...] [PLATFORM library...])
# DEPENDS names the families whose classes this one uses; it reaches them through their public headers
# only, and programs that link this family's objects get theirs too (see kestrel_family_closure).
# PLATFORM names the imported platform libraries the family calls: StatisticalServices, Math, System.
# Compiles one class family as an object library `kestrel_<NAME>` and links its objects into the exported
# shared library. Tests link the object library directly so that internal classes can be tested too.
# Every family sees the internal helpers shared by all families in src/common.
function(kestrel_add_family name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PLATFORM" ${ARGN})
    set(target kestrel_${name})
    add_library(${target} OBJECT ${ARG_SOURCES})
    target_include_directories(${target} PUBLIC
        ${PROJECT_SOURCE_DIR}/include
        ${PROJECT_SOURCE_DIR}/src/common
        ${CMAKE_CURRENT_SOURCE_DIR})
    list(TRANSFORM ARG_PLATFORM PREPEND KTXService_ OUTPUT_VARIABLE platform)
    target_link_libraries(${target} PUBLIC Boost::headers OpenMP::OpenMP_CXX kestrel_build_settings ${platform})
    set_target_properties(${target} PROPERTIES KESTREL_DEPENDS "${ARG_DEPENDS}")
    target_sources(KTXService_InformationTheory PRIVATE $<TARGET_OBJECTS:${target}>)
    if(platform)
        target_link_libraries(KTXService_InformationTheory PRIVATE ${platform})
    endif()
endfunction()

# kestrel_family_closure(OUT family...): the object libraries of the given families and of every family
# they depend on. A program that links all of them directly gets each object file exactly once.
function(kestrel_family_closure out)
    set(result "")
    set(pending ${ARGN})
    while(pending)
        list(POP_FRONT pending family)
        if(NOT kestrel_${family} IN_LIST result)
            list(APPEND result kestrel_${family})
            get_target_property(dependencies kestrel_${family} KESTREL_DEPENDS)
            if(dependencies)
                list(APPEND pending ${dependencies})
            endif()
        endif()
    endwhile()
    set(${out} ${result} PARENT_SCOPE)
endfunction()

# kestrel_add_program(NAME SOURCES file... [FAMILIES family...] [LIBRARIES lib...])
# An executable that links the objects of the given families (not the shared library), so that it can
# reach internal classes as well as the public ones.
function(kestrel_add_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;FAMILIES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    kestrel_family_closure(families ${ARG_FAMILIES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/include ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE
        ${families} Boost::headers OpenMP::OpenMP_CXX kestrel_build_settings ${ARG_LIBRARIES})
endfunction()

# kestrel_add_test(NAME SOURCES file... [FAMILIES family...] [LIBRARIES lib...] [TIMEOUT seconds])
# A GoogleTest program registered with CTest test by test. Test data lives in `data/` beside the test.
function(kestrel_add_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "" ${ARGN})
    kestrel_add_program(${name} ${ARG_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)  # helpers shared by tests
    target_link_libraries(${name} PRIVATE GTest::gtest GTest::gmock GTest::gtest_main)
    target_compile_definitions(${name} PRIVATE KESTREL_TEST_DATA_DIR="${CMAKE_CURRENT_SOURCE_DIR}/data")
    set(properties "")
    if(ARG_TIMEOUT)
        set(properties PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 ${properties})
endfunction()

# kestrel_add_benchmark(NAME SOURCES file... [FAMILIES family...] [LIBRARIES lib...])
# A Google Benchmark program; `make bench` runs every one of them.
function(kestrel_add_benchmark name)
    kestrel_add_program(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE benchmark::benchmark benchmark::benchmark_main)
    set_property(GLOBAL APPEND PROPERTY KESTREL_BENCHMARKS ${name})
endfunction()
