# Options every target of the project links: language level, warnings and Qt's strict string rules.
add_library(buhinhyo_options INTERFACE)
target_compile_features(buhinhyo_options INTERFACE cxx_std_20)
target_compile_options(buhinhyo_options INTERFACE
    -Wall -Wextra -Wold-style-cast -Woverloaded-virtual -Wno-missing-field-initializers)
target_compile_definitions(buhinhyo_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_USE_QSTRINGBUILDER QT_NO_KEYWORDS)
if(WITH_ASAN)
    target_compile_options(buhinhyo_options INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer)
    target_link_options(buhinhyo_options INTERFACE -fsanitize=address,undefined)
endif()

# AddressSanitizer and UBSan for the workbook engine's own tests: the engine reads files made by other
# programs, so its tests run on a second copy of it built with these (any finding fails the test).
add_library(buhinhyo_sanitizers INTERFACE)
target_compile_options(buhinhyo_sanitizers INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
target_link_options(buhinhyo_sanitizers INTERFACE -fsanitize=address,undefined)
set(BUHINHYO_SANITIZER_ENV
    "ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
    "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")

# Test code is compiled without optimisation: it builds in half the time and runs the same; the code
# under test keeps the build's own flags.
add_library(buhinhyo_test_options INTERFACE)
target_compile_options(buhinhyo_test_options INTERFACE -O0)
target_link_libraries(buhinhyo_test_options INTERFACE buhinhyo_options)

# buhinhyo_add_qtest(NAME SOURCES... LIBS...): one QtTest program registered with CTest.
# Tests run offscreen, with the Japanese locale the program is used in.
function(buhinhyo_add_qtest name)
    cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE buhinhyo_test_options test_support Qt6::Test ${T_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LANG=C.UTF-8;BUHINHYO_SOURCE_DIR=${PROJECT_SOURCE_DIR};BUHINHYO_BINARY_DIR=${PROJECT_BINARY_DIR}"
        TIMEOUT 600)
endfunction()

# buhinhyo_add_gtest(NAME [SANITIZED] SOURCES... LIBS...): one GoogleTest program registered with
# CTest; SANITIZED runs it under AddressSanitizer and UBSan.
function(buhinhyo_add_gtest name)
    cmake_parse_arguments(T "SANITIZED" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE buhinhyo_test_options GTest::gtest GTest::gtest_main ${T_LIBS})
    set(env "LANG=C.UTF-8;BUHINHYO_SOURCE_DIR=${PROJECT_SOURCE_DIR};BUHINHYO_BINARY_DIR=${PROJECT_BINARY_DIR}")
    if(T_SANITIZED)
        target_link_libraries(${name} PRIVATE buhinhyo_sanitizers)
        list(APPEND env ${BUHINHYO_SANITIZER_ENV})
    endif()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${env}" TIMEOUT 600)
endfunction()
