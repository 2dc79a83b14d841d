# The benchmark links the core, so that a level can be forced without a switch in the library.
include(cmake/peers.cmake)
file(GLOB PIXMORPH_BENCH_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp)
add_executable(pixmorph_bench ${PIXMORPH_BENCH_SOURCES} ${PIXMORPH_CORE_OBJECTS})
target_link_libraries(pixmorph_bench PRIVATE pixmorph_developer_flags standin ${PIXMORPH_SYSTEM_LIBRARIES})
set_target_properties(pixmorph_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

# The same over pictures in plain memory: without the time that the stand-in's own services take, which small pictures
# would drown in.
set(PIXMORPH_PLAIN_BENCH_SOURCES ${PIXMORPH_BENCH_SOURCES} ${PROJECT_SOURCE_DIR}/bench/rehearsal/subject.cpp ${PIXMORPH_PLAIN_PICTURES})
list(FILTER PIXMORPH_PLAIN_BENCH_SOURCES EXCLUDE REGEX "bench/subject\\.cpp$")
add_executable(pixmorph_bench_plain EXCLUDE_FROM_ALL ${PIXMORPH_PLAIN_BENCH_SOURCES} $<TARGET_OBJECTS:pixmorph_operations>)
target_link_libraries(pixmorph_bench_plain PRIVATE pixmorph_developer_flags ${CMAKE_DL_LIBS} m)
set_target_properties(pixmorph_bench_plain PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
