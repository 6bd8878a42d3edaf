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

# buhinhyo_add_qtest(NAME SOURCES... LIBS...): one QtTest program registered with CTest.
# Tests run offscreen, with the Japanese locale the program is used in.
function(buhinhyo_add_qtest name)
    cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE buhinhyo_options test_support Qt6::Test ${T_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LANG=C.UTF-8;BUHINHYO_SOURCE_DIR=${PROJECT_SOURCE_DIR};BUHINHYO_BINARY_DIR=${PROJECT_BINARY_DIR}"
        TIMEOUT 600)
endfunction()

# buhinhyo_add_gtest(NAME SOURCES... LIBS...): one GoogleTest program registered with CTest.
function(buhinhyo_add_gtest name)
    cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE buhinhyo_options GTest::gtest GTest::gtest_main ${T_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "LANG=C.UTF-8;BUHINHYO_SOURCE_DIR=${PROJECT_SOURCE_DIR};BUHINHYO_BINARY_DIR=${PROJECT_BINARY_DIR}"
        TIMEOUT 600)
endfunction()
