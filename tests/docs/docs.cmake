# The pages: their examples run, their form and declarations, their figures, the site made of them.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME docs.examples COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/docs/run_examples.py
  $<TARGET_FILE:pixmorph_tool>)
set_tests_properties(docs.examples PROPERTIES TIMEOUT 300)
add_test(NAME docs.figures COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/make_doc_figures.py --check)

# The distribution's interpreter is the one that its python3-markdown serves.
execute_process(COMMAND /usr/bin/python3 -c "import markdown" RESULT_VARIABLE no_markdown OUTPUT_QUIET ERROR_QUIET)
if(NOT no_markdown)
  set(site ${PROJECT_BINARY_DIR}/site)
  add_test(NAME docs.site COMMAND /usr/bin/python3 ${PROJECT_SOURCE_DIR}/scripts/build_site.py ${site})
  add_test(NAME docs.site_links COMMAND /usr/bin/python3 ${PROJECT_SOURCE_DIR}/scripts/check_site.py ${site})
  set_tests_properties(docs.site PROPERTIES FIXTURES_SETUP site)
  set_tests_properties(docs.site_links PROPERTIES FIXTURES_REQUIRED site)
endif()
