# Puts an executable in a bundle-shaped directory, <bundle>/Contents/Linux, with `resources`
# copied into <bundle>/Contents/Resources: the module finds its bundle from its own binary's
# path, so a test or fuzz target placed this way finds its dialog resources as KivaQT.so does.
function(kiva_place_in_bundle target bundle resources)
  file(RELATIVE_PATH libraries ${bundle}/Contents/Linux ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${bundle}/Contents/Linux
    BUILD_RPATH "$ORIGIN/${libraries}")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${bundle}/Contents/Resources
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${resources} ${bundle}/Contents/Resources
    VERBATIM)
endfunction()
