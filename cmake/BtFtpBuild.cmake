# The settings that every target of the project shares.
#
#   btftp::warnings   interface target: warnings and sanitizer flags; every own target links it
#   btftp_add_test()  one QtTest program, registered with CTest

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTOUIC ON)
set(CMAKE_AUTORCC ON)

# Programs stand in bin/ and libraries in lib/, as they will when installed, so that one run path serves both.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN:$ORIGIN/../${CMAKE_INSTALL_LIBDIR}:$ORIGIN/..")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()
find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM)
    add_link_options(-fuse-ld=mold)
endif()

add_library(btftp_warnings INTERFACE)
add_library(btftp::warnings ALIAS btftp_warnings)
target_compile_options(btftp_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    # Qt's QSKIP, used with its text alone, is a macro of that kind.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
    $<$<BOOL:${BTFTP_WERROR}>:-Werror>)
# Names are Latin-1 or UTF-8 by explicit choice everywhere; bytes never turn into text by accident.
target_compile_definitions(btftp_warnings INTERFACE QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING)

if(BTFTP_SANITIZE)
    add_compile_options(-fsanitize=${BTFTP_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${BTFTP_SANITIZE})
    if(BTFTP_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()

# btftp_add_test(<name> SOURCES <file>... LIBRARIES <target>... [TIMEOUT <seconds>] [SERIAL] [LABELS <label>...]
#                [ENVIRONMENT <VAR=value>...])
#
# Builds one QtTest program and registers it under its name. It runs on Qt's offscreen platform with settings and
# home in a temporary folder of its own (scripts/run-one-test), so that no test can touch the user's files.
function(btftp_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;ENVIRONMENT")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name} ${arg_SOURCES})
    if(BTFTP_SANITIZE MATCHES "thread")
        target_link_libraries(${name} PRIVATE -Wl,--push-state,--no-as-needed tsan_qt_order -Wl,--pop-state)
    endif()
    target_link_libraries(${name} PRIVATE btftp::warnings Qt5::Core Qt5::Test ${arg_LIBRARIES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    add_test(NAME ${name} COMMAND "${CMAKE_SOURCE_DIR}/scripts/run-one-test" "$<TARGET_FILE:${name}>")
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${arg_TIMEOUT}
        LABELS "${arg_LABELS}"
        RUN_SERIAL "${arg_SERIAL}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;BTFTP_BUILD_DIR=${CMAKE_BINARY_DIR};BTFTP_SOURCE_DIR=${CMAKE_SOURCE_DIR};${arg_ENVIRONMENT}")
endfunction()
