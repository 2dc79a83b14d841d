# The pages: their examples run, their form and declarations, their figures, the site made of them.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME docs.examples COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/docs/run_examples.py
  $<TARGET_FILE:pixmorph_tool>)
set_tests_properties(docs.examples PROPERTIES TIMEOUT 300)
