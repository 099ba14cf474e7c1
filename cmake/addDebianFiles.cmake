# Adds the files that only Debian packages have to each package: copyright, changelogs and lintian overrides. Removes a
# section from the binaries that strip leaves. cpack runs this script after staging the components.
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
    # A link's target is handled by itself, or belongs to another package.
    if(IS_SYMLINK ${binary})
      continue()
    endif()
    execute_process(COMMAND ${CPACK_KPX_STRIP} --remove-section=.comment ${binary} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  if(EXISTS ${CPACK_KPX_SOURCE}/packaging/${package}.lintian-overrides)
    configure_file(${CPACK_KPX_SOURCE}/packaging/${package}.lintian-overrides ${share}/lintian/overrides/${package} COPYONLY)
  endif()
endforeach()
