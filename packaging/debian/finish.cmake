# What Debian asks of a package beyond installed files: the copyright file, the changelog, compressed
# manuals, modules in the folder of their architecture. CPack runs this between installing and packing.
#
# One idea: all of it is made of what the tree has anyway, LICENSE and the version. Tests: tests/package/.
set(shared ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(libraries ${CPACK_TEMPORARY_DIRECTORY}/usr/lib)
set(documents ${shared}/doc/${CPACK_PACKAGE_NAME})

# write_copyright: the licence with a head that programs can read; it takes the place of LICENSE.
function(write_copyright)
  file(READ ${documents}/LICENSE licence)
  string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)\n+(.*)" matched "${licence}")
  set(holder "${CMAKE_MATCH_1}")
  string(REGEX REPLACE "\n+$" "" text "${CMAKE_MATCH_2}")
  string(REPLACE "\n\n" "\n.\n" text "${text}")
  string(REPLACE "\n" "\n " text "${text}")
  file(WRITE ${documents}/copyright
       "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
       "Upstream-Name: Velmora LISP\n"
       "Upstream-Contact: ${CPACK_PACKAGE_CONTACT}\n"
       "Comment: Libraries that are part of the programs have their licences in the folder third-party.\n"
       "\n"
       "Files: *\n"
       "Copyright: ${holder}\n"
       "License: Expat\n"
       " ${text}\n")
  file(REMOVE ${documents}/LICENSE)
  file(READ ${documents}/README.md readme)
  string(REPLACE "[LICENSE](LICENSE)" "[copyright](copyright)" readme "${readme}")
  file(WRITE ${documents}/README.md "${readme}")
endfunction()

# write_changelog: SOURCE_DATE_EPOCH, which ./dev package sets to the time of the last commit, is its date.
function(write_changelog)
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${documents}/changelog.Debian @ONLY)
endfunction()

# compress FILE: without name and time, so that the same tree gives the same package.
function(compress file)
  execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# move_modules: the program finds them where it always does, through a link. CPack would make the package
# run ldconfig, which has no business here, for modules in a folder of /usr/lib.
function(move_modules)
  file(MAKE_DIRECTORY ${libraries}/${CPACK_VLISP_ARCHITECTURE})
  file(RENAME ${libraries}/vlisp ${libraries}/${CPACK_VLISP_ARCHITECTURE}/vlisp)
  file(CREATE_LINK ${CPACK_VLISP_ARCHITECTURE}/vlisp ${libraries}/vlisp SYMBOLIC)
endfunction()

write_copyright()
write_changelog()
compress(${documents}/changelog.Debian)
compress(${shared}/man/man1/vlisp.1)
file(MAKE_DIRECTORY ${shared}/lintian/overrides)
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/lintian-overrides ${shared}/lintian/overrides/vlisp)
move_modules()
