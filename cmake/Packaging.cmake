# What a desktop install needs beyond the programs (icons at the usual sizes, AppStream
# metadata), and the .deb made from whatever `cmake --install` installs:
#   cmake --build build --target package     (or: cd build && cpack -G DEB)

set(TOLM_APP_ID "org.tolm.AudioConverter" CACHE STRING "AppStream component id")
# The metadata's screenshots are resources/desktop/screenshots (panel renders of
# tolm-render-panels), published below the home page.
set(TOLM_HOMEPAGE "https://tolm.org" CACHE STRING "Project home page")

if(TARGET tolm-render-icon AND TARGET tolm-audio-converter)
  set(icon_sizes 16 22 24 32 48 64 128 256)
  set(icon_svg "${TOLM_RESOURCE_DIR}/images/tolm-audio-converter.svg")
  set(icon_root "${CMAKE_BINARY_DIR}/icons")
  set(icon_pngs "")
  foreach(size ${icon_sizes})
    list(APPEND icon_pngs "${icon_root}/hicolor/${size}x${size}/apps/tolm-audio-converter.png")
  endforeach()
  add_custom_command(OUTPUT ${icon_pngs}
                     COMMAND tolm-render-icon "${icon_svg}" "${icon_root}" ${icon_sizes}
                     DEPENDS tolm-render-icon "${icon_svg}"
                     COMMENT "Rendering the application icon")
  add_custom_target(tolm-icons ALL DEPENDS ${icon_pngs})
  install(DIRECTORY "${icon_root}/hicolor" DESTINATION "${CMAKE_INSTALL_DATADIR}/icons")
endif()

configure_file("${TOLM_RESOURCE_DIR}/desktop/tolm-audio-converter.metainfo.xml.in"
               "${CMAKE_BINARY_DIR}/${TOLM_APP_ID}.metainfo.xml" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/${TOLM_APP_ID}.metainfo.xml" DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")

set(CPACK_PACKAGE_NAME "tolm-audio-converter")
set(CPACK_PACKAGE_VENDOR "Tolm")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "turn records and tapes into named tracks in your music library")
set(CPACK_PACKAGE_DESCRIPTION
    "Records vinyl and cassettes played on a USB turntable or USB cassette deck, splits the
recording into tracks at the silent gaps, and files the tracks named and tagged in the
music library as FLAC, MP3, Ogg Vorbis, Opus or WAV. A wizard leads through connecting the
device, setting the level, recording and naming; tolm-convert does the same on the
command line.")
set(CPACK_PACKAGE_CONTACT "Tolm developers <dev@tolm.org>")
set(CPACK_PACKAGE_HOMEPAGE_URL "${TOLM_HOMEPAGE}")
set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}_${PROJECT_VERSION}_amd64")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "sound")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
# Library dependencies come from the programs' shared libraries (dpkg-shlibdeps); what they
# only load at run time is named here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pipewire-pulse | pulseaudio")
set(CPACK_GENERATOR "DEB")
include(CPack)
