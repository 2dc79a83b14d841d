# Whole calls of the built library against the evaluators in tests/oracle. The runner is a 32-bit program of its
# own; the drivers are Python and need nothing but its standard library.
find_package(Python3 COMPONENTS Interpreter REQUIRED)
add_executable(case_runner ${CMAKE_CURRENT_LIST_DIR}/case_runner.cpp)
target_link_libraries(case_runner PRIVATE standin)
add_dependencies(case_runner pixmorph_plugin)

function(pixmorph_blackbox_test name)
  add_test(NAME blackbox.${name} COMMAND ${CMAKE_COMMAND} -E env PYTHONDONTWRITEBYTECODE=1 ${Python3_EXECUTABLE}
    ${PROJECT_SOURCE_DIR}/tests/blackbox/${ARGN} --runner $<TARGET_FILE:case_runner>
    --library $<TARGET_FILE:pixmorph_plugin> --emulator "${CMAKE_CROSSCOMPILING_EMULATOR}")
  set_tests_properties(blackbox.${name} PROPERTIES TIMEOUT 900)
endfunction()

pixmorph_blackbox_test(random run.py)
pixmorph_blackbox_test(walks walks.py)
pixmorph_blackbox_test(properties properties.py)
add_test(NAME blackbox.oracle COMMAND ${CMAKE_COMMAND} -E env PYTHONDONTWRITEBYTECODE=1
  ${Python3_EXECUTABLE} -m oracle.self_check WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/tests)
