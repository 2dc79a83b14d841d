# The core (a static library that tests and benchmarks link too) and the plugin made of it.
file(GLOB_RECURSE PIXMORPH_CORE_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)
list(REMOVE_ITEM PIXMORPH_CORE_SOURCES ${PIXMORPH_OPERATION_SOURCES})
# Files that catch name the type they catch: without run-time types the compiler would put a copy of it into the
# library, which older C++ libraries, comparing addresses, do not take for the one that was thrown.
set_source_files_properties(${PROJECT_SOURCE_DIR}/src/support/objects.cpp ${PROJECT_SOURCE_DIR}/src/support/strings.cpp
  PROPERTIES COMPILE_OPTIONS -frtti)

add_library(pixmorph_core OBJECT ${PIXMORPH_CORE_SOURCES})
target_link_libraries(pixmorph_core PRIVATE pixmorph_warnings PUBLIC pixmorph_core_flags)
set(PIXMORPH_CORE_OBJECTS $<TARGET_OBJECTS:pixmorph_core> $<TARGET_OBJECTS:pixmorph_operations>)

# The two libraries that old systems keep dlopen and clock_gettime in, named by file: the plain names of a
# current system are empty and would be dropped.
set(PIXMORPH_SYSTEM_LIBRARIES -Wl,--no-as-needed -l:libdl.so.2 -l:librt.so.1 -Wl,--as-needed -lm)

add_library(pixmorph_plugin MODULE)
target_link_libraries(pixmorph_plugin PRIVATE pixmorph_core pixmorph_operations ${PIXMORPH_SYSTEM_LIBRARIES})
set_target_properties(pixmorph_plugin PROPERTIES OUTPUT_NAME pixmorph
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/src/plugin.map LINKER_LANGUAGE CXX LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
target_link_options(pixmorph_plugin PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/src/plugin.map -Wl,-Bsymbolic -Wl,--exclude-libs,ALL
  -Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,-z,text -Wl,--hash-style=both -Wl,--gc-sections
  -shared-libgcc)
if(NOT PIXMORPH_SANITIZE)
  target_link_options(pixmorph_plugin PRIVATE -Wl,-z,defs)
endif()
