# cmake --install, and the packages: cpack -G DEB in the folder of a release build, cpack -G ZIP in one for Windows.
set(CPACK_PACKAGE_NAME tervo-studio)
set(CPACK_PACKAGE_VENDOR "Tervo Studio")
set(CPACK_PACKAGE_CONTACT "Tervo Studio <maintainers@tervo.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Editor and converter for audio files, sampler instruments and MIDI songs")
set(CPACK_COMPONENTS_ALL tervo)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_STRIP_FILES ON)

if(WIN32)
  # One folder that runs from wherever it lies. What is packed is built before: cpack builds nothing.
  set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
  install(TARGETS tervo RUNTIME DESTINATION . COMPONENT tervo)
  install(FILES packaging/windows/readme.txt DESTINATION . COMPONENT tervo)
  set(inside libsoxr-dev libebur128-dev libfmt-dev libcli11-dev nlohmann-json3-dev libkissfft-dev libz-mingw-w64-dev
             gcc-mingw-w64-base mingw-w64-common)
  if(TERVO_WINDOW)
    install(TARGETS tervo-studio RUNTIME DESTINATION . COMPONENT tervo)
    install(DIRECTORY docs/manual DESTINATION . COMPONENT tervo)
    list(APPEND inside qt6-base-dev)
  endif()
  foreach(package IN LISTS inside)
    install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt COMPONENT tervo)
  endforeach()
  foreach(licence GPL-2 GPL-3 LGPL-2.1 LGPL-3)
    install(FILES /usr/share/common-licenses/${licence} DESTINATION licences RENAME ${licence}.txt COMPONENT tervo)
  endforeach()
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  include(CPack)
  return()
endif()

include(GNUInstallDirs)

install(TARGETS tervo RUNTIME COMPONENT tervo)
install(CODE "
  execute_process(COMMAND \"${CMAKE_SOURCE_DIR}/scripts/man-page\" \"$<TARGET_FILE:tervo>\"
                  OUTPUT_FILE \"${CMAKE_BINARY_DIR}/tervo.1\" COMMAND_ERROR_IS_FATAL ANY)" COMPONENT tervo)
install(FILES ${CMAKE_BINARY_DIR}/tervo.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tervo)
install(FILES packaging/linux/tervo.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tervo
        COMPONENT tervo)

if(TERVO_WINDOW)
  install(TARGETS tervo-studio RUNTIME COMPONENT tervo)
  install(FILES packaging/linux/tervo-studio.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tervo)
  install(FILES packaging/linux/tervo-studio.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT tervo)
  install(FILES packaging/linux/tervo-studio-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
          RENAME tervo-studio.xml COMPONENT tervo)
  install(FILES packaging/linux/tervo-studio.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT tervo)
  install(FILES packaging/linux/tervo-studio.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
          COMPONENT tervo)
  install(DIRECTORY docs/manual DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tervo-studio COMPONENT tervo)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, where they are: codecs, the General MIDI bank, the icon's format.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libvorbisfile3, libvorbisenc2, libflac12, timgm6mb-soundfont, libqt6svg6")
include(CPack)
