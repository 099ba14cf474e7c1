# The folders for installation below CMAKE_INSTALL_PREFIX. The components are plugin, host, host-dev, tool and python.
# Debian's folder for libraries, which CMake only knows for the architecture of the building machine.
if(CMAKE_CROSSCOMPILING AND CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version AND NOT DEFINED CMAKE_INSTALL_LIBDIR)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
include(GNUInstallDirs)

# The folder for plug-ins, relative to the prefix or absolute. -DKPX_PLUGIN_DIR=... sets it.
if(NOT DEFINED KPX_PLUGIN_DIR)
  set(KPX_PLUGIN_DIR ${CMAKE_INSTALL_LIBDIR}/KPXbase/plugins)
endif()
cmake_path(ABSOLUTE_PATH KPX_PLUGIN_DIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE KPX_FULL_PLUGIN_DIR)

# The same folders relative to the installed program, so that the tree can be moved.
file(RELATIVE_PATH KPX_PLUGIN_DIR_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR} ${KPX_FULL_PLUGIN_DIR})
file(RELATIVE_PATH KPX_LIBDIR_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
