# SPDX-License-Identifier: MIT

# Functions that define the project's targets; each folder's CMakeLists.txt calls them.

# Sets what all targets have in common. Warnings are enabled only if kt is the top-level project.
function(kt_common_settings target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(PROJECT_IS_TOP_LEVEL)
    # -Wno-restrict: g++ 12 warns falsely about string concatenation in its own library (its bug
    # 105651).
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
      $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
    set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ${KT_WERROR})
  endif()
endfunction()

# kt_library(NAME HEADERS ... SOURCES ... [DEPENDS ...]): the library kt::NAME of this folder.
function(kt_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES;DEPENDS")
  set(target kt-${name})
  add_library(${target} ${arg_SOURCES})
  add_library(kt::${name} ALIAS ${target})
  kt_common_settings(${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}
    FILES ${arg_HEADERS})
  target_link_libraries(${target} PUBLIC ${arg_DEPENDS})
  if(BUILD_SHARED_LIBS)
    # Calls within a library go straight to its own functions and may be inlined, although the
    # functions are exported.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    set(map ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
  endif()
  if(KT_INSTALL)
    install(TARGETS ${target} EXPORT ktTargets FILE_SET HEADERS)
  endif()
endfunction()

# kt_precompile(TARGET HEADERS ...): compiles these headers once for all targets that name the same
# ones; the first brings its options. Does nothing for a compiler cache, which cannot handle
# precompiled headers, and with CMAKE_DISABLE_PRECOMPILE_HEADERS, with which each source shows that
# it includes what it uses.
function(kt_precompile target)
  if(CMAKE_CXX_COMPILER_LAUNCHER OR CMAKE_DISABLE_PRECOMPILE_HEADERS)
    return()
  endif()
  # With a precompiled header g++ 12 reports these falsely inside its own library.
  set(options $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-stringop-overflow
    -Wno-stringop-overread -Wno-maybe-uninitialized -Wno-free-nonheap-object>)
  target_compile_options(${target} PRIVATE "${options}")
  string(SHA1 headers "${ARGN}")
  get_property(first GLOBAL PROPERTY kt-precompiled-${headers})
  if(first)
    target_precompile_headers(${target} REUSE_FROM ${first})
  else()
    set_property(GLOBAL PROPERTY kt-precompiled-${headers} ${target})
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# kt_tool_settings(TARGET): a program, or a part of one. They wait for people and for the network,
# so -O1 is enough; it and the precompiled header halve the time to build them.
function(kt_tool_settings target)
  kt_common_settings(${target})
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
  kt_precompile(${target} <algorithm> <chrono> <functional> <map> <memory> <optional> <string>
    <string_view> <variant> <vector>)
endfunction()

# kt_tool(NAME SOURCES ... [LIBRARIES ...]): the program NAME. An installed program finds shared
# libraries relative to itself, so that the installed tree can be moved.
function(kt_tool name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  kt_tool_settings(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
  file(RELATIVE_PATH fromBinToLib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/${fromBinToLib}")
  if(KT_INSTALL)
    install(TARGETS ${name})
  endif()
endfunction()

# kt_test(NAME SOURCES ... LIBRARIES ... [PRIVATE_NETWORK] [TIMEOUT seconds]): the GoogleTest
# executable NAME_tests. ctest runs each of its cases as NAME.Suite.Case. With PRIVATE_NETWORK each
# case runs in a network namespace of its own, where it may broadcast and bind any port.
function(kt_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "PRIVATE_NETWORK" "TIMEOUT" "SOURCES;LIBRARIES")
  set(target ${name}_tests)
  add_executable(${target} ${arg_SOURCES})
  kt_common_settings(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE ${arg_LIBRARIES} GTest::gmock_main)
  kt_compile_tests_fast(${target})
  if(arg_PRIVATE_NETWORK)
    # gtest_discover_tests runs a target under its emulator; CMake 3.25 has no other way to name a
    # launcher for tests.
    set_target_properties(${target} PROPERTIES
      CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/tests/private-network)
  endif()
  set(properties LABELS ${name})
  if(arg_TIMEOUT)
    list(APPEND properties TIMEOUT ${arg_TIMEOUT})
  endif()
  gtest_discover_tests(${target} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60
    PROPERTIES ${properties})
endfunction()

# kt_refusals(NAME SOURCE MESSAGE CASE ...): tests that the compiler refuses SOURCE with MESSAGE, a
# regular expression, whichever of the cases is defined as a macro.
function(kt_refusals name source message)
  separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
  foreach(case IN LISTS ARGN)
    add_test(NAME ${name}.${case} COMMAND ${CMAKE_CXX_COMPILER} ${flags} -std=c++20 -fsyntax-only
      -I${PROJECT_SOURCE_DIR} -D${case} ${CMAKE_CURRENT_SOURCE_DIR}/${source})
    string(REGEX REPLACE "\\..*" "" label ${name})
    set_tests_properties(${name}.${case} PROPERTIES PASS_REGULAR_EXPRESSION "${message}"
      LABELS ${label})
  endforeach()
endfunction()

# Halves the time to compile a test: -O1 is enough for code that runs once, and GoogleTest's header
# is precompiled.
function(kt_compile_tests_fast target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
  kt_precompile(${target} <gtest/gtest.h>)
endfunction()
