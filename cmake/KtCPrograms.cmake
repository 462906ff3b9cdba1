# SPDX-License-Identifier: MIT

# C programs that call the library. They are compiled with the flags of the C++ sources, because
# word size and sanitizers must be the same. Include this file from the folder that defines them.
set(CMAKE_C_FLAGS "${CMAKE_CXX_FLAGS}")
enable_language(C)

# kt_c_program(TARGET FILE LIBRARY): the program of FILE, in C11.
function(kt_c_program target file library)
  add_executable(${target} ${file})
  set_target_properties(${target} PROPERTIES C_STANDARD 11 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF
    COMPILE_WARNING_AS_ERROR ${KT_WERROR})
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  target_link_libraries(${target} PRIVATE ${library})
endfunction()

# kt_c_test(NAME FILE LIBRARY): such a program, run as the test NAME.
function(kt_c_test name file library)
  string(REPLACE "." "_" target ${name})
  kt_c_program(${target} ${file} ${library})
  add_test(NAME ${name} COMMAND ${target})
endfunction()
