# kiva_install_runpath(target destination runpath): `target`, installed into `destination`
# (relative to the prefix), gets there the RUNPATH `runpath`, computed from the install layout.
#
# CMake would rewrite the RUNPATH in place at install time, and to make room for that it pads the
# build tree's RUNPATH with empty entries; an empty entry is the working directory, so a library
# planted where a user runs a built program would be loaded. Instead the target is linked with its
# build-tree RUNPATH (its BUILD_RPATH, or `runpath` where the two layouts agree) as the only one,
# and the installed copy is given `runpath` in place. The rewrite cannot make the entry longer, so
# a shorter build-tree entry is lengthened with "./" steps, which name the same directory.
function(kiva_install_runpath target destination runpath)
  get_target_property(built ${target} BUILD_RPATH)
  if(NOT built)
    set(built ${runpath})
  endif()
  string(LENGTH "${runpath}" needed)
  string(LENGTH "${built}" length)
  while(length LESS needed)
    string(REPLACE "$ORIGIN/" "$ORIGIN/./" longer "${built}")
    if(longer STREQUAL built)
      message(FATAL_ERROR "${target}: cannot make room in the RUNPATH ${built} for ${runpath}")
    endif()
    set(built ${longer})
    string(LENGTH "${built}" length)
  endwhile()
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${built}")
  if(NOT built STREQUAL runpath)
    install(CODE "file(RPATH_SET FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${destination}/$<TARGET_FILE_NAME:${target}>\" NEW_RPATH \"${runpath}\")"
            COMPONENT runtime)
  endif()
endfunction()
