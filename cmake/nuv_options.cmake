# The options of the build, and what every target of the tree shares, on the interface target
# nuv_options. What the user or a project around this one has settled stays as it is.

option(NUV_WERROR "Treat warnings as errors" OFF)
option(NUV_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(NUV_THREAD_SANITIZE "Build with ThreadSanitizer" OFF)
option(NUV_COVERAGE "Build with coverage counters" OFF)
option(NUV_FUZZ "Build the libFuzzer targets (clang only)" OFF)
option(NUV_PROCESSOR_FORMS "Use what the processor has; OFF leaves the portable loops alone" ON)
option(NUV_OWN_RUNTIME "Link the C++ runtime into libnuvc and the tool" ON)
option(NUV_ABI_CHECK "Keep with the libraries what tools/check_abi.sh reads" OFF)
option(NUV_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(NUV_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(NUV_BUILD_PYTHON "Build the module for Python" OFF)
option(NUV_BUILD_TOOL "Build the command-line tool" ${PROJECT_IS_TOP_LEVEL})
if(PROJECT_IS_TOP_LEVEL)
    option(BUILD_SHARED_LIBS "Build libnuv as a shared library" ON)
elseif(NOT DEFINED BUILD_SHARED_LIBS)
    set(BUILD_SHARED_LIBS ON)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
    # -O3 to CMake, and not -O2: g++ 12 vectorises plain byte loops at -O3 only.
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "How the library is optimised" FORCE)
    endif()
    find_program(NUV_CCACHE ccache)
    if(NUV_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${NUV_CCACHE})
    endif()
endif()

include(CheckLinkerFlag)
# But not libgcc in a library: an exception that a caller's function lets out must meet one unwinder
# alone.
set(NUV_RUNTIME_OPTIONS -static-libstdc++ LINKER:--gc-sections)
if(NOT NUV_SANITIZE AND NOT NUV_THREAD_SANITIZE AND NOT NUV_FUZZ AND NOT NUV_COVERAGE)
    check_linker_flag(CXX "${NUV_RUNTIME_OPTIONS};-static-libgcc" NUV_HAS_OWN_RUNTIME)
endif()

add_library(nuv_options INTERFACE)
target_include_directories(nuv_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(nuv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Woverloaded-virtual
    # Equal results on every processor are promised: no fused multiply-add behind our back.
    -ffp-contract=off)
if(NOT NUV_COVERAGE) # which looks for the sources where they were
    # What is shipped tells nothing of the machine that built it.
    target_compile_options(nuv_options INTERFACE
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()
if(NUV_WERROR)
    target_compile_options(nuv_options INTERFACE -Werror)
endif()
if(NOT NUV_PROCESSOR_FORMS)
    target_compile_definitions(nuv_options INTERFACE NUV_X86=0)
endif()
if(NUV_SANITIZE)
    target_compile_options(nuv_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(nuv_options INTERFACE -fsanitize=address,undefined)
endif()
if(NUV_THREAD_SANITIZE)
    target_compile_options(nuv_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(nuv_options INTERFACE -fsanitize=thread)
endif()
if(NUV_COVERAGE)
    target_compile_options(nuv_options INTERFACE --coverage)
    target_link_options(nuv_options INTERFACE --coverage)
endif()
if(NUV_FUZZ)
    target_compile_options(nuv_options INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
    target_link_options(nuv_options INTERFACE -fsanitize=address,undefined)
endif()
