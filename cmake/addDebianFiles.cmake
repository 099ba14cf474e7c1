# Adds to the staged files of each package what only packages of Debian have: copyright, changelogs and lintian's
# overrides. Takes from the binaries a section that strip leaves. cpack runs it after the components are staged.
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
  file(COPY ${CPACK_KPX_SOURCE}/packaging/copyright DESTINATION ${share}/doc/${package})
  foreach(changelog ${CPACK_KPX_CHANGELOG}=changelog.Debian.gz ${CPACK_KPX_SOURCE}/CHANGELOG.md=changelog.gz)
    string(REGEX MATCH "^(.*)=(.*)$" matched ${changelog})
    execute_process(COMMAND ${CPACK_KPX_GZIP} -9nc ${CMAKE_MATCH_1} OUTPUT_FILE ${share}/doc/${package}/${CMAKE_MATCH_2}
      COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(GLOB_RECURSE binaries ${share}/../bin/* ${share}/../lib/*.so*)
  foreach(binary ${binaries})
    # Links to others are theirs, or lead to another package.
    if(IS_SYMLINK ${binary})
      continue()
    endif()
    execute_process(COMMAND ${CPACK_KPX_STRIP} --remove-section=.comment ${binary} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  if(EXISTS ${CPACK_KPX_SOURCE}/packaging/${package}.lintian-overrides)
    configure_file(${CPACK_KPX_SOURCE}/packaging/${package}.lintian-overrides ${share}/lintian/overrides/${package} COPYONLY)
  endif()
endforeach()
