# A room is one static library: vossel_room(NAME SOURCES file... LINKS target... PRIVATE_LINKS target...)
# LINKS are the rooms and libraries whose headers this room's headers show; PRIVATE_LINKS only its sources see.
# A room without sources is an interface library. What is not linked here cannot be called.
function(vossel_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  if(ROOM_SOURCES)
    add_library(vossel_${name} STATIC ${ROOM_SOURCES})
    target_link_libraries(vossel_${name} PUBLIC vossel_options ${ROOM_LINKS} PRIVATE ${ROOM_PRIVATE_LINKS})
  else()
    add_library(vossel_${name} INTERFACE)
    target_link_libraries(vossel_${name} INTERFACE vossel_options ${ROOM_LINKS})
  endif()
endfunction()

# vossel_test(ROOM SOURCES file... LINKS target...): one test program for a room, its cases listed by ctest.
function(vossel_test room)
  cmake_parse_arguments(TEST "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${room}_test ${TEST_SOURCES})
  target_link_libraries(${room}_test PRIVATE vossel_options vossel_test_support ${TEST_LINKS} GTest::gmock GTest::gtest GTest::gtest_main)
  list(LENGTH TEST_SOURCES count)
  if(VOSSEL_PRECOMPILE AND count GREATER 3)
    target_precompile_headers(${room}_test PRIVATE <gmock/gmock.h> <gtest/gtest.h> <filesystem> <functional> <map>)
  endif()
  gtest_discover_tests(${room}_test TEST_PREFIX ${room}. DISCOVERY_TIMEOUT 60 PROPERTIES
    TIMEOUT 300
    ENVIRONMENT LSAN_OPTIONS=print_suppressions=0:suppressions=${PROJECT_SOURCE_DIR}/tests/leaks.supp
    ENVIRONMENT_MODIFICATION VOSSEL_PICTURES=set:${PROJECT_BINARY_DIR}/pictures)
endfunction()
