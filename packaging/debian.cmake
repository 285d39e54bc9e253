# The Debian package, for CPack.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME packetbrask)
set(CPACK_PACKAGE_VENDOR Varnott)
set(CPACK_PACKAGE_CONTACT "PacketBrask maintainers <maintainers@varnott.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "stress test for the serial link of a display module")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${CMAKE_CURRENT_SOURCE_DIR}/description.txt)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, so that no program names them: what opens a window under X11, the same under
# Wayland, and the list of icon directories.
set(CPACK_DEBIAN_PACKAGE_DEPENDS qt6-qpa-plugins)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Debian compresses manual pages and changelogs, other systems do that for themselves.
# The release that the package is made in, and for.
cmake_host_system_information(RESULT DISTRIB QUERY DISTRIB_INFO)
configure_file(changelog.Debian.in changelog.Debian @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/compress.cmake)
set(CPACK_DEBIAN_CHANGELOG ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
set(CPACK_PACKETBRASK_PAGES ${CMAKE_INSTALL_MANDIR}/man1)
set(CPACK_PACKETBRASK_DOCUMENTS ${CMAKE_INSTALL_DOCDIR})
