# Debian packages of the installed components, made by `cpack -G DEB`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kpxdds)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "KPXDDS developers <kpxdds@lists.kpxdds.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Not one of Debian's own revisions, which start at 1.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0kpx1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Programs in C work with later versions too. The project's own programs, which use the C++ interface, require their
# version.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENTS_ALL plugin host host-dev)
if(KPX_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
if(KPX_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

find_program(GZIP gzip REQUIRED)
# Debian's changelog has the version and date of CHANGELOG.md.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heading REGEX "^## ${PROJECT_VERSION}, [0-9-]+$" LIMIT_COUNT 1)
if(NOT heading)
  message(FATAL_ERROR "CHANGELOG.md has no line \"## ${PROJECT_VERSION}, YYYY-MM-DD\".")
endif()
string(REGEX REPLACE ".*, " "" changeDay "${heading}")
execute_process(COMMAND date -u -R -d ${changeDay} OUTPUT_VARIABLE changeDate OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
set(plainChangelog ${CMAKE_BINARY_DIR}/packages/changelog)
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.in ${plainChangelog} @ONLY)

# A script that cpack runs adds Debian's own files, so that `cmake --install` does not install them.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/addDebianFiles.cmake)
set(CPACK_KPX_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_KPX_GZIP ${GZIP})
set(CPACK_KPX_STRIP ${CMAKE_STRIP})
set(CPACK_KPX_CHANGELOG ${plainChangelog})

# kpx_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION)
function(kpx_package component package section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
endfunction()

kpx_package(plugin kpxdds-plugin graphics "DDS textures for the image library KPXbase"
"Plug-in with which programs over KPXbase recognise, read and write DDS
(DirectDraw Surface) textures, block-compressed ones from BC1 to BC7 among
them.")
kpx_package(host libkpxbase0 libs "services for image-format plug-ins"
"Library with the services that image-format plug-ins call, for programs that
load plug-ins, and with what kpximage and its Python module load them by.")
kpx_package(host-dev libkpxbase-dev libdevel "services for image-format plug-ins (development)"
"Header of the interface between KPXbase and its plug-ins, for hosts and for
plug-ins, what programs are linked with, a description of the protocol, and
an example of a host.")
kpx_package(tool kpximage graphics "look at DDS textures and convert them"
"Command-line tool that shows what DDS files hold, converts them to PNG and
OpenEXR and back, explains and repairs files with faults, and makes
thumbnails for file managers.")
if(KPX_PYTHON)
  kpx_package(python python3-kpximage python "DDS textures as NumPy arrays (Python 3)"
"Module that reads DDS files into NumPy arrays and writes, explains and
repairs them, from several threads at once where they are many.")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${KPX_PYTHON_VERSIONS}, python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/python/postinst ${PROJECT_SOURCE_DIR}/packaging/python/prerm)
endif()
set(CPACK_DEBIAN_PLUGIN_PACKAGE_ENHANCES libkpxbase0)
# Used by CMake 3.31 and later.
foreach(component PLUGIN HOST HOST-DEV)
  set(CPACK_DEBIAN_${component}_PACKAGE_MULTIARCH same)
endforeach()
set(CPACK_DEBIAN_HOST_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)

include(CPack)
cpack_add_component(plugin)
cpack_add_component(host)
cpack_add_component(host-dev DEPENDS host)
cpack_add_component(tool DEPENDS plugin host)
if(KPX_PYTHON)
  cpack_add_component(python DEPENDS plugin host)
endif()
