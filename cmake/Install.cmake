# What `cmake --install` puts under its prefix, and the Debian packages CPack makes of it:
#   runtime (package kivaqt): the four host frameworks (versioned shared objects), kivahost, its
#     manual page and bash completion, the bundle in lib/kivaqt/KivaQT.bundle, the demo sample in
#     share/kivaqt/samples;
#   dev (package kivaqt-dev): the SDK and framework headers, the unversioned library links, the
#     CMake package (find_package(Kiva CONFIG): Kiva::sdk, Kiva::noxcore, Kiva::noxui, Kiva::uit,
#     Kiva::orb) and pkg-config files (kiva-sdk, noxcore, noxui, uit, orb).
include(CMakePackageConfigHelpers)
include(${CMAKE_CURRENT_LIST_DIR}/Runpath.cmake)

set(KIVA_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kiva)

install(TARGETS kiva_sdk noxcore noxui uit orb EXPORT KivaTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
# Installed beside each other, the frameworks find each other through $ORIGIN.
foreach(framework noxcore noxui uit orb)
  kiva_install_runpath(${framework} ${CMAKE_INSTALL_LIBDIR} "$ORIGIN")
endforeach()
install(DIRECTORY sdk/include/kiva host/noxcore/include/noxcore host/noxui/include/noxui
                  host/uit/include/uit host/orb/include/orb
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT KivaTargets NAMESPACE Kiva:: DESTINATION ${KIVA_CMAKE_PACKAGE_DIR} COMPONENT dev)
configure_package_config_file(cmake/KivaConfig.cmake.in ${CMAKE_BINARY_DIR}/KivaConfig.cmake
                              INSTALL_DESTINATION ${KIVA_CMAKE_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KivaConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KivaConfig.cmake ${CMAKE_BINARY_DIR}/KivaConfigVersion.cmake
        DESTINATION ${KIVA_CMAKE_PACKAGE_DIR} COMPONENT dev)

# pkg-config files name their prefix relative to themselves, so the installation can move.
kiva_install_relative(KIVA_PC_PREFIX ${CMAKE_INSTALL_LIBDIR}/pkgconfig .)
function(kiva_pkg_config name description requires libs)
  set(KIVA_PC_NAME ${name})
  set(KIVA_PC_DESCRIPTION ${description})
  set(KIVA_PC_REQUIRES ${requires})
  set(KIVA_PC_LIBS ${libs})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/kiva.pc.in ${CMAKE_BINARY_DIR}/pkgconfig/${name}.pc
                 @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/pkgconfig/${name}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()
kiva_pkg_config(kiva-sdk "KivaQT host ABI: request records, selectors, codes (headers only)" "" "")
kiva_pkg_config(noxcore "Host framework: texts, errors, trace, files, strings" "kiva-sdk"
                "-L\${libdir} -lnoxcore")
kiva_pkg_config(noxui "Host UI framework: dialogs, controls, resources" "noxcore"
                "-L\${libdir} -lnoxui")
kiva_pkg_config(uit "Host image provider" "noxui" "-L\${libdir} -luit")
kiva_pkg_config(orb "Host application and workspace" "noxui" "-L\${libdir} -lorb")

# The bundle, laid out as in the build tree; its library finds the frameworks from its place.
kiva_install_relative(KIVA_BUNDLE_TO_LIBDIR ${KIVA_INSTALL_BUNDLE_DIR}/Contents/Linux
                      ${CMAKE_INSTALL_LIBDIR})
install(TARGETS KivaQT LIBRARY DESTINATION ${KIVA_INSTALL_BUNDLE_DIR}/Contents/Linux
        COMPONENT runtime)
kiva_install_runpath(KivaQT ${KIVA_INSTALL_BUNDLE_DIR}/Contents/Linux
                     "$ORIGIN/${KIVA_BUNDLE_TO_LIBDIR}")
install(FILES ${KIVAQT_BUNDLE_DIR}/Contents/Info.plist
        DESTINATION ${KIVA_INSTALL_BUNDLE_DIR}/Contents COMPONENT runtime)
install(FILES ${KIVAQT_RESOURCE_FILES}
        DESTINATION ${KIVA_INSTALL_BUNDLE_DIR}/Contents/Resources COMPONENT runtime)

kiva_install_relative(KIVA_BINDIR_TO_LIBDIR ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
install(TARGETS kivahost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
kiva_install_runpath(kivahost ${CMAKE_INSTALL_BINDIR} "$ORIGIN/${KIVA_BINDIR_TO_LIBDIR}")
install(FILES ${KIVA_DEMO_SAMPLE} DESTINATION ${KIVA_INSTALL_SAMPLE_DIR} COMPONENT runtime)
install(FILES ${KIVAHOST_MAN_PAGE}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES host/kivahost/completion/kivahost
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
# The JSON Schemas of what each kivahost command prints under --json, for those who read it.
install(DIRECTORY host/kivahost/schemas/ DESTINATION ${CMAKE_INSTALL_DATADIR}/kivaqt/schemas
        COMPONENT runtime FILES_MATCHING PATTERN "*.schema.json")

# Debian packages: `cpack -G DEB` in the build tree. Their dependencies on Debian's runtime
# packages (FFmpeg, Qt, libsndfile, OpenSSL, ...) are read off the installed binaries.
set(CPACK_PACKAGE_NAME kivaqt)
set(CPACK_PACKAGE_VENDOR "KivaQT")
set(CPACK_PACKAGE_CONTACT "KivaQT developers <kivaqt@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Media import/export plug-in for an audio editor, with its host SDK")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME kivaqt)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "Media import/export plug-in for an audio editor\nThe KivaQT bundle, the host frameworks it needs and kivahost, a reference host that\ndrives the plug-in from the command line.")
# The media layer finds its formats' MIME types in the system database; kivahost draws its
# pictures' texts in DejaVu Sans.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "shared-mime-info, fonts-dejavu-core")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME kivaqt-dev)
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "KivaQT host SDK\nHeaders of the host ABI and the host frameworks, a CMake package and pkg-config\nfiles, to build a host that loads the KivaQT bundle.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "kivaqt (= ${PROJECT_VERSION}), libboost-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
include(CPack)
