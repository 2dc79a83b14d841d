# The operations and kernels as 64-bit programs, for machines whose kernel refuses 32-bit ones and for levels that an
# emulator lacks. Pictures are plain memory here: bench/rehearsal takes the place of src/picture and of the services.
add_library(pixmorph_developer_flags INTERFACE)
target_compile_options(pixmorph_developer_flags INTERFACE -msse2 -mfpmath=sse -ffp-contract=off)
target_include_directories(pixmorph_developer_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(pixmorph_developer_flags INTERFACE pixmorph_warnings)

include(cmake/peers.cmake)
file(GLOB PIXMORPH_BENCH_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp ${PROJECT_SOURCE_DIR}/bench/rehearsal/*.cpp)
list(FILTER PIXMORPH_BENCH_SOURCES EXCLUDE REGEX "/bench/subject\\.cpp$")
add_executable(pixmorph_bench ${PIXMORPH_BENCH_SOURCES} $<TARGET_OBJECTS:pixmorph_operations>)
target_link_libraries(pixmorph_bench PRIVATE pixmorph_developer_flags ${CMAKE_DL_LIBS} m)
set_target_properties(pixmorph_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)
file(GLOB PIXMORPH_KERNEL_TESTS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/kernels/*_test.cpp
  ${PROJECT_SOURCE_DIR}/tests/rehearsal/*_test.cpp)
if(PIXMORPH_KERNEL_TESTS)
  add_executable(test_kernels ${PIXMORPH_KERNEL_TESTS} $<TARGET_OBJECTS:pixmorph_operations>
    ${PIXMORPH_PLAIN_PICTURES} ${PROJECT_SOURCE_DIR}/tests/support/fence.cpp ${PROJECT_SOURCE_DIR}/tests/support/random.cpp)
  target_link_libraries(test_kernels PRIVATE pixmorph_developer_flags gtest gtest_main m)
  gtest_discover_tests(test_kernels TEST_PREFIX kernels64. DISCOVERY_TIMEOUT 300 PROPERTIES TIMEOUT 600)
endif()
