# SPDX-License-Identifier: MIT

# The project's kinds of targets, so that each folder's list says only what is its own.

# Everything compiled here meets the same standard; a project that includes kt as a
# sub-project keeps its own warnings.
function(kt_common_settings target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(PROJECT_IS_TOP_LEVEL)
    # g++ 12 takes the C++ library's own string concatenation for a copy onto itself (its bug
    # 105651), so that one warning is off.
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
      $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
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
    set(map ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
  endif()
  if(KT_INSTALL)
    install(TARGETS ${target} EXPORT ktTargets FILE_SET HEADERS)
  endif()
endfunction()

# kt_tool(NAME SOURCES ... [LIBRARIES ...]): the program NAME. Installed beside shared libraries
# it finds them from where it stands, so that the whole tree can be moved.
function(kt_tool name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  kt_common_settings(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
  file(RELATIVE_PATH fromBinToLib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/${fromBinToLib}")
  if(KT_INSTALL)
    install(TARGETS ${name})
  endif()
endfunction()

# kt_test(NAME SOURCES ... LIBRARIES ... [PRIVATE_NETWORK] [TIMEOUT seconds]): the GoogleTest
# executable NAME_tests, each of its cases known to ctest as NAME.Suite.Case. With
# PRIVATE_NETWORK each case runs in a network of its own, where it may broadcast and bind any port.
function(kt_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "PRIVATE_NETWORK" "TIMEOUT" "SOURCES;LIBRARIES")
  set(target ${name}_tests)
  add_executable(${target} ${arg_SOURCES})
  kt_common_settings(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE ${arg_LIBRARIES} kt-googletest)
  if(arg_PRIVATE_NETWORK)
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
