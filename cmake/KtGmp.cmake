# SPDX-License-Identifier: MIT

# GMP, the tests' and benchmarks' second opinion on big integers, as kt-gmp with KT_HAVE_GMP
# defined. For a word size that it is not installed for, kt-gmp is empty.
include_guard(GLOBAL)
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_LIBRARIES gmp)
check_cxx_source_compiles("#include <gmp.h>
int main() { mpz_t number; mpz_init(number); mpz_clear(number); }" KT_GMP_LINKS)
unset(CMAKE_REQUIRED_LIBRARIES)

add_library(kt-gmp INTERFACE)
if(KT_GMP_LINKS)
  target_link_libraries(kt-gmp INTERFACE gmp)
  target_compile_definitions(kt-gmp INTERFACE KT_HAVE_GMP)
endif()
