# The operations with the kernels: all that works on pixels. The plugin has them with its host and pictures; tests and
# the 64-bit rehearsal also run them over pictures in plain memory (bench/rehearsal).
file(GLOB PIXMORPH_OPERATION_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/kernels/*.cpp
  ${PROJECT_SOURCE_DIR}/src/scaling/*.cpp ${PROJECT_SOURCE_DIR}/src/effects/*.cpp ${PROJECT_SOURCE_DIR}/src/support/memory.cpp
  ${PROJECT_SOURCE_DIR}/src/support/wide_registers.cpp
  ${PROJECT_SOURCE_DIR}/src/picture/pixel_format.cpp ${PROJECT_SOURCE_DIR}/src/runtime/yield.cpp)
pixmorph_set_isa_flags(${PIXMORPH_OPERATION_SOURCES})
add_library(pixmorph_operations OBJECT ${PIXMORPH_OPERATION_SOURCES})
target_link_libraries(pixmorph_operations PRIVATE pixmorph_warnings PUBLIC pixmorph_core_flags)

set(PIXMORPH_PLAIN_PICTURES ${PROJECT_SOURCE_DIR}/bench/rehearsal/editor.cpp ${PROJECT_SOURCE_DIR}/bench/rehearsal/services.cpp)
