# SPDX-License-Identifier: MIT

# Fuzzers. KT_BUILD_FUZZERS compiles them, and everything that they link, for libFuzzer and the
# sanitizers; it needs clang. KT_BUILD_TESTS makes each corpus an ordinary test, with any compiler.
set(KT_FUZZ_SANITIZERS address,undefined)

if(KT_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "KT_BUILD_FUZZERS needs clang++: cmake --preset fuzz")
  endif()
  foreach(library IN ITEMS foundation diagnostics udp bigint walker text calculator)
    if(TARGET kt-${library})
      target_compile_options(kt-${library} PRIVATE
        -fsanitize=fuzzer-no-link,${KT_FUZZ_SANITIZERS} -fno-sanitize-recover=all)
      target_link_options(kt-${library} PUBLIC
        $<BUILD_INTERFACE:-fsanitize=${KT_FUZZ_SANITIZERS}>)
    endif()
  endforeach()
endif()

# kt_fuzzer(NAME LIBRARIES ...): fuzz_NAME, the fuzzer of NAME.cpp, and fuzz_NAME_corpus, which runs
# it on the files of corpus/NAME.
function(kt_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES")
  if(KT_BUILD_FUZZERS)
    add_executable(fuzz_${name} ${name}.cpp)
    kt_common_settings(fuzz_${name})
    target_compile_options(fuzz_${name} PRIVATE
      -fsanitize=fuzzer,${KT_FUZZ_SANITIZERS} -fno-sanitize-recover=all)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer,${KT_FUZZ_SANITIZERS})
    target_link_libraries(fuzz_${name} PRIVATE ${arg_LIBRARIES})
  endif()
  if(KT_BUILD_TESTS)
    add_executable(fuzz_${name}_corpus ${name}.cpp replay_main.cpp)
    kt_common_settings(fuzz_${name}_corpus)
    target_link_libraries(fuzz_${name}_corpus PRIVATE ${arg_LIBRARIES})
    add_test(NAME fuzz.${name}.corpus
      COMMAND fuzz_${name}_corpus ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
    set_tests_properties(fuzz.${name}.corpus PROPERTIES LABELS fuzz)
  endif()
endfunction()
