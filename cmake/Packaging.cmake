# Installation and the Debian package. `cmake --install build` (default
# prefix /usr) and `cpack -G DEB` put the same files in the same places:
#   /usr/sbin/merel, /usr/bin/merel-sim and its PAM module in /usr/lib/merel,
#   /usr/share/merel/ (host descriptions),
#   /etc/pam.d/merel, /lib/systemd/system/merel@.service, the manual pages.
# Nothing only the tests need is installed.
include(GNUInstallDirs)
set(MEREL_VERSION ${PROJECT_VERSION})

set(MEREL_SYSTEMD_UNIT_DIR "/lib/systemd/system" CACHE PATH "Where merel@.service goes")
# PAM reads its services from /etc/pam.d whatever the prefix.
set(MEREL_PAM_DIR "/etc/pam.d" CACHE PATH "Where the PAM service goes")

# The manual pages and the package's changelog, dated by SOURCE_DATE_EPOCH
# when it is set, so that the package builds reproducibly.
string(TIMESTAMP MEREL_MAN_DATE "%B %d, %Y" UTC)
string(TIMESTAMP MEREL_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(MEREL_GENERATED_DOCS)
foreach(page merel.8 merel-sim.1)
  configure_file(${CMAKE_SOURCE_DIR}/packaging/man/${page}.in ${CMAKE_BINARY_DIR}/man/${page} @ONLY)
  list(APPEND MEREL_GENERATED_DOCS ${CMAKE_BINARY_DIR}/man/${page}.gz)
endforeach()
configure_file(${CMAKE_SOURCE_DIR}/packaging/debian/changelog.in
               ${CMAKE_BINARY_DIR}/man/changelog @ONLY)
list(APPEND MEREL_GENERATED_DOCS ${CMAKE_BINARY_DIR}/man/changelog.gz)
foreach(gz ${MEREL_GENERATED_DOCS})
  string(REGEX REPLACE "\\.gz$" "" plain ${gz})
  add_custom_command(OUTPUT ${gz}
                     COMMAND gzip -9nc ${plain} > ${gz}
                     DEPENDS ${plain}
                     VERBATIM)
endforeach()
add_custom_target(merel_docs ALL DEPENDS ${MEREL_GENERATED_DOCS})

install(TARGETS merel RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(TARGETS merel-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Found by merel-sim (and the console making its demo host) as
# ../lib/merel/pam_merel_sim.so from its own folder.
install(TARGETS pam_merel_sim LIBRARY DESTINATION lib/merel)
# Found by the console as ../lib/merel/merel-linux.so on the Linux host.
install(TARGETS merel_linux_services LIBRARY DESTINATION lib/merel)
# The installed programs carry no debug information, whatever the build type.
foreach(program ${CMAKE_INSTALL_SBINDIR}/merel ${CMAKE_INSTALL_BINDIR}/merel-sim
                lib/merel/pam_merel_sim.so lib/merel/merel-linux.so)
  install(CODE "execute_process(COMMAND ${CMAKE_STRIP} --strip-all
                --remove-section=.comment --remove-section=.note
                \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${program}\")")
endforeach()
install(FILES ${CMAKE_SOURCE_DIR}/sim/demo-host.json DESTINATION ${CMAKE_INSTALL_DATADIR}/merel)
file(GLOB MEREL_HOST_DESCRIPTIONS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/fixtures/hosts/*.json)
install(FILES ${MEREL_HOST_DESCRIPTIONS} DESTINATION ${CMAKE_INSTALL_DATADIR}/merel/hosts)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/pam.d/merel DESTINATION ${MEREL_PAM_DIR})
install(FILES ${CMAKE_SOURCE_DIR}/packaging/merel@.service
              ${CMAKE_SOURCE_DIR}/packaging/merel-driver-vm.service
        DESTINATION ${MEREL_SYSTEMD_UNIT_DIR})
# The boot-time step that hands the saved DriverVM devices to vfio-pci.
install(PROGRAMS ${CMAKE_SOURCE_DIR}/packaging/merel-driver-vm DESTINATION lib/merel)
install(FILES ${CMAKE_BINARY_DIR}/man/merel.8.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES ${CMAKE_BINARY_DIR}/man/merel-sim.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/debian/copyright ${CMAKE_BINARY_DIR}/man/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
# The console links curses statically on purpose (its resident memory, see
# the merel target); the package says so instead of hiding it.
install(FILES ${CMAKE_SOURCE_DIR}/packaging/debian/lintian-overrides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME merel)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME merel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# The PAM service and the unit have absolute destinations: the package is
# staged through DESTDIR (never the machine's own /etc), always under /usr.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES OFF)
set(CPACK_PACKAGE_CONTACT "MEREL developers <merel@example.org>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libpam-runtime")
# merel-sim runs the console under the PAM wrapper and uses the real tools
# where a host has them.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libpam-wrapper, openssl, openssh-client, less")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "full-screen text console of a hypervisor host")
# CPack indents these lines and turns the empty one into " ."
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "MEREL is the keyboard-driven console an administrator finds at the machine:
the welcome screen with the host's product, hardware and management address,
and after a PAM login the System Customization menu (root password, lockdown,
keyboard, management network, troubleshooting, logs, reset).

The package holds the console, the systemd unit merel@.service that puts it
on a virtual terminal in place of a getty (enabled by nobody but the
administrator), its PAM service, and merel-sim, which makes simulated hosts
to run the console on.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_SOURCE_DIR}/packaging/debian/conffiles ${CMAKE_SOURCE_DIR}/packaging/debian/postinst
    ${CMAKE_SOURCE_DIR}/packaging/debian/prerm ${CMAKE_SOURCE_DIR}/packaging/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
