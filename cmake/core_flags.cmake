# How the plugin's own code is compiled. Every byte of a result depends on the floating-point flags: scalar
# arithmetic in SSE2 registers, no contraction, so that each operation rounds once, as it is written.
set(PIXMORPH_BASE_FLAGS -march=pentium4 -mtune=generic)
if(PIXMORPH_REHEARSAL64)
  # Leaves the compiler the registers that 32-bit code has, so that figures resemble those of the real thing.
  set(PIXMORPH_BASE_FLAGS -march=x86-64 -mtune=generic)
endif()
# clang has no such option; its builds check results, not speed.
if(PIXMORPH_REHEARSAL64 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(number RANGE 8 15)
    list(APPEND PIXMORPH_BASE_FLAGS -ffixed-xmm${number})
  endforeach()
endif()

add_library(pixmorph_core_flags INTERFACE)
target_compile_options(pixmorph_core_flags INTERFACE
  ${PIXMORPH_BASE_FLAGS} -msse2 -mfpmath=sse -ffp-contract=off
  -fPIC -fvisibility=hidden -fvisibility-inlines-hidden -fno-rtti -fno-threadsafe-statics
  -fno-semantic-interposition -ffunction-sections -fdata-sections -fstack-protector-strong)
target_compile_definitions(pixmorph_core_flags INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
target_include_directories(pixmorph_core_flags INTERFACE ${PROJECT_SOURCE_DIR}/src)

# One row per instruction-set level: the file name's ending and what the compiler may use in such a file.
set(PIXMORPH_ISA_sse2 "-msse2")
set(PIXMORPH_ISA_sse41 "-msse4.1")
set(PIXMORPH_ISA_avx2 "-mavx2 -mfma")
set(PIXMORPH_ISA_avx512 "-mavx2 -mfma -mavx512f -mavx512bw -mavx512dq -mavx512vl -mavx512vbmi -mavx512vnni")

if(PIXMORPH_REHEARSAL64 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(number RANGE 16 31)
    string(APPEND PIXMORPH_ISA_avx512 " -ffixed-xmm${number}")
  endforeach()
endif()

function(pixmorph_set_isa_flags)
  foreach(source IN LISTS ARGN)
    foreach(isa IN ITEMS sse2 sse41 avx2 avx512)
      if(source MATCHES "_${isa}\\.cpp$")
        set_source_files_properties(${source} PROPERTIES COMPILE_FLAGS "${PIXMORPH_ISA_${isa}} -O3")
      endif()
    endforeach()
  endforeach()
endfunction()
