# The command as a user runs it, beside the tests of its parts.
target_link_libraries(test_tools PRIVATE pixmorph_tool_parts)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME tools.command
  COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/tools/command_test.py
    $<TARGET_FILE:pixmorph_tool> $<TARGET_FILE:pixmorph_plugin>)
set_tests_properties(tools.command PROPERTIES TIMEOUT 300)
