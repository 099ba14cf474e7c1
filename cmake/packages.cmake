# Debian packages of the installed components, made by `cpack -G DEB`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kpxdds)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "KPXDDS developers <kpxdds@lists.kpxdds.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Not a revision of Debian's own: those begin with 1.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0kpx1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENTS_ALL plugin host host-dev)
if(KPX_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
if(KPX_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

find_program(GZIP gzip REQUIRED)
# Debian's changelog says the version and the day of CHANGELOG.md.
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

set(changelog ${CMAKE_BINARY_DIR}/packages/changelog.Debian.gz)
add_custom_command(OUTPUT ${changelog} DEPENDS ${plainChangelog}
  COMMAND ${GZIP} -9nc ${plainChangelog} >${changelog})
add_custom_target(kpx_changelog ALL DEPENDS ${changelog})

# kpx_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION): what only a package of Debian has is left out of a plain
# `cmake --install`.
function(kpx_package component package section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${changelog}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
  if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/${package}.lintian-overrides)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/${package}.lintian-overrides RENAME ${package}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endfunction()

kpx_package(plugin kpxdds-plugin graphics "DDS textures for the image library KPXbase"
"Plug-in with which programs over KPXbase recognise, read and write DDS
(DirectDraw Surface) textures, block-compressed ones from BC1 to BC7 among
them.")
kpx_package(host libkpxbase0 libs "services for image-format plug-ins"
"Library that loads image-format plug-ins, supplies the services that they
call, and hands their pictures out row by row.")
kpx_package(host-dev libkpxbase-dev libdevel "services for image-format plug-ins (development)"
"Header of the interface between KPXbase and its plug-ins, for hosts and for
plug-ins, and what programs are linked with.")
kpx_package(tool kpximage graphics "look at DDS textures and convert them"
"Command-line tool that shows what DDS files hold, converts them to PNG and
OpenEXR and back, explains and repairs files with faults, and makes
thumbnails for file managers.")
if(KPX_PYTHON)
  kpx_package(python python3-kpximage python "DDS textures as NumPy arrays (Python 3)"
"Module that reads DDS files into NumPy arrays and writes, explains and
repairs them, from several threads at once where they are many.")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${KPX_PYTHON_VERSIONS}, python3-numpy")
endif()
set(CPACK_DEBIAN_HOST_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_HOST_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)

include(CPack)
cpack_add_component(plugin)
cpack_add_component(host)
cpack_add_component(host-dev DEPENDS host)
cpack_add_component(tool DEPENDS plugin host)
if(KPX_PYTHON)
  cpack_add_component(python DEPENDS plugin host)
endif()
