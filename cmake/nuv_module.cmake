# nuv_module(<sources...>): the module of the current folder as an OBJECT library. Its objects go
# into the shared library and into nuv_internal, the static library with all symbols that the tool,
# tests, fuzzers and benchmarks link.
function(nuv_module)
    file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    string(REPLACE "/" "_" name ${path})
    add_library(nuv_${name} OBJECT ${ARGN})
    target_link_libraries(nuv_${name} PRIVATE nuv_options)
    set_property(GLOBAL APPEND PROPERTY NUV_MODULES nuv_${name})
endfunction()

# nuv_library(<name> <version script> <modules...>): the library <name> and its package target
# nuv::<name>, from the objects of all modules so far but those named. A shared one shows what the
# version script lists. What is installed belongs to one of the components runtime, development,
# tools and python.
function(nuv_library name version_script)
    get_property(modules GLOBAL PROPERTY NUV_MODULES)
    list(REMOVE_ITEM modules "" ${ARGN})
    add_library(${name})
    add_library(nuv::${name} ALIAS ${name})
    foreach(module ${modules})
        target_sources(${name} PRIVATE $<TARGET_OBJECTS:${module}>)
    endforeach()
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:nuv_options> ${NUV_LIBRARIES})
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
    if(BUILD_SHARED_LIBS)
        set(version_script ${CMAKE_CURRENT_SOURCE_DIR}/${version_script})
        target_link_options(${name} PRIVATE LINKER:--version-script=${version_script})
        set_target_properties(${name} PROPERTIES LINK_DEPENDS ${version_script})
        if(NOT NUV_SANITIZE AND NOT NUV_THREAD_SANITIZE AND NOT NUV_FUZZ)
            # clang leaves the symbols of a sanitizer's runtime to the program.
            target_link_options(${name} PRIVATE LINKER:--no-undefined)
        endif()
    endif()
    target_include_directories(${name} INTERFACE
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    install(TARGETS ${name} EXPORT nuv_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endfunction()

# nuv_own_runtime(<target>): the target carries what it needs of the C++ runtime. To load and to
# relocate the whole of it takes longer than to read a small picture. Not for a library whose
# interface is C++, which has to share the runtime with its users.
function(nuv_own_runtime name)
    if(NUV_OWN_RUNTIME AND NUV_HAS_OWN_RUNTIME)
        target_link_options(${name} PRIVATE ${NUV_RUNTIME_OPTIONS})
    endif()
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

# nuv_interface_module(<target>): the module defines what a library exports. The debug information of
# these modules alone tells all of the binary interface, and is the same code with it.
function(nuv_interface_module name)
    if(NUV_ABI_CHECK)
        target_compile_options(${name} PRIVATE -g)
    endif()
endfunction()
