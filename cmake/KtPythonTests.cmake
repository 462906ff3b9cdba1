# SPDX-License-Identifier: MIT

# kt_python_tests(PREFIX FILE [LAUNCHER ...] [PROPERTIES ...]): each case of FILE, a unittest
# program of the current folder, as the test PREFIX.CASE.
function(kt_python_tests prefix file)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "LAUNCHER;PROPERTIES")
  set(script ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${script})
  file(STRINGS ${script} lines REGEX "^(class .*Test|    def test_)")
  foreach(line IN LISTS lines)
    if(line MATCHES "^class ([A-Za-z]+)")
      set(class ${CMAKE_MATCH_1})
    elseif(line MATCHES "def test_([a-z_0-9]+)")
      set(test ${prefix}.${CMAKE_MATCH_1})
      add_test(NAME ${test} COMMAND ${arg_LAUNCHER}
        ${Python3_EXECUTABLE} -B ${script} ${class}.test_${CMAKE_MATCH_1})
      set_tests_properties(${test} PROPERTIES ${arg_PROPERTIES})
    endif()
  endforeach()
endfunction()
