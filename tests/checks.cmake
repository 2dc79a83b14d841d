# Checks of files rather than of behaviour. Sanitizers change what is linked and how, so the library and its objects
# are checked in plain builds only.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME check.includes COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check_includes.py)

if(NOT PIXMORPH_SANITIZE)
  add_test(NAME check.library COMMAND ${PROJECT_SOURCE_DIR}/scripts/check_library.sh
    $<TARGET_FILE:pixmorph_plugin> ${PROJECT_SOURCE_DIR}/src/plugin.map)
  add_test(NAME check.isa_objects COMMAND ${PROJECT_SOURCE_DIR}/scripts/check_isa_objects.sh
    $<TARGET_OBJECTS:pixmorph_core> COMMAND_EXPAND_LISTS)
endif()
