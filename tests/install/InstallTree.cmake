# Installs BUILD and moves the result to TREE: what works there does not depend on its place.
file(REMOVE_RECURSE ${TREE} ${TREE}.installed)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${TREE}.installed
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${TREE}.installed ${TREE})
