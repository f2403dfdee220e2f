# The Debian package. script/package builds it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantrel)
set(CPACK_PACKAGE_CONTACT "Vantrel maintainers <maintainers@users.noreply.c-seed-8fd82dba.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "control console for the Vorn 1 and Vorn 2 USB test hosts")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A Vorn takes the place of the computer that a USB device is plugged into: it
switches, sets and measures the bus power of the device, drives the bus, and
reports what happens on it.
.
Vantrel connects to one Vorn over a serial port or the network, shows the
state of its USB port, controls it, and shows every report as a line of text
that can be logged. It builds single control requests, shows all standard
descriptors of a device, downloads scripts and firmware to the tester, loads
EZ-USB devices and edits the EEPROM of FTDI devices.
.
The package contains a simulated tester with simulated devices: no hardware
is needed to try the program.")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core | fonts-noto-core, hicolor-icon-theme, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS bash-completion)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
