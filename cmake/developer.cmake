# Everything around the plugin: the stand-in runtime, the command line tool and the tests.
add_library(pixmorph_developer_flags INTERFACE)
target_compile_options(pixmorph_developer_flags INTERFACE
  -march=pentium4 -mtune=generic -msse2 -mfpmath=sse -ffp-contract=off)
target_include_directories(pixmorph_developer_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(pixmorph_developer_flags INTERFACE pixmorph_warnings)

file(GLOB_RECURSE PIXMORPH_STANDIN_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/standin/*.cpp)
if(PIXMORPH_STANDIN_SOURCES)
  add_library(standin STATIC ${PIXMORPH_STANDIN_SOURCES})
  target_link_libraries(standin PUBLIC pixmorph_developer_flags ${CMAKE_DL_LIBS})
endif()

# Static i386 libraries unpacked by scripts/setup.sh; the headers come from the same packages.
set(PIXMORPH_DEPS ${PROJECT_SOURCE_DIR}/build/deps/usr)
add_library(image_files INTERFACE)
target_include_directories(image_files SYSTEM INTERFACE
  ${PIXMORPH_DEPS}/include ${PIXMORPH_DEPS}/include/i386-linux-gnu)
target_link_libraries(image_files INTERFACE
  ${PIXMORPH_DEPS}/lib/i386-linux-gnu/libpng16.a ${PIXMORPH_DEPS}/lib/i386-linux-gnu/libjpeg.a
  ${PIXMORPH_DEPS}/lib/i386-linux-gnu/libz.a m)

file(GLOB PIXMORPH_TOOL_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/*.cpp)
if(PIXMORPH_TOOL_SOURCES)
  add_executable(pixmorph_tool ${PIXMORPH_TOOL_SOURCES})
  set_target_properties(pixmorph_tool PROPERTIES OUTPUT_NAME pixmorph RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  target_link_libraries(pixmorph_tool PRIVATE standin image_files)
  add_dependencies(pixmorph_tool pixmorph_plugin)
endif()

include(cmake/tests.cmake)
