# Compiler options that hold for every target.

set(VOSSEL_TEST_OPTIONS "" CACHE STRING "Compiler options for the sources of tests")
set(VOSSEL_PROGRAM_OPTIONS "" CACHE STRING "Compiler options for the sources of programs/")
set(VOSSEL_SANITIZE "" CACHE STRING "Sanitizers for every target: empty, address,undefined or thread")

add_library(vossel_options INTERFACE)
target_compile_options(vossel_options INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
  $<$<BOOL:${VOSSEL_WARNINGS_AS_ERRORS}>:-Werror>
  $<$<BOOL:${VOSSEL_UNITY}>:-Wno-shadow>) # A constant of another file is no fault; debug still warns of the rest.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # What is guarded by a lock (src/foundation/mutex.h), and with "beta" the order of locks.
  target_compile_options(vossel_options INTERFACE -Wthread-safety -Wthread-safety-beta)
endif()
target_compile_definitions(vossel_options INTERFACE VOSSEL_VERSION="${PROJECT_VERSION}")

find_package(Threads REQUIRED)
target_link_libraries(vossel_options INTERFACE Threads::Threads)

if(VOSSEL_SANITIZE)
  target_compile_options(vossel_options INTERFACE
    -fsanitize=${VOSSEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vossel_options INTERFACE -fsanitize=${VOSSEL_SANITIZE})
endif()

# The checks link two dozen programs, which lld does in a fraction of the time.
find_program(VOSSEL_LLD ld.lld)
if(VOSSEL_TESTS AND VOSSEL_LLD)
  target_link_options(vossel_options INTERFACE -fuse-ld=lld)
endif()
