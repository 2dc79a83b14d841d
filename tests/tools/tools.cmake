# The command as a user runs it, beside the tests of its parts.
target_link_libraries(test_tools PRIVATE pixmorph_tool_parts)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
foreach(name IN ITEMS command batch)
  add_test(NAME tools.${name}
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/${name}_test.py
      $<TARGET_FILE:pixmorph_tool> $<TARGET_FILE:pixmorph_plugin>)
  set_tests_properties(tools.${name} PROPERTIES TIMEOUT 300)
endforeach()

add_test(NAME tools.agreement
  COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/agreement_test.py
    $<TARGET_FILE:pixmorph_tool> ${PROJECT_SOURCE_DIR} ${PROJECT_VERSION})
set_tests_properties(tools.agreement PROPERTIES TIMEOUT 300)

# Sanitized builds aren't packaged.
find_program(PIXMORPH_DPKG dpkg)
if(NOT PIXMORPH_SANITIZE AND PIXMORPH_DPKG)
  add_test(NAME tools.package
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/package_test.py
      ${CMAKE_CPACK_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}/media ${PROJECT_VERSION})
  set_tests_properties(tools.package PROPERTIES TIMEOUT 300)
endif()
