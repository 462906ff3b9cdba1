# SPDX-License-Identifier: MIT

# kt-gmp: GMP, which tests and benchmarks compare big integers with; it defines KT_HAVE_GMP. If GMP
# is not installed for this word size, kt-gmp is empty.
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
