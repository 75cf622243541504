# Debian packages, one per install component:
#   runtime      libtavmmsutility1     the shared libraries and the data files they read
#   development  libtavmmsutility-dev  headers, CMake package, pkg-config file, .so links
#   tool         mmsutil               the command-line tool and its bash completion
# Build the tree, then run `cpack -G DEB` in it (with Ninja, cpack does not build first).
# Configured with -DCMAKE_INSTALL_PREFIX=/usr, the libraries go to Debian's multiarch directory
# (/usr/lib/<triplet>); with other prefixes to /usr/lib, which works as well.

set(TAVMMS_PACKAGE_COMPONENTS runtime development tool)
get_cmake_property(_tavmms_installed_components COMPONENTS)
foreach(_component IN LISTS _tavmms_installed_components)
    if(NOT _component IN_LIST TAVMMS_PACKAGE_COMPONENTS)
        message(WARNING "install component '${_component}' belongs to no package: give its "
                        "install() rule one of ${TAVMMS_PACKAGE_COMPONENTS}")
    endif()
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "libtavmmsutility maintainers <maintainers@users.noreply.c-seed-7317032a.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Binaries go in stripped, as Debian ships them; their debug information stays in the build tree.
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL ${TAVMMS_PACKAGE_COMPONENTS})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Dependencies on system libraries come from dpkg-shlibdeps; those between the packages from
# the component dependencies below, at the exact same version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# A shlibs file in the runtime package, for packages built against it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# dpkg-shlibdeps runs in each package's staging directory; mmsutil finds the libraries in the
# runtime package's one beside it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ../runtime${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtavmmsutility${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The MIME registry reads the freedesktop database at run time; no library links it.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "shared-mime-info")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "MMS utility library of a Linux phone
The shared model of a multimedia message and the one way of keeping it
on the device, for the phone's messaging applications: address entries
and the message header, the text forms of header values, the mail file,
the message index table in the device database and the MMS settings.
.
This package holds the shared libraries: libtavmmsutility and the
platform services it calls (libtavmmsplatform).")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtavmmsutility-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
# The headers include Qt's; the CMake package and the pkg-config file look for Qt's own.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "MMS utility library of a Linux phone (development files)
The shared model of a multimedia message and the one way of keeping it
on the device, for the phone's messaging applications.
.
This package holds what applications are built with: the headers, the
CMake package (find_package(tavmmsutility)) and the pkg-config file
(tavmmsutility).")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME mmsutil)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DEPENDS runtime)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "command-line tool for the messages and MMS settings of a Linux phone
mmsutil reads and writes what the MMS utility library keeps: mail files,
the message index in the device database, the MMS settings, profiles,
block list and sending options. Bash completion included.")

# Each description starts with the package's own summary line, so the project's one must not go
# on top of them all: cpack reads this file before it builds the packages.
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/CPackProjectConfig.cmake)
file(WRITE ${CPACK_PROJECT_CONFIG_FILE}
     "set(CPACK_PACKAGE_DESCRIPTION_SUMMARY \"\${CPACK_DEFAULT_PACKAGE_DESCRIPTION_SUMMARY}\")\n")

include(CPack)
