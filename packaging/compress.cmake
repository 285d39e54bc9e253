# Run by CPack on the tree that it is about to pack.
set(root ${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX})
set(documents ${root}/${CPACK_PACKETBRASK_DOCUMENTS})
file(COPY ${CPACK_DEBIAN_CHANGELOG} DESTINATION ${documents})
file(RENAME ${documents}/CHANGELOG.md ${documents}/changelog)
file(GLOB pages ${root}/${CPACK_PACKETBRASK_PAGES}/*.1)
execute_process(COMMAND gzip --best --no-name ${pages} ${documents}/changelog
                        ${documents}/changelog.Debian
                COMMAND_ERROR_IS_FATAL ANY)
