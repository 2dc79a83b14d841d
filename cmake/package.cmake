# Packages: a .deb for i386 with library, command, manual, completions and documentation, and a .tgz with the library
# ready to drop into an application's plugin folder.
set(PIXMORPH_DOC_PATTERNS FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg" PATTERN "*.jpg"
  PATTERN data EXCLUDE PATTERN man EXCLUDE)

install(TARGETS pixmorph_plugin LIBRARY DESTINATION lib/pixmorph COMPONENT library)
install(FILES README.md CHANGELOG.md cmake/copyright DESTINATION share/doc/pixmorph COMPONENT library)
install(DIRECTORY docs DESTINATION share/doc/pixmorph COMPONENT library ${PIXMORPH_DOC_PATTERNS})

install(TARGETS pixmorph_plugin LIBRARY DESTINATION . COMPONENT dropin)
install(FILES README.md CHANGELOG.md cmake/copyright DESTINATION . COMPONENT dropin)
install(DIRECTORY docs DESTINATION . COMPONENT dropin ${PIXMORPH_DOC_PATTERNS})
install(SCRIPT cmake/checksums.cmake COMPONENT dropin)

if(TARGET pixmorph_tool)
  install(TARGETS pixmorph_tool RUNTIME DESTINATION bin COMPONENT tool)

  # The command writes its own completions.
  set(completions ${PROJECT_BINARY_DIR}/completions)
  set(completion_files)
  foreach(place IN ITEMS bash:bash-completion/completions:pixmorph zsh:zsh/vendor-completions:_pixmorph
      fish:fish/vendor_completions.d:pixmorph.fish)
    string(REPLACE ":" ";" place ${place})
    list(GET place 0 shell)
    list(GET place 1 folder)
    list(GET place 2 name)
    set(file ${completions}/${shell}/${name})
    file(MAKE_DIRECTORY ${completions}/${shell})
    add_custom_command(OUTPUT ${file} COMMAND pixmorph_tool completion ${shell} > ${file} DEPENDS pixmorph_tool VERBATIM)
    list(APPEND completion_files ${file})
    install(FILES ${file} DESTINATION share/${folder} COMPONENT tool)
  endforeach()
  add_custom_target(pixmorph_completions ALL DEPENDS ${completion_files})

  find_program(PIXMORPH_SCDOC scdoc)
  if(PIXMORPH_SCDOC)
    set(manual ${PROJECT_BINARY_DIR}/man/pixmorph.1)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
    add_custom_command(OUTPUT ${manual} COMMAND ${PIXMORPH_SCDOC} < ${PROJECT_SOURCE_DIR}/docs/man/pixmorph.1.scd > ${manual}
      DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/pixmorph.1.scd)
    add_custom_target(pixmorph_manual ALL DEPENDS ${manual})
    install(FILES ${manual} DESTINATION share/man/man1 COMPONENT tool)
  else()
    message(STATUS "scdoc is not installed: no manual page")
  endif()
endif()

set(CPACK_PACKAGE_NAME pixmorph)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Picture-processing plugin for 32-bit Xojo applications")
set(CPACK_PACKAGE_DESCRIPTION "Five picture methods for applications made with Xojo, in one library, and the pixmorph
command that puts PNG and JPEG files through them.")
set(CPACK_PACKAGE_CONTACT "the Pixmorph developers <pixmorph@localhost>")
set(CPACK_PACKAGE_FILE_NAME pixmorph-${PROJECT_VERSION}-i386)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR "DEB;TGZ")
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# The library runs on far older systems than the command, which is built against the C library of this one.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34), libgcc-s1, libstdc++6 (>= 11)")
# Opened only where pictures live there.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libcairo2, libgtk2.0-0")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/package_kinds.cmake)
include(CPack)
