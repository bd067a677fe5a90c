# A room is a folder of the architecture (docs/architecture.md), and one static library named after it: "vossel_" and
# its path without "src/", so that src/ui/prompt is vossel_ui_prompt and driver/desk is vossel_driver_desk.

# vossel_show_headers(TARGET FOLDER SCOPE HEADERS file...): lets TARGET, and with PUBLIC or INTERFACE whoever links it, include
# the headers of its folder. Nobody has the source tree as an include folder: a folder of links shows each room's own
# headers, so that what is not linked cannot be included either.
function(vossel_show_headers target folder scope)
  cmake_parse_arguments(SHOWN "" "" "HEADERS" ${ARGN})
  set(shown ${PROJECT_BINARY_DIR}/rooms/${target})
  string(REGEX REPLACE "^src/" "" prefix ${folder})
  file(REMOVE_RECURSE ${shown})
  file(MAKE_DIRECTORY ${shown}/${prefix})
  foreach(header IN LISTS SHOWN_HEADERS)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder}/${header} ${shown}/${prefix}/${header} SYMBOLIC)
  endforeach()
  target_include_directories(${target} ${scope} ${shown})
endfunction()

# vossel_unite(TARGET): with VOSSEL_UNITY its sources are compiled together, but for those targets whose sources use the
# same names for different things of their own.
function(vossel_unite target)
  set(apart
    programs_test
    rules_test
    vossel_app
    vossel_frontends_windows
    vossel_hosts_desktop
    vossel_hosts_linux
    vossel_hosts_x11
    vosselctl)
  if(VOSSEL_UNITY AND NOT target IN_LIST apart)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
  endif()
endfunction()

# vossel_room(SOURCES file... LINKS target... PRIVATE_LINKS target... [HEADERS file...] [NAME suffix])
# LINKS are the rooms and libraries whose headers this room's headers show; PRIVATE_LINKS only its sources see. Both name
# every room that is included, also where another one would bring it along. A room without sources is an interface library.
# HEADERS and NAME are for a folder of several targets: which headers are this one's, and what its name ends in.
function(vossel_room)
  cmake_parse_arguments(ROOM "" "NAME" "SOURCES;HEADERS;LINKS;PRIVATE_LINKS" ${ARGN})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  string(REGEX REPLACE "^src/" "" name ${folder})
  string(REPLACE "/" "_" name vossel_${name}${ROOM_NAME})
  if(NOT ROOM_HEADERS)
    file(GLOB ROOM_HEADERS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *.h)
  endif()
  if(ROOM_SOURCES)
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_link_libraries(${name} PUBLIC vossel_options ${ROOM_LINKS} PRIVATE ${ROOM_PRIVATE_LINKS})
    vossel_show_headers(${name} ${folder} PUBLIC HEADERS ${ROOM_HEADERS})
    vossel_unite(${name})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE vossel_options ${ROOM_LINKS})
    vossel_show_headers(${name} ${folder} INTERFACE HEADERS ${ROOM_HEADERS})
  endif()
endfunction()

# vossel_precompiled(NAME HEADERS header... LINKS target... OPTIONS option...): compiles these headers once, for each
# vossel_reuse(TARGET NAME). Options must agree, so both are position independent, as Qt wants its users to be.
# scripts/check-rooms finds what this hides: a file that uses such a header without including it.
function(vossel_precompiled name)
  cmake_parse_arguments(PRECOMPILED "" "" "HEADERS;LINKS;OPTIONS" ${ARGN})
  if(VOSSEL_PRECOMPILE)
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "")
    add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    target_link_libraries(${name} PRIVATE vossel_options ${PRECOMPILED_LINKS})
    target_compile_options(${name} PRIVATE -fPIC ${PRECOMPILED_OPTIONS})
    target_precompile_headers(${name} PRIVATE ${PRECOMPILED_HEADERS})
  endif()
endfunction()

function(vossel_reuse target name)
  if(VOSSEL_PRECOMPILE)
    target_compile_options(${target} PRIVATE -fPIC)
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()

# vossel_program(NAME SOURCES file... LINKS target...): a program of programs/ or of a folder in it; all are built into bin.
function(vossel_program name)
  cmake_parse_arguments(PROGRAM "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${PROGRAM_SOURCES})
  target_link_libraries(${name} PRIVATE vossel_options ${PROGRAM_LINKS})
  target_compile_options(${name} PRIVATE ${VOSSEL_PROGRAM_OPTIONS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  file(GLOB headers RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *.h)
  vossel_show_headers(${name} ${folder} PRIVATE HEADERS ${headers})
  vossel_unite(${name})
  vossel_reuse(${name} vossel_program_headers)
endfunction()

# vossel_test(ROOM SOURCES file... LINKS target...): one test program for a room, its cases listed by ctest.
function(vossel_test room)
  cmake_parse_arguments(TEST "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${room}_test ${TEST_SOURCES})
  target_link_libraries(${room}_test PRIVATE vossel_options vossel_test_support ${TEST_LINKS} GTest::gmock GTest::gtest GTest::gtest_main)
  target_compile_options(${room}_test PRIVATE ${VOSSEL_TEST_OPTIONS})
  vossel_unite(${room}_test)
  vossel_reuse(${room}_test vossel_test_headers)
  gtest_discover_tests(${room}_test TEST_PREFIX ${room}. DISCOVERY_TIMEOUT 60 PROPERTIES
    TIMEOUT 300
    ENVIRONMENT LSAN_OPTIONS=print_suppressions=0:suppressions=${PROJECT_SOURCE_DIR}/tests/leaks.supp
    ENVIRONMENT_MODIFICATION VOSSEL_PICTURES=set:${PROJECT_BINARY_DIR}/pictures)
endfunction()
