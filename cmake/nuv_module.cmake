# nuv_module(<sources...>): the module of the current folder as an OBJECT library. Its objects go
# into the shared library and into nuv_internal, the static library with all symbols that tests,
# fuzzers and benchmarks link.
function(nuv_module)
    file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    string(REPLACE "/" "_" name ${path})
    add_library(nuv_${name} OBJECT ${ARGN})
    target_link_libraries(nuv_${name} PRIVATE nuv_options)
    set_property(GLOBAL APPEND PROPERTY NUV_MODULES nuv_${name})
endfunction()

function(nuv_gtest name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE nuv_options GTest::gtest_main)
    # The library is optimised as its build says; with the same for the tests themselves the builds
    # would take half as long again.
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1> $<$<CONFIG:Debug>:-O0>)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600
        ENVIRONMENT "NUV_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data")
endfunction()

# nuv_test(<area>_<module>_test <sources...>): one gtest program over nuv_internal, run whole by ctest.
function(nuv_test name)
    nuv_gtest(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE nuv_test_support nuv_internal)
endfunction()

# nuv_wrapper_test(<name> <sources...>): the same over the shared library, which shows only what its
# users see.
function(nuv_wrapper_test name)
    nuv_gtest(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE nuv::nuv)
endfunction()
