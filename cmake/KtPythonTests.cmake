# SPDX-License-Identifier: MIT

# The folder of the modules that Python tests share.
set(KT_PYTHON_SUPPORT ${PROJECT_SOURCE_DIR}/tests/support)

# kt_python_tests(NAME FILES ... [LAUNCHER ...] [ENVIRONMENT ...] [TIMEOUT seconds]): each case of
# the unittest files in the current folder, known to ctest as NAME.Class.case. LAUNCHER is the
# command that runs the interpreter: a private network, for example. A case of programs interrupts
# itself before TIMEOUT, by default 75 s (tests/support/programs.py).
function(kt_python_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "FILES;LAUNCHER;ENVIRONMENT")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 75)
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${arg_FILES})
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${KT_PYTHON_SUPPORT}
      ${Python3_EXECUTABLE} -B ${KT_PYTHON_SUPPORT}/list_cases.py ${arg_FILES}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    OUTPUT_VARIABLE cases OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" cases "${cases}")
  foreach(case IN LISTS cases)
    string(REGEX MATCH "^(.*) (.*)\\.(.*)$" _ "${case}")
    set(file ${CMAKE_CURRENT_SOURCE_DIR}/${CMAKE_MATCH_1})
    set(class ${CMAKE_MATCH_2})
    set(method ${CMAKE_MATCH_3})
    string(REGEX REPLACE "^test_" "" case ${method})
    add_test(NAME ${name}.${class}.${case}
      COMMAND ${arg_LAUNCHER} ${Python3_EXECUTABLE} -B ${file} ${class}.${method})
    set_tests_properties(${name}.${class}.${case} PROPERTIES LABELS ${name}
      TIMEOUT ${arg_TIMEOUT} ENVIRONMENT "PYTHONPATH=${KT_PYTHON_SUPPORT};${arg_ENVIRONMENT}")
  endforeach()
endfunction()
