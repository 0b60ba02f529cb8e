# The archive for Windows: programs and modules lie at its top, beside README and LICENSE, where somebody who
# unpacks it looks for them, and everything has the time of SOURCE_DATE_EPOCH. CPack runs this between
# installing and packing. Tests: tests/package/.
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
file(GLOB programs ${root}/bin/* ${root}/lib/vlisp/*)
foreach(program IN LISTS programs)
  get_filename_component(name ${program} NAME)
  file(RENAME ${program} ${root}/${name})
endforeach()
file(REMOVE_RECURSE ${root}/bin ${root}/lib)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${root} -exec touch -d @$ENV{SOURCE_DATE_EPOCH} {} +
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
