# Run by CPack on the staged files: Debian packages hold their man pages compressed.
file(GLOB pages ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/*/share/man/man*/*.[1-9])
foreach(page IN LISTS pages)
    execute_process(COMMAND gzip -9n ${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
