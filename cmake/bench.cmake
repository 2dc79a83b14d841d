# The benchmark links the core, so that a level can be forced without a switch in the library.
file(GLOB PIXMORPH_BENCH_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp)
add_executable(pixmorph_bench ${PIXMORPH_BENCH_SOURCES} ${PIXMORPH_CORE_OBJECTS})
target_link_libraries(pixmorph_bench PRIVATE pixmorph_developer_flags standin ${PIXMORPH_SYSTEM_LIBRARIES})
set_target_properties(pixmorph_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
