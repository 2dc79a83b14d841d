# Headers of peers that the benchmark compares with, which may arrive after the first build: as a definition, so that
# the files that use them are compiled anew then.
find_path(PIXMORPH_ZIMG_INCLUDE zimg.h)
find_path(PIXMORPH_STB_INCLUDE stb/stb_image_resize.h)
foreach(peer zimg stb)
  string(TOUPPER ${peer} name)
  if(PIXMORPH_${name}_INCLUDE)
    set_property(SOURCE ${PROJECT_SOURCE_DIR}/bench/peer_${peer}.cpp PROPERTY COMPILE_DEFINITIONS PIXMORPH_HAVE_${name})
  endif()
endforeach()
