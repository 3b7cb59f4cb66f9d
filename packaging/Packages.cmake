# Debian packages of what is installed, by CPack: scripts/package builds them. Dependencies are
# computed from what the programs and libraries load.
set(PACKAGE_CONTACT "The maintainers <maintainers@traffic-policy.example>" CACHE STRING
    "Name and address of whoever builds packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME traffic-policy)
set(CPACK_PACKAGE_CONTACT ${PACKAGE_CONTACT})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# What packages hold and `cmake --install` does not: changelog and copyright.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/DebianFiles.cmake)
set(CPACK_TRAFFIC_POLICY_SOURCE ${CMAKE_SOURCE_DIR})

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# debian_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION [DEPENDS OTHER]): the first line and the
# text of the package's description, and a component whose package it needs in the same version.
macro(debian_package component name section summary description)
    cpack_add_component(${component} ${ARGN})
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
    list(APPEND CPACK_COMPONENTS_ALL ${component})
endmacro()

include(CPackComponent)
debian_package(runtime libtrafficpolicycli1 libs "show commands for traffic policies, library"
    "A shared library for the command-line process of a network switch. It gathers
configuration, status and counters of traffic policies into one record per
policy and prints them as text or JSON.")
debian_package(development libtrafficpolicycli-dev libdevel
    "show commands for traffic policies, development files"
    "Headers, the reader of state directories, a CMake package and pkg-config files
for programs that load libTrafficPolicyCli, and an example of one."
    DEPENDS runtime)
debian_package(tools traffic-policy-tools net "show commands for traffic policies, programs"
    "Which policies are configured where, where the hardware took them, where not
and why, which rule counted how many packets, and what is in the field sets:
tpcli asks a saved state of a switch, in one command or in a shell, and
counteragent keeps its counters. With an example switch."
    DEPENDS runtime)
# What packages of other hosts depend on.
set(shlibs ${CMAKE_CURRENT_BINARY_DIR}/shlibs)
set(triggers ${CMAKE_CURRENT_BINARY_DIR}/triggers)
file(WRITE ${shlibs} "")
foreach(library TrafficPolicyPlatform TrafficPolicyCli)
    file(APPEND ${shlibs} "lib${library} ${PROJECT_VERSION_MAJOR} libtrafficpolicycli1 (>= ${PROJECT_VERSION})\n")
endforeach()
file(WRITE ${triggers} "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${shlibs} ${triggers})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libsimdjson-dev)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS less)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS bash-completion)
include(CPack)
