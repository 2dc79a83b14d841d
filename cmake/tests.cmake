# googletest is compiled from the distribution's source package, so that it is 32-bit and carries the same sanitizers.
set(PIXMORPH_GTEST_SOURCE /usr/src/googletest)
set(INSTALL_GTEST OFF)
add_subdirectory(${PIXMORPH_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

# One test program per folder below tests/: what a change touches is rebuilt and run alone.
file(GLOB PIXMORPH_TEST_SUPPORT CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/*.cpp)
if(PIXMORPH_TEST_SUPPORT)
  add_library(test_support STATIC ${PIXMORPH_TEST_SUPPORT})
  target_link_libraries(test_support PUBLIC pixmorph_developer_flags standin gtest)
endif()

file(GLOB PIXMORPH_TEST_FOLDERS CONFIGURE_DEPENDS LIST_DIRECTORIES true ${PROJECT_SOURCE_DIR}/tests/*)
include(GoogleTest)
foreach(folder IN LISTS PIXMORPH_TEST_FOLDERS)
  get_filename_component(name ${folder} NAME)
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*_test.cpp)
  if(sources)
    set(target test_${name})
    # The core's objects are linked in, so that kernels, levels and helpers can be tested without being exported.
    add_executable(${target} ${sources} $<TARGET_OBJECTS:pixmorph_core>)
    target_link_libraries(${target} PRIVATE $<TARGET_NAME_IF_EXISTS:test_support> pixmorph_developer_flags standin
      gtest gtest_main ${PIXMORPH_SYSTEM_LIBRARIES})
    target_compile_definitions(${target} PRIVATE PIXMORPH_LIBRARY="$<TARGET_FILE:pixmorph_plugin>")
    add_dependencies(${target} pixmorph_plugin)
    gtest_discover_tests(${target} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600)
  endif()
endforeach()
if(EXISTS ${PROJECT_SOURCE_DIR}/tests/checks.cmake)
  include(tests/checks.cmake)
endif()
