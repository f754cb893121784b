# The dialect and the warnings that apply to every target of the project.
#
# swmgr_target(<target> [DEVICE] [BRIEF])  applies them. DEVICE marks code that goes
#   into a process on the gateway: no exceptions, no RTTI, hardened, hidden symbols.
#   BRIEF marks what runs only for a moment: it is built for size, which compiles in half
#   the time, and under the sanitizers not optimised at all.

add_library(swmgr_dialect INTERFACE)
target_compile_features(swmgr_dialect INTERFACE cxx_std_20 c_std_11)
target_compile_options(swmgr_dialect INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
target_include_directories(swmgr_dialect INTERFACE
    ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include ${CMAKE_SOURCE_DIR}/src)

if(SWMGR_SANITIZE)
    # With the checks compiled in, g++ 12 thinks that values in its own <regex> and
    # <functional> are uninitialised; the plain build keeps that warning.
    target_compile_options(swmgr_dialect INTERFACE
        -fsanitize=${SWMGR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(swmgr_dialect INTERFACE -fsanitize=${SWMGR_SANITIZE})
endif()

add_library(swmgr_device INTERFACE)
target_compile_options(swmgr_device INTERFACE
    -fvisibility=hidden -ffunction-sections -fdata-sections
    -fstack-protector-strong
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fvisibility-inlines-hidden
        -fno-threadsafe-statics>)
target_link_options(swmgr_device INTERFACE
    -Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,-z,text -Wl,--gc-sections -Wl,--as-needed)
if(NOT SWMGR_SANITIZE)
    # Fortified calls need optimisation, and the sanitizers do not see them.
    target_compile_options(swmgr_device INTERFACE
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
else()
    # The vptr check needs RTTI.
    target_compile_options(swmgr_device INTERFACE
        $<$<COMPILE_LANGUAGE:CXX>:-fno-sanitize=vptr>)
endif()

function(swmgr_target target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DEVICE;BRIEF" "" "")
    target_link_libraries(${target} PRIVATE swmgr_dialect)
    if(arg_BRIEF AND SWMGR_SANITIZE)
        target_compile_options(${target} PRIVATE -O0)
    elseif(arg_BRIEF)
        target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-Os;-g1>)
    endif()
    if(arg_DEVICE)
        target_link_libraries(${target} PRIVATE swmgr_device)
    endif()
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE" AND SWMGR_SANITIZE MATCHES "address")
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/dev/cmake/known_leaks.c)
    endif()
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()
