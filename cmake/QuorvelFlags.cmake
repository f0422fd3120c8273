# Flags that everything of ours is built with: link quorvel_flags privately.
add_library(quorvel_flags INTERFACE)

target_compile_options(
    quorvel_flags
    INTERFACE
        -Wall
        -Wextra
        -Wpedantic
        -Wshadow
        -Wcast-qual
        -Wformat=2
        -Wundef
        -Wvla
        -Wnull-dereference
        -Wdouble-promotion
        -Wimplicit-fallthrough
        -Wunused
        -Wwrite-strings
        -Wswitch-enum
        -Wredundant-decls
        -Wpointer-arith
        -Winit-self
        -Wstrict-overflow=2
        $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
        $<$<COMPILE_LANGUAGE:C>:-Wmissing-prototypes>
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
        $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
        $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
        $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi>
        $<$<BOOL:${QUORVEL_WERROR}>:-Werror>
        -fexceptions
        -fvisibility=hidden
        -fstack-protector-strong
        -fstack-clash-protection
)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
    target_compile_options(quorvel_flags INTERFACE -fcf-protection=full)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports paths that cannot be taken once sanitizers or deep inlining are in play.
    target_compile_options(quorvel_flags INTERFACE -Wno-null-dereference)
endif()
if(NOT QUORVEL_SANITIZE)
    target_compile_definitions(quorvel_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()
target_link_options(quorvel_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# What is delivered, programs and libraries, is held to more than its tests are: link quorvel_strict as well.
add_library(quorvel_strict INTERFACE)
target_compile_options(
    quorvel_strict
    INTERFACE
        -Wconversion
        -Wsign-conversion
        -Wmissing-declarations
        -Wdate-time
        -Wdisabled-optimization
        -Wunused-macros
        -Wpacked
        -Walloca
        -Winvalid-pch
        $<$<COMPILE_LANGUAGE:CXX>:-Wctor-dtor-privacy>
        $<$<COMPILE_LANGUAGE:CXX>:-Wsuggest-override>
        $<$<COMPILE_LANGUAGE:CXX>:-Wzero-as-null-pointer-constant>
        $<$<COMPILE_LANGUAGE:CXX>:-Wdeprecated-copy-dtor>
        $<$<COMPILE_LANGUAGE:CXX>:-Wmismatched-tags>
)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(
        quorvel_strict
        INTERFACE
            -Wduplicated-cond
            -Wduplicated-branches
            -Wlogical-op
            -Wtrampolines
            -Wshift-overflow=2
            -Wformat-signedness
            -Warith-conversion
            $<$<COMPILE_LANGUAGE:CXX>:-Wcatch-value=3>
            $<$<COMPILE_LANGUAGE:CXX>:-Wplacement-new=2>
            $<$<COMPILE_LANGUAGE:CXX>:-Wredundant-tags>
            $<$<COMPILE_LANGUAGE:CXX>:-Wvolatile>
            $<$<COMPILE_LANGUAGE:CXX>:-Wcomma-subscript>
    )
else()
    target_compile_options(
        quorvel_strict
        INTERFACE
            -Wcast-align
            -Wcomma
            -Wconditional-uninitialized
            -Widiomatic-parentheses
            -Wloop-analysis
            -Wshorten-64-to-32
            -Wunreachable-code-aggressive
            -Wextra-semi-stmt
            -Wunused-exception-parameter
            -Wunused-member-function
    )
endif()

if(QUORVEL_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QUORVEL_SANITIZE})
endif()

# What lies on the way of every call is optimised across its sources in a release build. The objects carry plain code as
# well, for whoever links them without the same compiler's help.
add_library(quorvel_hot_path INTERFACE)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU"
   AND CMAKE_BUILD_TYPE MATCHES "^Rel"
   AND NOT QUORVEL_SANITIZE)
    target_compile_options(quorvel_hot_path INTERFACE -flto=auto -ffat-lto-objects -fno-plt)
    target_link_options(quorvel_hot_path INTERFACE -flto=auto)
endif()

# What the tests are to reach.
add_library(quorvel_counted INTERFACE)
if(QUORVEL_COVERAGE)
    target_compile_options(quorvel_counted INTERFACE --coverage -fprofile-update=atomic)
endif()

# What a source is called in the log. A compiler cache may hand the compiler a path that is relative to the
# build directory, so that is mapped too.
function(quorvel_name_in_log source name)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} OUTPUT_VARIABLE path)
    cmake_path(RELATIVE_PATH path BASE_DIRECTORY ${CMAKE_BINARY_DIR} OUTPUT_VARIABLE relative_path)
    set_property(
        SOURCE ${source}
        APPEND
        PROPERTY COMPILE_OPTIONS "-fmacro-prefix-map=${path}=${name}" "-fmacro-prefix-map=${relative_path}=${name}")
endfunction()

# Log lines name their source by its stem: without directory and extension.
function(quorvel_log_stem)
    foreach(source IN LISTS ARGN)
        cmake_path(GET source STEM LAST_ONLY stem)
        quorvel_name_in_log(${source} ${stem})
    endforeach()
endfunction()
