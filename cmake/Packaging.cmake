# A Debian package of the installed tree: `cpack -G DEB` in a Release build folder. Its
# dependencies come from the programs' shared libraries (dpkg-shlibdeps), plus the GStreamer
# plugins that playing audio and video needs, which no library names.

set(_tolvane_doc "${CMAKE_INSTALL_DATADIR}/doc/tolvane")
install(FILES "${CMAKE_SOURCE_DIR}/data/debian/copyright" DESTINATION "${_tolvane_doc}")
# Debian wants the changelog compressed, and the same bytes on every build (no name, no time).
set(_tolvane_changelog "${CMAKE_BINARY_DIR}/changelog.gz")
add_custom_command(
    OUTPUT "${_tolvane_changelog}"
    COMMAND gzip -n -9 -c "${CMAKE_SOURCE_DIR}/data/debian/changelog" > "${_tolvane_changelog}"
    DEPENDS "${CMAKE_SOURCE_DIR}/data/debian/changelog"
    VERBATIM)
add_custom_target(tolvane_changelog ALL DEPENDS "${_tolvane_changelog}")
install(FILES "${_tolvane_changelog}" DESTINATION "${_tolvane_doc}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tolvane)
set(CPACK_PACKAGE_VENDOR Merrowby)
set(CPACK_PACKAGE_CONTACT "Tolvane maintainers <tolvane@merrowby.com>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The browsers' host manifests are installed to absolute system folders (/etc/chromium...):
# staged under DESTDIR so they land in the package, not on the building machine.
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "browse downloaded media and import it into a media library")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Tolvane is a companion for the media a web browser downloads. It shows\n"
    "the download folder with actions for each file (play, preview, delete,\n"
    "open in another application, import) and imports audio and video into a\n"
    "media library with edited tags and artwork from the file, the user's\n"
    "pictures or a web image search.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, gstreamer1.0-libav")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "desktop-file-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
