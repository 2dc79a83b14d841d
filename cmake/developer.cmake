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
  # What the stand-in puts in front of the C library has to be seen by the plugin, which is opened at run time.
  foreach(symbol IN ITEMS clock_gettime malloc calloc realloc free)
    target_link_options(standin INTERFACE -Wl,--export-dynamic-symbol=${symbol})
  endforeach()
endif()

# Static i386 libraries unpacked by scripts/setup.sh; the headers come from the same packages.
set(PIXMORPH_DEPS ${PROJECT_SOURCE_DIR}/build/deps/usr)
add_library(image_files INTERFACE)
target_include_directories(image_files SYSTEM INTERFACE
  ${PIXMORPH_DEPS}/include ${PIXMORPH_DEPS}/include/i386-linux-gnu)
target_link_libraries(image_files INTERFACE
  ${PIXMORPH_DEPS}/lib/i386-linux-gnu/libpng16.a ${PIXMORPH_DEPS}/lib/i386-linux-gnu/libjpeg.a
  ${PIXMORPH_DEPS}/lib/i386-linux-gnu/libz.a m)

# The command's parts are a library of their own, so that tests can link them.
file(GLOB_RECURSE PIXMORPH_TOOL_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/*.cpp)
list(REMOVE_ITEM PIXMORPH_TOOL_SOURCES ${PROJECT_SOURCE_DIR}/tools/main.cpp)
add_library(pixmorph_tool_parts STATIC ${PIXMORPH_TOOL_SOURCES})
target_link_libraries(pixmorph_tool_parts PUBLIC standin image_files)

# The option parser is slow to compile and its code runs once per process.
set_source_files_properties(tools/main.cpp tools/commands/arguments.cpp tools/commands/common_options.cpp
  PROPERTIES COMPILE_OPTIONS -O0)
set_source_files_properties(tools/main.cpp PROPERTIES COMPILE_DEFINITIONS PIXMORPH_VERSION="${PROJECT_VERSION}")

# The core is linked for what the command tells about the processor; the methods come from the loaded library.
add_executable(pixmorph_tool tools/main.cpp ${PIXMORPH_CORE_OBJECTS})
set_target_properties(pixmorph_tool PROPERTIES OUTPUT_NAME pixmorph RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
target_link_libraries(pixmorph_tool PRIVATE pixmorph_tool_parts ${PIXMORPH_SYSTEM_LIBRARIES})
add_dependencies(pixmorph_tool pixmorph_plugin)

include(cmake/tests.cmake)
