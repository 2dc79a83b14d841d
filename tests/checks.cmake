# Checks of files rather than of behaviour. Sanitizers change what is linked and how, so the library and its objects
# are checked in plain builds only.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME check.includes COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check_includes.py)

if(NOT PIXMORPH_SANITIZE)
  add_test(NAME check.library COMMAND ${PROJECT_SOURCE_DIR}/scripts/check_library.sh
    $<TARGET_FILE:pixmorph_plugin> ${PROJECT_SOURCE_DIR}/src/plugin.map)
  add_test(NAME check.isa_objects COMMAND ${PROJECT_SOURCE_DIR}/scripts/check_isa_objects.sh
    ${PIXMORPH_CORE_OBJECTS} COMMAND_EXPAND_LISTS)
endif()

add_test(NAME check.readme COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check_readme.py)

# The kernels once more as 64-bit programs: native where the 32-bit ones run in an emulator, AVX-512 included.
add_test(NAME kernels.native64 COMMAND ${PROJECT_SOURCE_DIR}/scripts/run_kernels64.sh)
set_tests_properties(kernels.native64 PROPERTIES TIMEOUT 1200)

add_test(NAME checksums COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/checksums/check.py
  $<TARGET_FILE:pixmorph_bench>)
