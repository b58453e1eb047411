# Installs BUILD_FOLDER, then moves it to PREFIX, as a package or an image does: nothing may hold on to the
# place where it was installed first.
file(REMOVE_RECURSE ${PREFIX} ${PREFIX}.staged)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_FOLDER} --prefix ${PREFIX}.staged
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY
)
file(RENAME ${PREFIX}.staged ${PREFIX})
