# How a folder of tests becomes programs and ctest entries. Authors only drop files in.

find_package(GTest REQUIRED)
include(GoogleTest)

# Where sources and built things stand, for tests that run programs or read files of the tree.
configure_file(${CMAKE_SOURCE_DIR}/cmake/tree_paths.cpp.in ${CMAKE_BINARY_DIR}/tests/tree_paths.cpp)
add_library(kiv_tree_paths STATIC ${CMAKE_BINARY_DIR}/tests/tree_paths.cpp)
target_include_directories(kiv_tree_paths PUBLIC ${CMAKE_SOURCE_DIR})

# Parsing GoogleTest and the standard library is half of compiling a test: with KIV_TEST_PCH it is
# done once. The gcc build goes without, so that each test is seen to include what it uses.
option(KIV_TEST_PCH "Compile the tests with a precompiled header" OFF)
set(kiv_test_options -O1 -g1)
if(KIV_TEST_PCH)
  file(WRITE ${CMAKE_BINARY_DIR}/empty/kiv_test_pch.cpp "// Carries the precompiled header.\n")
  add_library(kiv_test_pch OBJECT ${CMAKE_BINARY_DIR}/empty/kiv_test_pch.cpp)
  target_compile_options(kiv_test_pch PRIVATE ${kiv_test_options})
  target_link_libraries(kiv_test_pch PRIVATE GTest::gmock Threads::Threads)
  target_precompile_headers(kiv_test_pch PRIVATE
    <gmock/gmock.h> <gtest/gtest.h> <atomic> <chrono> <condition_variable> <filesystem> <fstream>
    <functional> <map> <memory> <mutex> <optional> <random> <set> <sstream> <string> <string_view>
    <thread> <utility> <vector>)
endif()

# Time-out of a test in seconds: `value` or else `default`, stretched where the build is slow.
function(kiv_timeout out value default)
  set(seconds ${default})
  if(value)
    set(seconds ${value})
  endif()
  if(KIV_SANITIZE)
    math(EXPR seconds "${seconds} * 4")
  endif()
  math(EXPR seconds "${seconds} * ${KIV_TIMEOUT_SCALE}")
  set(${out} ${seconds} PARENT_SCOPE)
endfunction()

# One program NAME_test from all sources of the calling folder, each of its cases a ctest entry
# "NAME.Suite.Case". Nothing happens in a folder without *_test.cpp.
#   LIBS     what it links beside GoogleTest
#   TIMEOUT  seconds for one case, 60 when left out
#   QT       when it tests Qt objects: QtTest is linked, moc is run over the folder
#   OWN_MAIN when a source of the folder defines main
function(kiv_test_folder name)
  cmake_parse_arguments(ARG "QT;OWN_MAIN" "TIMEOUT" "LIBS" ${ARGN})
  file(GLOB files CONFIGURE_DEPENDS *.cpp *.c *.h)
  set(tests ${files})
  list(FILTER tests INCLUDE REGEX "_test\\.cpp$")
  if(NOT tests)
    return()
  endif()
  kiv_timeout(timeout "${ARG_TIMEOUT}" 60)
  set(target ${name}_test)
  add_executable(${target} ${files})
  # What a test does costs little beside what it calls; most of a build is compiling tests.
  target_compile_options(${target} PRIVATE ${kiv_test_options})
  if(KIV_TEST_PCH)
    target_precompile_headers(${target} REUSE_FROM kiv_test_pch)
  endif()
  set_target_properties(${target} PROPERTIES
                        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
  target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include
                                               ${KIV_GENERATED_DIR})
  set(gtest GTest::gmock GTest::gmock_main)
  if(ARG_OWN_MAIN)
    set(gtest GTest::gmock GTest::gtest)
  endif()
  target_link_libraries(${target} PRIVATE ${ARG_LIBS} kiv_tree_paths ${gtest} Threads::Threads)
  if(ARG_QT)
    kiv_automoc(${target})
    target_link_libraries(${target} PRIVATE Qt5::Core Qt5::Test)
  endif()
  if(TARGET board_header)
    add_dependencies(${target} board_header)
  endif()
  # Asked before a test run, not after the link: a slow or sanitized program cannot break a build.
  gtest_discover_tests(${target} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       PROPERTIES TIMEOUT ${timeout} LABELS ${name})
endfunction()

# One ctest entry "NAME.file" for each *_test.py of the calling folder.
function(kiv_python_tests name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "" ${ARGN})
  kiv_timeout(timeout "${ARG_TIMEOUT}" 120)
  file(GLOB files CONFIGURE_DEPENDS *_test.py)
  if(KIV_SANITIZE) # whose own symbols are visible
    list(FILTER files EXCLUDE REGEX "/exports_test\\.py$")
  endif()
  foreach(file IN LISTS files)
    cmake_path(GET file STEM stem)
    add_test(NAME ${name}.${stem}
             COMMAND ${KIV_PYTHON} -B ${CMAKE_SOURCE_DIR}/tests/support/run_unittest.py ${file})
    set_tests_properties(${name}.${stem} PROPERTIES
      TIMEOUT ${timeout} LABELS ${name}
      ENVIRONMENT "KIV_SOURCE_DIR=${CMAKE_SOURCE_DIR};KIV_BUILD_DIR=${CMAKE_BINARY_DIR}")
  endforeach()
endfunction()
