# The pictures, for windows and for the installation, and the user guide.

# Without vossel_options: what runs during the build is not the product, and a sanitizer would stop
# the build over what font libraries leave behind.
add_executable(render_resource render_resource.cpp)
target_include_directories(render_resource PRIVATE
  $<TARGET_PROPERTY:vossel_foundation,INTERFACE_INCLUDE_DIRECTORIES>)
target_compile_options(render_resource PRIVATE -Wall -Wextra -Wshadow -Wold-style-cast
  $<$<BOOL:${VOSSEL_WARNINGS_AS_ERRORS}>:-Werror>)
target_link_libraries(render_resource PRIVATE Qt6::Gui)

set(images ${CMAKE_CURRENT_BINARY_DIR}/images)
file(MAKE_DIRECTORY ${images})

# vossel_image(NAME SIDE [DRAWING]): NAME.png with that many pixels a side and NAME@2x.png with
# twice as many. Windows load QIcon(":/images/NAME.png"), which takes the one that fits the screen.
set(image_files)
set(image_entries)
function(vossel_image name side)
  set(drawing ${CMAKE_CURRENT_SOURCE_DIR}/${name}.svg)
  if(ARGC GREATER 2)
    set(drawing ${CMAKE_CURRENT_SOURCE_DIR}/${ARGV2}.svg)
  endif()
  math(EXPR twice "2 * ${side}")
  foreach(variant "${name}.png ${side}" "${name}@2x.png ${twice}")
    string(REPLACE " " ";" variant "${variant}")
    list(POP_FRONT variant file pixels)
    add_custom_command(OUTPUT ${images}/${file}
      COMMAND render_resource image ${drawing} ${pixels}x${pixels} ${images}/${file}
      DEPENDS render_resource ${drawing}
      COMMENT "Drawing ${file}"
      VERBATIM)
    list(APPEND image_files ${images}/${file})
    string(APPEND image_entries "<file alias=\"${file}\">${images}/${file}</file>\n")
  endforeach()
  set(image_files ${image_files} PARENT_SCOPE)
  set(image_entries ${image_entries} PARENT_SCOPE)
endfunction()

vossel_image(arrows_64x64 64)
vossel_image(danger 28)
vossel_image(green 22)
vossel_image(lock 128)
vossel_image(lock_128x128 128 lock)
vossel_image(lock_icon_alert 22)
vossel_image(lock_icon_learning_mode 22)
vossel_image(lock_icon_small 22)
vossel_image(mac_128x128 128)
vossel_image(program 128)
vossel_image(red 22)
vossel_image(warning 128)

set(collection ${CMAKE_CURRENT_BINARY_DIR}/images.qrc)
file(CONFIGURE OUTPUT ${collection}
  CONTENT "<RCC><qresource prefix=\"/images\">\n${image_entries}</qresource></RCC>\n")
add_custom_command(OUTPUT images.cpp
  COMMAND Qt6::rcc --name vossel_images --no-compress --output images.cpp ${collection}
  DEPENDS ${collection} ${image_files}
  COMMENT "Gathering the pictures"
  VERBATIM)

# The pictures register themselves when a program starts, if its linker takes them, which it does
# not do out of an archive that nobody calls. So they reach every program as an object file, through
# any number of rooms that name vossel_images among their LINKS (not their PRIVATE_LINKS).
add_library(vossel_image_objects OBJECT images.cpp)
target_link_libraries(vossel_image_objects PRIVATE Qt6::Core)
add_library(vossel_images INTERFACE)
target_sources(vossel_images INTERFACE
  $<$<NOT:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,STATIC_LIBRARY>>:$<TARGET_OBJECTS:vossel_image_objects>>)
target_link_libraries(vossel_images INTERFACE Qt6::Core)

set(guide "${CMAKE_CURRENT_BINARY_DIR}/Vossel User Guide.pdf")
add_custom_command(OUTPUT ${guide}
  COMMAND render_resource document ${PROJECT_SOURCE_DIR}/docs/user-guide.md ${guide}
  DEPENDS render_resource ${PROJECT_SOURCE_DIR}/docs/user-guide.md
  COMMENT "Printing the user guide"
  VERBATIM)

set(rendered_files ${guide} ${images}/lock.png ${images}/warning.png)
