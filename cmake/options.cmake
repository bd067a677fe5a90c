# Compiler options that hold for every target.

set(VOSSEL_SANITIZE "" CACHE STRING "Sanitizers for every target: empty, address,undefined or thread")

add_library(vossel_options INTERFACE)
target_compile_options(vossel_options INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Werror)
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
