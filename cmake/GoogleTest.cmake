# SPDX-License-Identifier: MIT

# GoogleTest, compiled here from Debian's source package: so it carries the sanitizers, the word
# size and the compiler of the build tree, which a ready-made library would not.
set(KT_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's source tree")
if(NOT EXISTS ${KT_GOOGLETEST_SOURCE}/googletest/src/gtest-all.cc)
  message(FATAL_ERROR "No GoogleTest in ${KT_GOOGLETEST_SOURCE}: run scripts/setup, "
    "set KT_GOOGLETEST_SOURCE, or build without tests (KT_BUILD_TESTS=OFF)")
endif()

find_package(Threads REQUIRED)
add_library(kt-googletest STATIC EXCLUDE_FROM_ALL
  ${KT_GOOGLETEST_SOURCE}/googletest/src/gtest-all.cc
  ${KT_GOOGLETEST_SOURCE}/googlemock/src/gmock-all.cc
  ${KT_GOOGLETEST_SOURCE}/googlemock/src/gmock_main.cc)
target_compile_features(kt-googletest PUBLIC cxx_std_20)
target_include_directories(kt-googletest SYSTEM
  PUBLIC ${KT_GOOGLETEST_SOURCE}/googletest/include ${KT_GOOGLETEST_SOURCE}/googlemock/include
  PRIVATE ${KT_GOOGLETEST_SOURCE}/googletest ${KT_GOOGLETEST_SOURCE}/googlemock)
target_compile_options(kt-googletest PRIVATE -w)
target_link_libraries(kt-googletest PUBLIC Threads::Threads)
