# The manual page and the completions, made of the program's own commands, and where each is looked for.
add_executable(kpxdocs kpxdocs.cpp commandTree.cpp completions.cpp manualPage.cpp)
target_link_libraries(kpxdocs PRIVATE kpx_tool)

set(documents ${CMAKE_BINARY_DIR}/documents)
file(MAKE_DIRECTORY ${documents})
set(made)

# kpx_document(KIND FILE FOLDER): makes the file and installs it.
function(kpx_document kind file folder)
  add_custom_command(OUTPUT ${documents}/${file} DEPENDS kpxdocs COMMAND kpxdocs ${kind} ${documents}/${file})
  install(FILES ${documents}/${file} DESTINATION ${folder} COMPONENT tool)
  set(made ${made} ${documents}/${file} PARENT_SCOPE)
endfunction()

# Debian keeps the completions of packages apart from the administrator's.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(zshFolder ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
else()
  set(zshFolder ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()
kpx_document(bash kpximage ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
kpx_document(zsh _kpximage ${zshFolder})
kpx_document(fish kpximage.fish ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

find_program(GZIP gzip REQUIRED)
add_custom_command(OUTPUT ${documents}/kpximage.1.gz DEPENDS kpxdocs
  COMMAND kpxdocs man ${documents}/kpximage.1
  COMMAND ${GZIP} -9nf ${documents}/kpximage.1)
install(FILES ${documents}/kpximage.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
add_custom_target(kpx_documents ALL DEPENDS ${made} ${documents}/kpximage.1.gz)
